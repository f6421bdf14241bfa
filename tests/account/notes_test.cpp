// Notes, which KNotes keeps as journal entries.
#include <gtest/gtest.h>
#include <unistd.h>

#include "account/scene.h"
#include "support/files.h"

namespace {

using namespace account;
using Names = std::vector<std::string>;

const std::string knotes = "/home/ann/.kde/share/apps/knotes/notes.ics";

std::string journal(const std::string& text, const std::string& title) {
  return "BEGIN:VCALENDAR\nPRODID:-//K Desktop Environment//NONSGML libkcal 3.2//EN\nVERSION:2.0\n"
         "BEGIN:VJOURNAL\nDESCRIPTION:" +
         text + "\nSUMMARY:" + title + "\nEND:VJOURNAL\nEND:VCALENDAR\n";
}

Scene::Entries archive_of(const Scene::Entries& notes) {
  Scene::Entries entries = {{"ImapMail/", ""}, {"Notes/", ""}};
  for (const auto& [name, bytes] : notes) entries.emplace_back("Notes/" + name, bytes);
  return entries;
}

const Scene::Entries three = {{"a.txt", "Subject: Shopping\r\nmilk, eggs\r\n"},
                              {"b.txt", "Subject:\tPlumber (old)\n960 777\n(C:\\tap)\n"},
                              {"c.txt", "Betreff: Nothing\n"}};
const std::string shopping = journal("milk\\, eggs\\n", "Shopping");
const std::string plumber = journal("960 777\\n\\(C:\\\\tap\\)\\n", "Plumber (old)");
const std::string nothing = journal("", "Nothing");

TEST(Notes, each_is_a_journal_entry) {
  for (const System system : {System::xandros, System::redflag, System::redflag_plus}) {
    const Scene scene(system, archive_of(three));
    write_file(knotes, plumber + nothing + shopping);
    EXPECT_EQ("3 3 0 0 0", numbers(scene.look(Kind::notes)));
  }
}

TEST(Notes, the_last_line_end_and_folding_do_not_matter) {
  const Scene scene(System::xandros, archive_of({{"a.txt", "Subject: Shopping\nmilk, eggs"}}));
  for (const char* text : {"milk\\, eggs", "milk\\, eggs\\n", "mil\n k\\, eggs\\n\\n"}) {
    write_file(knotes, journal(text, "Shopping"));
    EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::notes))) << text;
  }
}

TEST(Notes, each_that_is_deleted_or_altered_is_named_alone) {
  const Scene scene(System::xandros, archive_of(three));
  write_file(knotes, plumber + nothing);
  EXPECT_EQ((Names{"Shopping: It is not there."}), missing_names(scene.look(Kind::notes)));
  write_file(knotes, plumber + nothing + journal("milk\\, egg\\n", "Shopping"));
  EXPECT_EQ((Names{"Shopping: What is there has different content."}),
            missing_names(scene.look(Kind::notes)));
  write_file(knotes, plumber + nothing + journal("milk\\, eggs\\n", "Shop"));
  EXPECT_EQ((Names{"Shopping: It is not there."}), missing_names(scene.look(Kind::notes)));
  write_file(knotes, plumber + nothing + shopping.substr(0, shopping.find("END:VJ")));
  EXPECT_EQ("Shopping: Its program cannot read " + knotes + ".",
            missing_names(scene.look(Kind::notes)).back());
  EXPECT_EQ("3 0 0 0 3", numbers(scene.look(Kind::notes)));
  unlink(knotes.c_str());
  EXPECT_EQ("Nothing: Its place " + knotes + " is not there.",
            missing_names(scene.look(Kind::notes)).front());
}

TEST(Notes, two_alike_need_two) {
  const Scene scene(System::xandros, archive_of({{"a.txt", "T: x\ny\n"}, {"b.txt", "T: x\ny\n"}}));
  write_file(knotes, journal("y\\n", "x"));
  EXPECT_EQ((Names{"x: It is not there."}), missing_names(scene.look(Kind::notes)));
}

TEST(Notes, what_is_passed_over_is_named_by_its_file) {
  const Scene scene(System::xandros, archive_of({{"empty.txt", ""},
                                                 {"late.txt", std::string(260, 'x') + ": title\ntext\n"},
                                                 {"none.txt", "no title\nfirst: line\n"},
                                                 {"sub/deep.txt", "Subject: Deep\n"},
                                                 {"t.txt", "Subject: There\n"}}));
  write_file(knotes, journal("", "There"));
  const std::string cause = ": Its first line has no colon before a title.";
  EXPECT_EQ((Names{"empty.txt" + cause, "late.txt" + cause, "none.txt" + cause,
                   "sub/deep.txt: Only files are moved from here, no folders."}),
            missing_names(scene.look(Kind::notes)));
  EXPECT_EQ("5 1 0 0 4", numbers(scene.look(Kind::notes)));
}

TEST(Notes, a_first_line_that_is_too_long_goes_on_in_the_text) {
  const std::string title(300, 'x'), line = "S: " + title;
  const Scene scene(System::xandros, archive_of({{"a.txt", line + "\ntext\n"}}));
  write_file(knotes, journal(std::string(48, 'x') + "\\ntext\\n", std::string(252, 'x')));
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::notes)));
  write_file(knotes, journal("text\\n", title));
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::notes)));
}

TEST(Notes, letters_are_moved_as_chinese) {
  const Scene scene(System::redflag, archive_of({{"a.txt", "S: \xBB\xE1\xD2\xE9\n\xBB\xE1\n"}}));
  write_file(knotes, journal("\xE4\xBC\x9A\\n", "\xE4\xBC\x9A\xE8\xAE\xAE"));
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::notes)));

  const Scene other(System::redflag, archive_of({{"a.txt", "S: Ren\xC3\xA9\ntext\n"}}));
  write_file(knotes, journal("text\\n", "Ren\xE8\x8C\x85"));
  EXPECT_EQ(
      (Names{"Ren\xC3\xA9: Its letters are not in the character set GB2312, which this desktop takes them "
             "for."}),
      missing_names(other.look(Kind::notes)));
}

TEST(Notes, other_desktops_have_no_place_for_them) {
  for (const System system : {System::gnome, System::nld, System::linspire}) {
    const Scene scene(system, archive_of(three));
    EXPECT_EQ("3 0 0 3 0", numbers(scene.look(Kind::notes)));
  }
}

TEST(Notes, without_mail_nobody_looks_at_them) {
  const Scene scene(System::xandros, {{"Notes/a.txt", "Subject: Shopping\nmilk\n"}});
  EXPECT_EQ((Names{"Shopping: It is only looked at when the archive has ImapMail as well."}),
            missing_names(scene.look(Kind::notes)));
}

}  // namespace
