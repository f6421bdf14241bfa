// Tables and plain text.
#include "account/report.h"

#include "account/model/field.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "account/model/field.h"
#include "account/shown.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::HasSubstr;
using testing::Not;

Line line(Kind kind, std::size_t unchanged, std::size_t changed, std::size_t elsewhere,
          const std::vector<Missing>& missing) {
  Line line = {kind, {}};
  line.tally.find(unchanged + changed + elsewhere + missing.size());
  line.tally.arrive_unchanged(unchanged);
  line.tally.arrive_changed(changed);
  line.tally.have_no_place(elsewhere);
  for (const Missing& thing : missing) line.tally.miss(thing.name, thing.cause, thing.detail);
  return line;
}

PersonAccount person(const std::string& login, std::vector<Line> lines) {
  PersonAccount account;
  account.person.login = login;
  account.lines = std::move(lines);
  return account;
}

Account two_people() {
  Account account;
  account.archive = "/tmp/a b.zip";
  account.ending = Ending::ended;
  account.people = {
      person("ann",
             {line(Kind::documents, 1200, 0, 0, {{"a\tb.txt", Cause::not_there, ""}}),
              line(Kind::mail, 9, 3, 0, {}), line(Kind::notes, 0, 0, 2, {}), line(Kind::fonts, 0, 0, 0, {})}),
      person("bob",
             {line(Kind::documents, 0, 0, 0, {}),
              line(Kind::drives, 0, 0, 0,
                   {{"K: \\\\srv\\x", Cause::differs, ""}, {"L:", Cause::place_missing, "/home/b\no"}})})};
  return account;
}

template <typename Write, typename... Arguments>
std::string text_of(Write write, Arguments&&... arguments) {
  std::ostringstream out;
  write(out, arguments...);
  return out.str();
}

TEST(Tables, of_counts_have_a_line_a_person_and_kind) {
  EXPECT_TRUE(
      same_bytes("person\tkind\tfound\tarrived\tadapted\tno-place\tmissing\n"
                 "ann\tdocuments\t1201\t1200\t0\t0\t1\n"
                 "ann\tmail\t12\t9\t3\t0\t0\n"
                 "ann\tnotes\t2\t0\t0\t2\t0\n"
                 "ann\tfonts\t0\t0\t0\t0\t0\n"
                 "bob\tdocuments\t0\t0\t0\t0\t0\n"
                 "bob\tdrives\t2\t0\t0\t0\t2\n",
                 text_of(write_table_of_counts, two_people().people)));
}

TEST(Tables, of_missing_things_have_a_line_a_thing_whatever_its_name) {
  EXPECT_TRUE(
      same_bytes("person\tkind\tname\tcause\n"
                 "ann\tdocuments\ta\\tb.txt\tIt is not there.\n"
                 "bob\tdrives\tK: \\\\\\\\srv\\\\x\tWhat is there has different content.\n"
                 "bob\tdrives\tL:\tIts place /home/b\\no is not there.\n",
                 text_of(write_table_of_missing, two_people().people, Texts())));
  EXPECT_EQ("a\\rb\\\\", field("a\rb\\"));
}

TEST(PlainText, tells_counts_in_columns_then_what_is_missing_then_the_verdict) {
  EXPECT_TRUE(
      same_bytes("What arrived\n"
                 "Archive: /tmp/a b.zip\n"
                 "\n"
                 "For ann\n"
                 "  Kind             In the archive  Arrived  Arrived, adapted  No place here  Not arrived\n"
                 "  Documents                  1201     1200                 0              0            1\n"
                 "  E-mail messages              12        9                 3              0            0\n"
                 "  Notes                         2        0                 0              2            0\n"
                 "\n"
                 "For bob\n"
                 "  Kind            In the archive  Arrived  Arrived, adapted  No place here  Not arrived\n"
                 "  Network drives               2        0                 0              0            2\n"
                 "\n"
                 "What has not arrived\n"
                 "\n"
                 "For ann\n"
                 "  Documents\n"
                 "    a\xef\xbf\xbd"
                 "b.txt: It is not there.\n"
                 "\n"
                 "For bob\n"
                 "  Network drives\n"
                 "    K: \\\\srv\\x: What is there has different content.\n"
                 "    L:: Its place /home/b\xef\xbf\xbdo is not there.\n"
                 "\n"
                 "Not everything has arrived. What has not is named here, with its cause.\n",
                 text_of(write_plain_text, two_people(), Texts())));
}

TEST(PlainText, of_a_run_that_went_well_is_short) {
  Account account;
  account.archive = "/a.zip";
  account.people = {person("ann", {line(Kind::tasks, 1, 0, 0, {})}),
                    person("bob", {line(Kind::tasks, 0, 0, 0, {})})};
  EXPECT_TRUE(
      same_bytes("What arrived\n"
                 "Archive: /a.zip\n"
                 "\n"
                 "For ann\n"
                 "  Kind   In the archive  Arrived  Arrived, adapted  No place here  Not arrived\n"
                 "  Tasks               1        1                 0              0            0\n"
                 "\n"
                 "For bob\n"
                 "  The archive holds nothing for this person.\n"
                 "\n"
                 "Everything in the archive that this desktop has a place for has arrived.\n",
                 text_of(write_plain_text, account, Texts())));
}

std::vector<Missing> things(int count) {
  std::vector<Missing> result;
  for (int i = 1; i <= count; ++i) result.push_back({"f" + std::to_string(i), Cause::not_there, ""});
  return result;
}

TEST(PlainText, names_fifteen_things_of_a_kind) {
  Account account;
  account.people = {
      person("ann", {line(Kind::documents, 0, 0, 0, things(15)), line(Kind::desktop, 0, 0, 0, things(17))})};
  const std::string text = text_of(write_plain_text, account, Texts());
  EXPECT_THAT(text, HasSubstr("    f15: It is not there.\n  Desktop\n"));
  EXPECT_THAT(text, HasSubstr("    f15: It is not there.\n    ... and 2 more\n"));
  EXPECT_THAT(text, Not(HasSubstr("f16")));
}

TEST(PlainText, says_that_the_archive_has_no_folder_to_look_in) {
  Account account;
  account.archive = "/a.zip";
  account.people = {person("ann", {line(Kind::tasks, 0, 0, 0, {})})};
  EXPECT_EQ(Verdict::all_arrived, verdict_of(account));
  account.has_root = false;
  EXPECT_EQ(Verdict::something_missing, verdict_of(account));
  EXPECT_THAT(text_of(write_plain_text, account, Texts()),
              testing::StartsWith("What arrived\nArchive: /a.zip\n"
                                  "The archive has no folder Brindle; nothing in it will be found.\n"));
  account.fault = "cut short";
  EXPECT_EQ(Verdict::cannot_be_told, verdict_of(account));
}

TEST(PlainText, tells_two_people_of_one_login_apart) {
  Account account;
  account.people = {person("root", {line(Kind::tasks, 0, 0, 0, {})}),
                    person("root", {line(Kind::tasks, 0, 0, 0, {{"b", Cause::not_there, ""}})})};
  account.people.back().person.folder = "Brindle/Profiles/root";
  account.people.back().person.is_namesake = true;
  const std::string text = text_of(write_plain_text, account, Texts());
  EXPECT_THAT(text, HasSubstr("\nFor root\n  The archive holds nothing"));
  EXPECT_THAT(text, HasSubstr("\nFor Profiles/root\n  Kind"));
  EXPECT_THAT(text, HasSubstr("\nFor Profiles/root\n  Tasks\n    b: "));
  EXPECT_THAT(text_of(write_table_of_missing, account.people, Texts()),
              HasSubstr("\nProfiles/root\ttasks\tb\t"));
  EXPECT_THAT(text_of(write_table_of_counts, account.people), HasSubstr("\nProfiles/root\ttasks\t1\t"));
}

TEST(PlainText, says_first_how_a_run_ended) {
  Account account = two_people();
  const std::string begin = "What arrived\nArchive: /tmp/a b.zip\n";
  account.ending = Ending::cancelled;
  EXPECT_THAT(text_of(write_plain_text, account, Texts()),
              testing::StartsWith(
                  begin + "The run was canceled. What would have come after that has not been moved.\n"));
  account.ending = Ending::begun;
  EXPECT_THAT(
      text_of(write_plain_text, account, Texts()),
      testing::StartsWith(begin + "The run did not come to its end. What would have come after that has not "
                                  "been moved.\n"));
  account.ending = Ending::refused;
  EXPECT_THAT(text_of(write_plain_text, account, Texts()),
              testing::StartsWith(begin + "The run was refused. Nothing has been moved.\n"));
  account.ending = Ending::unknown;
  EXPECT_THAT(text_of(write_plain_text, account, Texts()), testing::StartsWith(begin + "\n"));
}

TEST(PlainText, of_what_cannot_be_told_says_so_and_shows_the_kind) {
  Account account = two_people();
  account.people[1].lines[0].tally.give_up();
  const std::string text = text_of(write_plain_text, account, Texts());
  EXPECT_THAT(text, HasSubstr("  Documents                    0 "));
  EXPECT_THAT(text, testing::EndsWith("\nThe archive, or a part of it, cannot be read, so it cannot be told "
                                      "whether everything has arrived.\n"));
}

TEST(PlainText, speaks_another_language_in_straight_columns) {
  write_file("/tmp/ja_JP",
             "account-kind-documents=文書\naccount-head-kind=種類\naccount-head-found=書庫\naccount-person=%"
             "s さん\n");
  Account account;
  account.people = {person("ann", {line(Kind::documents, 3, 0, 0, {}), line(Kind::tasks, 1, 0, 0, {})})};
  const std::string text = text_of(write_plain_text, account, Texts("/tmp/ja_JP"));
  EXPECT_THAT(text, HasSubstr("\nann さん\n"
                              "  種類   書庫  Arrived"));
  EXPECT_THAT(text, HasSubstr("\n  文書      3        3 "));
  EXPECT_THAT(text, HasSubstr("\n  Tasks     1        1 "));
}

TEST(PlainText, lets_no_control_character_through) {
  Account account = two_people();
  std::string all;
  for (int byte = 1; byte < 256; ++byte) all += static_cast<char>(byte);
  const std::string hostile =
      "\x1b]0;title\a\xc2\x9b"
      "31m\u202e" +
      all;
  account.archive = hostile;
  account.people[0].person.login = hostile;
  account.people[0].lines[0].tally.miss(hostile, Cause::place_missing, hostile);
  for (const char c : text_of(write_plain_text, account, Texts()))
    EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20) << static_cast<int>(c);
  EXPECT_THAT(text_of(write_plain_text, account, Texts()), Not(HasSubstr("\xc2\x9b")));
}

TEST(Shown, keeps_what_can_be_read) {
  EXPECT_EQ("Réponse – 日本 😀", shown("Réponse – 日本 😀"));
  EXPECT_EQ("", shown(""));
  const std::string no = "\xef\xbf\xbd";
  EXPECT_EQ("a" + no + "b", shown("a\x1b"
                                  "b"));
  EXPECT_EQ(no + no, shown("\x7f\x80"));
  EXPECT_EQ(no, shown("\u0085"));
  EXPECT_EQ("x" + no + no + no + no, shown("x\u202e\u2066\u200f\u061c"));
  EXPECT_EQ(no + no, shown("\u2028\ufeff"));
  EXPECT_EQ(no + no, shown("\xc0\xaf"));           // an overlong slash
  EXPECT_EQ(no + no + no, shown("\xed\xa0\x80"));  // half a surrogate pair
  EXPECT_EQ(no + "x", shown("\xe3x"));             // cut short
  EXPECT_EQ(no + no, shown("\xe3\x81"));           // at the end
  EXPECT_EQ(no + no + no + no, shown("\xf4\x90\x80\x80"));
}

TEST(Shown, knows_how_wide_it_is) {
  EXPECT_EQ(7U, width("Réponse"));
  EXPECT_EQ(4U, width("日本"));
  EXPECT_EQ(1U, width("e\u0301"));
}

}  // namespace
