// What a run replaced, by the lists it left, and how to go back.
#include "account/replaced.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <sstream>

#include "account/note.h"
#include "account/page.h"
#include "account/readers/kept.h"
#include "account/report.h"
#include "account/scene.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/programs.h"

namespace {

using namespace account;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using State = KeptList::State;

constexpr const char* run = "2026-11-22-014530";
const std::string root_folder = "/root/.brindle_before/2026-11-22-014530";
const std::string head = "kind\tname\tbefore\tbecame\n";
const std::string begins = "run\tmigration\t-\tunknown\n";
const std::string ends = "run\tmigration\t-\tover\n";

// What lies at a path: the digests of two files, each with its size.
const std::string one = "file 0644 0 0 1132610735.000000000 0 1111aaaa1111aaaa1111aaaa1111aaaa:3";
const std::string two = "file 0644 0 0 1132610799.000000000 0 2222bbbb2222bbbb2222bbbb2222bbbb:4";

std::string row(const std::string& kind, const std::string& name, const std::string& before,
                const std::string& became) {
  return kind + "\t" + name + "\t" + before + "\t" + became + "\n";
}

// As a run writes it: before the change and after it.
std::string rows(const std::string& kind, const std::string& name, const std::string& before,
                 const std::string& became) {
  return row(kind, name, before, "unknown") + row(kind, name, before, became);
}

void write_list(const std::string& text, const std::string& folder = root_folder) {
  write_file(folder + "/list.tsv", text);
}

KeptList list_of(const std::string& text) {
  write_list(text);
  return read_kept_list("/root", run, "list.tsv");
}

// "name: word" each, in the list's order.
std::vector<std::string> things_in(const KeptList& list) {
  std::vector<std::string> result;
  for (const KeptThing& thing : list.things) {
    const char* const words[] = {"replaced", "removed", "unknown"};
    result.push_back(thing.name + ": " + words[static_cast<std::size_t>(thing.fate)]);
  }
  return result;
}

std::vector<std::string> things_of(const std::string& text) { return things_in(list_of(text)); }

// ---- A list ---------------------------------------------------------------------------------------------

TEST(KeptList, tells_what_has_another_content_or_is_gone) {
  const KeptList list =
      list_of(head + begins + rows("path", "/root/b", one, two) + rows("path", "/root/new", "nothing", two) +
              rows("path", "/root/a", one, "nothing") + rows("path", "/root/same", one, one) + ends);
  EXPECT_THAT(things_in(list), ElementsAre("/root/b: replaced", "/root/a: removed"));
  EXPECT_EQ(1U, list.made);
  EXPECT_FALSE(list.adjusted);
  EXPECT_EQ("migration", list.run);
  EXPECT_EQ(State::whole, list.state);
}

TEST(KeptList, the_first_row_has_what_was_there_and_the_last_what_became_of_it) {
  EXPECT_THAT(things_of(row("path", "/root/a", one, "unknown") + row("path", "/root/a", one, two) +
                        row("path", "/root/a", two, "unknown") + row("path", "/root/a", two, one)),
              IsEmpty());
  EXPECT_THAT(things_of(row("path", "/root/a", one, one) + row("path", "/root/a", one, two)),
              ElementsAre("/root/a: replaced"));
  // Made and then replaced by the run itself; made and gone again.
  const KeptList list = list_of(row("path", "/root/a", "nothing", one) + row("path", "/root/a", one, two) +
                                rows("path", "/root/b", "nothing", "nothing"));
  EXPECT_THAT(things_in(list), IsEmpty());
  EXPECT_EQ(1U, list.made);
}

TEST(KeptList, a_name_of_another_kind_is_another_thing) {
  EXPECT_THAT(things_of(row("path", "/x", "nothing", one) + row("gconf", "/x", "1", "2") +
                        row("queue", "x", "a", "b")),
              ElementsAre("/x: replaced", "x: replaced"));
}

TEST(KeptList, mode_owner_and_time_are_no_content) {
  const std::string other = "file 0600 7 8 1.000000000 9 1111aaaa1111aaaa1111aaaa1111aaaa:3";
  const std::string folder = "folder 0755 0 0 1132610735.000000000 0 ";
  KeptList list = list_of(rows("path", "/root/a", one, other));
  EXPECT_THAT(things_in(list), IsEmpty());
  EXPECT_TRUE(list.adjusted);
  list = list_of(rows("attributes", "/Share", one, two));
  EXPECT_THAT(things_in(list), IsEmpty());
  EXPECT_TRUE(list.adjusted);
  EXPECT_THAT(things_of(rows("path", "/root", folder, "folder 0700 0 0 1132610799.000000000 0 ")), IsEmpty());
  EXPECT_THAT(things_of(rows("path", "/root", folder, "folder 0700 0 0 1132610799.000000000 0")), IsEmpty());
}

TEST(KeptList, what_a_link_names_is_its_content_and_may_hold_blanks) {
  const std::string link = "link 0777 0 0 1.000000000 0 /old place";
  EXPECT_THAT(things_of(rows("path", "/a", link, "link 0777 0 0 1.000000000 0 /old path") +
                        rows("path", "/b", link, "link 0777 0 0 2.000000000 0 /old place") +
                        rows("path", "/c", link, "file 0777 0 0 1.000000000 0 /old place")),
              ElementsAre("/a: replaced", "/c: replaced"));
}

// Of large files only the name is written down.
TEST(KeptList, what_nobody_has_read_is_not_called_replaced) {
  const std::string large = "file 0644 0 0 1132610735.000000000 0 ";
  EXPECT_THAT(things_of(rows("path", "/a", large, one) + rows("path", "/b", one, large) +
                        rows("path", "/c", large, "nothing") +
                        rows("path", "/d", large, "folder 0755 0 0 1132610735.000000000 0 ")),
              ElementsAre("/c: removed", "/d: replaced"));
}

TEST(KeptList, of_a_run_that_was_killed_says_what_may_be_replaced) {
  const std::string folder = "folder 0755 0 0 1132610735.000000000 0 ";
  shell_quietly("mkdir -p /root/there");
  const KeptList list =
      list_of(head + begins + row("path", "/root/there", folder, "unknown") +
              row("path", "/root/gone", folder, "unknown") + row("path", "/root/a", one, "unknown") +
              row("path", "/root/n", "nothing", "unknown") + "path\t/root/cut\t" + one + "\tnoth");
  EXPECT_THAT(things_in(list), ElementsAre("/root/gone: unknown", "/root/a: unknown"));
  EXPECT_EQ(1U, list.made);
  EXPECT_EQ(State::unfinished, list.state);
  // A copy in the runner's home need not tell which run it is of.
  EXPECT_EQ(State::unfinished, list_of(row("path", "/root/a", one, "unknown")).state);
  EXPECT_EQ(State::whole, list_of(rows("path", "/root/a", one, two)).state);
  EXPECT_EQ(State::unfinished, list_of(begins + rows("path", "/root/a", one, two)).state);
}

TEST(KeptList, other_things_than_files_have_values) {
  const KeptList list =
      list_of(rows("gconf", "/apps/x/y", "int 1", "int 2") + rows("gconf", "/apps/x/z", "nothing", "int 2") +
              rows("gconf", "/apps/x/same", "a b", "a b") + rows("queue", "office", "ipp://a", "nothing") +
              rows("default_queue", "-", "office", "home") + rows("account", "ann", "nothing", "ann:x:1000"));
  EXPECT_THAT(things_in(list), ElementsAre("/apps/x/y: replaced", "office: removed", "-: replaced"));
  EXPECT_EQ(2U, list.made);
}

TEST(KeptList, has_names_of_any_kind_and_lines_that_are_no_rows) {
  EXPECT_THAT(
      things_of("\n\t\t\t\nfuture\t/a\t" + one + "\t" + two + "\npath\t/three\t" + one + "\npath\t/five\t" +
                one + "\t" + two + "\t" + two + "\n" + rows("path", "/a\\tb\\nc\\\\d\\", one, two) +
                rows("path", "/h\xff\x1b<b>", one, two) +
                rows("path", "/" + std::string(100000, 'x'), one, two)),
      ElementsAre("/a\tb\nc\\d\\: replaced", "/h\xff\x1b<b>: replaced",
                  "/" + std::string(100000, 'x') + ": replaced"));
}

// Never read by way of a link, and never waited for.
TEST(KeptList, that_is_no_file_in_its_place_is_unreadable) {
  const auto state = [] { return read_kept_list("/root", run, "list.tsv").state; };
  EXPECT_EQ(State::none, state());
  write_file("/root/else/2026-11-22-014530/list.tsv", rows("path", "/root/a", one, two));
  symlink("else", "/root/.brindle_before");  // within the home
  EXPECT_EQ(State::unreadable, state());
  EXPECT_THAT(kept_runs("/root"), IsEmpty());
  unlink("/root/.brindle_before");
  shell_quietly("mkdir /root/.brindle_before");
  symlink("/root/else/2026-11-22-014530", root_folder.c_str());
  EXPECT_EQ(State::unreadable, state());
  unlink(root_folder.c_str());
  shell_quietly(("mkdir " + root_folder).c_str());
  symlink("/root/else/2026-11-22-014530/list.tsv", (root_folder + "/list.tsv").c_str());
  EXPECT_EQ(State::unreadable, state());
  unlink((root_folder + "/list.tsv").c_str());
  mkfifo((root_folder + "/list.tsv").c_str(), 0600);
  EXPECT_EQ(State::unreadable, state());
  shell_quietly("rm " + root_folder + "/list.tsv; mkdir " + root_folder + "/list.tsv");
  EXPECT_EQ(State::unreadable, state());
  shell_quietly("rmdir " + root_folder + "/list.tsv; rmdir " + root_folder + "; touch " + root_folder);
  EXPECT_EQ(State::unreadable, state());
  EXPECT_EQ(State::none, read_kept_list("/nowhere", run, "list.tsv").state);
}

// The list may be somebody else's, who wants us to run out of memory.
TEST(KeptList, of_too_many_names_is_unreadable) {
  shell_quietly("mkdir -p " + root_folder);
  shell_quietly("seq -f 'path	/%.0f	nothing	unknown' 1000001 >" + root_folder + "/list.tsv");
  EXPECT_EQ(State::unreadable, read_kept_list("/root", run, "list.tsv").state);
}

TEST(KeptRuns, are_the_folders_that_are_called_like_a_time) {
  for (const char* name : {"2026-11-22-014530", "2026-11-22-014530-2", "2027-01-01-000000",
                           "2026-11-22-01453", "2026-11-22-014530-", "2026-11-22-0145300",
                           "2026-11-22-014530-x", "2026_11-22-014530", "undone", "2026-11-22-01453x"})
    shell_quietly(std::string("mkdir -p /root/.brindle_before/") + name);
  EXPECT_THAT(kept_runs("/root"),
              ElementsAre("2027-01-01-000000", "2026-11-22-014530-2", "2026-11-22-014530"));
}

TEST(KeptFiles, lie_in_the_folder_and_nowhere_else) {
  write_file(root_folder + "/files/root/a", "1");
  write_file("/root/precious", "1");
  symlink("/nowhere", (root_folder + "/files/root/link").c_str());
  symlink("/etc", (root_folder + "/files/etc").c_str());
  std::string text;
  for (const char* name : {"/root/a", "/root/link", "/root/b", "/etc/passwd", "/../../../precious",
                           "/../../../../etc/passwd", "root/a"})
    text += rows("path", name, one, two);
  KeptList list = list_of(text + rows("gconf", "/root/a", "1", "2"));
  look_for_old_ones(list, "/root", run);
  std::vector<std::string> kept;
  for (const KeptThing& thing : list.things)
    if (thing.is_kept) kept.push_back(thing.kind + " " + thing.name);
  EXPECT_THAT(kept, ElementsAre("path /root/a", "path /root/link"));
}

TEST(KeptList, tells_of_its_run) {
  KeptList list = list_of(ends + "run\thome\t/srv/ann\t-\n" + "run\tundone\t2026-11-22-093000\tover\n");
  EXPECT_EQ("migration", list.run);
  EXPECT_EQ("2026-11-22-093000", list.undone);
  EXPECT_EQ(State::whole, list.state);
  list = list_of("run\tundo\t2026-11-22-014530\tunknown\nnames\t/root\ta/b\ttold\nnew_home\t/home/a\t-\t" +
                 one + "\n");
  EXPECT_EQ("undo", list.run);
  EXPECT_EQ("", list.undone);
  EXPECT_EQ(State::unfinished, list.state);
  EXPECT_EQ(0U, list.made + list.things.size());
}

// ---- Whose, and of which run ----------------------------------------------------------------------------

struct ReplacedTest : testing::Test {
  ReplacedTest() { setenv("TZ", "UTC", 1); }

  static RunNote family() {
    RunNote note;
    note.people = {{"root", "/root"}, {"ann", "/srv/ann"}, {"bob", "/srv/bob"}};
    note.begun = 1795311930;  // 2026-11-22 01:45:30
    note.kept = run;
    return note;
  }
  static void write_for(const std::string& home, const std::string& folder, const std::string& name) {
    write_list(ends + rows("path", name, one, two), home + "/.brindle_before/" + folder);
  }
  // "login: first name" each.
  static std::vector<std::string> firsts(const RunNote& note) {
    std::vector<std::string> result;
    for (const Replaced& replaced : replaced_in(note))
      result.push_back(replaced.login + ": " +
                       (replaced.list.things.empty() ? "" : replaced.list.things.front().name));
    return result;
  }
};

TEST_F(ReplacedTest, EachHasALinesList) {
  EXPECT_THAT(firsts(family()), IsEmpty());
  write_for("/root", run, "/root/r");
  write_for("/srv/bob", run, "/srv/bob/b");
  EXPECT_THAT(firsts(family()), ElementsAre("root: /root/r", "bob: /srv/bob/b"));
  EXPECT_EQ("/srv/bob/.brindle_before/2026-11-22-014530/list.tsv", replaced_in(family())[1].path);
}

TEST_F(ReplacedTest, TheCopyInTheRunnersHomeCounts) {
  write_for("/root", run, "/root/r");
  write_for("/srv/ann", run, "/srv/ann/forged");
  write_file(root_folder + "/homes/ann.tsv", rows("path", "/srv/ann/true", one, two));
  write_file("/srv/ann/.brindle_before/2026-11-22-014530/files/srv/ann/true", "old");
  const auto replaced = replaced_in(family());
  ASSERT_EQ(2U, replaced.size());
  EXPECT_EQ("/srv/ann/true", replaced[1].list.things.at(0).name);
  EXPECT_EQ(root_folder + "/homes/ann.tsv", replaced[1].path);
  EXPECT_EQ(
      "It was replaced. The old one lies here: /srv/ann/.brindle_before/2026-11-22-014530/files/srv/ann/true",
      told(replaced[1], replaced[1].list.things.at(0), Texts()));
}

TEST_F(ReplacedTest, TheNoteNamesTheRun) {
  write_for("/root", run, "/root/r");
  write_for("/root", "2026-12-24-180000", "/root/later");
  EXPECT_THAT(firsts(family()), ElementsAre("root: /root/r"));
  RunNote note = family();
  note.kept = "2026-12-24-180000";
  EXPECT_THAT(firsts(note), ElementsAre("root: /root/later"));
}

TEST_F(ReplacedTest, ANoteThatDoesNotHasTheNewestThatIsNotOlder) {
  RunNote note = family();
  note.kept = "";
  write_for("/root", "2026-11-22-014529", "/root/earlier");
  write_for("/srv/ann", "2026-11-22-014531", "/srv/ann/own");  // none in the runner's home
  EXPECT_THAT(firsts(note), ElementsAre("ann: /srv/ann/own"));
  write_for("/root", run, "/root/r");
  write_for("/srv/ann", run, "/srv/ann/a");
  EXPECT_THAT(firsts(note), ElementsAre("root: /root/r", "ann: /srv/ann/a"));
  write_for("/root", "2026-11-22-014530-2", "/root/second");
  EXPECT_THAT(firsts(note), ElementsAre("root: /root/second"));
  // What undid it is no migration.
  write_list("run\tundo\t2026-11-22-014530-2\tover\n" + rows("path", "/root/u", one, two),
             "/root/.brindle_before/2026-11-22-020000");
  EXPECT_THAT(firsts(note), ElementsAre("root: /root/second"));
  setenv("TZ", "UTC-1", 1);  // an hour later by the clock
  tzset();
  EXPECT_THAT(firsts(note), IsEmpty());
  setenv("TZ", "UTC", 1);
  tzset();
  note.begun = 0;
  EXPECT_THAT(firsts(note), IsEmpty());
}

TEST_F(ReplacedTest, TheNotesFolderIsAName) {
  const std::string start = "archive=/a.zip\nsystem=gnome\nperson=root\nhome=/root\n";
  const auto kept_in = [&](const std::string& value) {
    write_file("/tmp/note", start + "kept=" + value + "\n");
    return read_note("/tmp/note").kept;
  };
  EXPECT_EQ(run, kept_in("/root/.brindle_before/2026-11-22-014530"));
  EXPECT_EQ("2026-11-22-014530-2", kept_in("2026-11-22-014530-2"));
  EXPECT_EQ("", kept_in("/root/.brindle_before/.."));
  EXPECT_EQ("", kept_in(""));
}

// ---- Told -----------------------------------------------------------------------------------------------

std::string text_of(const std::vector<Replaced>& replaced, bool of_family = false) {
  Account account;
  account.replaced = replaced;
  account.of_family = of_family;
  std::ostringstream out;
  write_plain_text(out, account, Texts());
  const std::string text = out.str();
  return text.substr(text.find("\n\n") + 1);
}

std::string page_of(const std::vector<Replaced>& replaced, bool of_family = false) {
  Account account;
  account.replaced = replaced;
  account.of_family = of_family;
  std::ostringstream out;
  write_page(out, account, Texts(), "en_US");
  return out.str();
}

std::string table_of(const std::vector<Replaced>& replaced) {
  std::ostringstream out;
  write_table_of_replaced(out, replaced);
  return out.str();
}

const std::string all_arrived =
    "\nEverything in the archive that this desktop has a place for has arrived.\n";
const std::string back =
    "To have everything as it was before, type brindle-undo in a terminal. It shows what it will do and "
    "asks; then it "
    "puts back what was replaced and removes what the run has made.\n"
    "What was changed after the run stays as it is, and is named.\n";
const std::string back_as_root =
    "To have everything as it was before, for everybody, type brindle-undo in a terminal as root. It shows "
    "what it "
    "will do and asks; then it puts back what was replaced and removes what the run has made. New user "
    "accounts only "
    "go with brindle-undo --accounts.\n"
    "What was changed after the run stays as it is, and is named.\n";

std::vector<Replaced> of_two() {
  write_list(ends + rows("path", "/root/a b", one, two) + rows("path", "/etc/c", one, "nothing") +
             rows("gconf", "/apps/x", "1", "2") + rows("queue", "office", "ipp", "nothing") +
             rows("default_queue", "-", "a", "b") + rows("account", "eve", "eve:x", "eve:y") +
             rows("account", "group users", "users:x", "users:y"));
  write_file(root_folder + "/files/root/a b", "old");
  write_list(begins + row("path", "/srv/ann/n", one, "unknown"),
             "/srv/ann/.brindle_before/2026-11-22-014530");
  write_file("/srv/ann/.brindle_before/2026-11-22-014530/files/srv/ann/n", "old");
  return replaced_in(ReplacedTest::family());
}

TEST_F(ReplacedTest, TheTextNamesWhatWhereAndTheWayBack) {
  const std::string folder = "/.brindle_before/2026-11-22-014530";
  const std::string list = "The old value stands in this list: /root" + folder + "/list.tsv\n";
  EXPECT_TRUE(same_bytes(
      "\nWhat was replaced\n\nFor root\n"
      "  /root/a b: It was replaced. The old one lies here: /root" +
          folder +
          "/files/root/a b\n"
          "  /etc/c: It was removed. The old one was not kept, or is no longer here: /root" +
          folder +
          "/files/etc/c\n"
          "  the setting /apps/x: It was replaced. " +
          list + "  the print queue office: It was removed. " + list +
          "  the default printer: It was replaced. " + list + "  the user account eve: It was replaced. " +
          list + "  the group users: It was replaced. " + list +
          "\nFor ann\n  The run ended before it could write down everything that it had done.\n"
          "  /srv/ann/n: It may have been replaced. The old one lies here: /srv/ann" +
          folder + "/files/srv/ann/n\n" + all_arrived + back_as_root,
      text_of(of_two(), true)));
}

TEST_F(ReplacedTest, ThePageNamesTheSame) {
  const std::string folder = "/.brindle_before/2026-11-22-014530";
  const std::string page = page_of(of_two(), true);
  EXPECT_THAT(
      page,
      HasSubstr("<h2>What was replaced</h2>\n<h3>For root</h3>\n<ul>\n<li>/root/a b <span class=\"advice\">"
                "It was replaced. The old one lies here: /root" +
                folder + "/files/root/a b</span></li>\n"));
  EXPECT_THAT(page,
              HasSubstr("</ul>\n<h3>For ann</h3>\n<p class=\"note\">The run ended before it could write down "
                        "everything that it had done.</p>\n<ul>\n<li>/srv/ann/n <span"));
  EXPECT_THAT(
      page, HasSubstr("</ul>\n<h2>Going back</h2>\n<p>To have everything as it was before, for everybody, "));
  EXPECT_THAT(
      page, HasSubstr("--accounts.</p>\n<p>What was changed after the run stays as it is, and is named.</p>\n"
                      "</body>"));
  EXPECT_THAT(page_of(of_two()),
              HasSubstr("<p>To have everything as it was before, type brindle-undo in a "));
}

TEST_F(ReplacedTest, TheTableNamesThemForPrograms) {
  const std::string folder = "/.brindle_before/2026-11-22-014530";
  const std::string list = "\t/root" + folder + "/list.tsv\n";
  EXPECT_TRUE(
      same_bytes("person\tkind\tname\tchange\told\n"
                 "root\tpath\t/root/a b\treplaced\t/root" +
                     folder +
                     "/files/root/a b\n"
                     "root\tpath\t/etc/c\tremoved\t-\n"
                     "root\tgconf\t/apps/x\treplaced" +
                     list + "root\tqueue\toffice\tremoved" + list + "root\tdefault_queue\t-\treplaced" +
                     list + "root\taccount\teve\treplaced" + list + "root\taccount\tgroup users\treplaced" +
                     list + "ann\tpath\t/srv/ann/n\tunknown\t/srv/ann" + folder + "/files/srv/ann/n\n",
                 table_of(of_two())));
}

TEST_F(ReplacedTest, ThingsThatWereMadeAreAReasonToGoBackToo) {
  write_list(ends + rows("path", "/root/new", "nothing", one));
  EXPECT_EQ(all_arrived + back, text_of(replaced_in(family())));
  EXPECT_THAT(page_of(replaced_in(family())), HasSubstr("</h1>"));
  EXPECT_THAT(page_of(replaced_in(family())), Not(HasSubstr("What was replaced")));
  EXPECT_THAT(page_of(replaced_in(family())), HasSubstr("<h2>Going back</h2>"));
  write_list(ends + rows("attributes", "/Share", one, two));
  EXPECT_EQ(all_arrived + back, text_of(replaced_in(family())));
}

TEST_F(ReplacedTest, ARunThatChangedNothingHasNoWayBack) {
  EXPECT_EQ(all_arrived, text_of({}));
  EXPECT_THAT(page_of({}), Not(HasSubstr("Going back")));
  write_list(ends + rows("path", "/root/same", one, one));
  EXPECT_EQ(all_arrived, text_of(replaced_in(family())));
  EXPECT_THAT(page_of(replaced_in(family())), Not(HasSubstr("Going back")));
}

TEST_F(ReplacedTest, ARunThatWasTakenBackSaysSo) {
  const std::string undone =
      "\nEverything in the archive that this desktop has a place for has arrived.\n"
      "Since then, this run has been taken back with brindle-undo.\n";
  write_list(ends + rows("path", "/root/a", one, two) + "run\tundone\t2026-11-22-093000\tover\n");
  write_for("/srv/ann", run, "/srv/ann/a");
  EXPECT_EQ(undone, text_of(replaced_in(family()), true));
  EXPECT_THAT(page_of(replaced_in(family())),
              HasSubstr("<h2>Going back</h2>\n<p>Since then, this run has been taken "));
  EXPECT_EQ("person\tkind\tname\tchange\told\n", table_of(replaced_in(family())));
  // The undo was undone, and that again.
  const auto write_undo = [](const std::string& name, const std::string& by) {
    write_list("run\tundo\t2026-11-22-014530\tover\nrun\tundone\t" + by + "\tover\n",
               "/root/.brindle_before/" + name);
  };
  write_undo("2026-11-22-093000", "2026-11-22-094500");
  EXPECT_THAT(text_of(replaced_in(family())), EndsWith(back));
  EXPECT_EQ((std::vector<std::string>{"root: /root/a", "ann: /srv/ann/a"}), firsts(family()));
  write_undo("2026-11-22-094500", "2026-11-22-100000");
  EXPECT_EQ(undone, text_of(replaced_in(family())));
  write_undo("2026-11-22-100000", "2026-11-22-093000");  // in a circle, as nobody writes it
  replaced_in(family());
}

TEST_F(ReplacedTest, AListThatCannotBeReadIsNamed) {
  shell_quietly("mkdir -p " + root_folder + "/list.tsv");
  const auto replaced = replaced_in(family());
  EXPECT_EQ(
      "\nWhat was replaced\n\nFor root\n  What was replaced cannot be told, because this list cannot be "
      "read: " +
          root_folder + "/list.tsv\n" + all_arrived + back,
      text_of(replaced));
  EXPECT_THAT(page_of(replaced),
              HasSubstr("<h3>For root</h3>\n<p class=\"note\">What was replaced cannot be told, "));
  EXPECT_EQ("person\tkind\tname\tchange\told\nroot\tlist\t" + root_folder + "/list.tsv\tunknown\t-\n",
            table_of(replaced));
}

TEST_F(ReplacedTest, TheTextNamesFifteenAPerson) {
  std::string list = ends;
  for (int i = 1; i <= 17; ++i) list += rows("path", "/root/f" + std::to_string(i), one, two);
  write_list(list);
  std::string text = text_of(replaced_in(family()));
  EXPECT_THAT(text, HasSubstr("\n  /root/f15: It was replaced. "));
  EXPECT_THAT(text, HasSubstr("\n  ... and 2 more\n" + all_arrived));
  EXPECT_THAT(text, Not(HasSubstr("/root/f16")));
  EXPECT_THAT(page_of(replaced_in(family())), HasSubstr("<li>/root/f17 "));
  EXPECT_THAT(table_of(replaced_in(family())), HasSubstr("\t/root/f17\t"));
}

TEST_F(ReplacedTest, HostileNamesAreOnlyShown) {
  const std::string hostile = "/root/<script>\x1b]0;x\a\xe2\x80\xae&\\t\\n";
  write_list(ends + rows("path", hostile, one, two) + rows("gconf", "<b>\x1b", "1", "2"));
  const auto replaced = replaced_in(family());
  EXPECT_THAT(text_of(replaced), Not(HasSubstr("\x1b")));
  EXPECT_THAT(text_of(replaced), HasSubstr("\n  /root/<script>\ufffd]0;x\ufffd\ufffd&\ufffd\ufffd: It was"));
  const std::string page = page_of(replaced);
  EXPECT_THAT(page, Not(HasSubstr("<script>")));
  EXPECT_THAT(page, Not(HasSubstr("<b>")));
  EXPECT_THAT(page, HasSubstr("<li>/root/&lt;script&gt;\ufffd]0;x\ufffd\ufffd&amp;\ufffd\ufffd <span"));
  EXPECT_THAT(table_of(replaced), HasSubstr("\t/root/<script>\x1b]0;x\a\xe2\x80\xae&\\t\\n\treplaced\t-\n"));
}

// ---- The program ----------------------------------------------------------------------------------------

std::string account_of_run() {
  return built::brindle_account + " --run --html /root/page.html --replaced /root/r.tsv";
}

void run_with(const std::string& list, const std::string& note = "") {
  write_zip("/tmp/a.zip", {{"Brindle/My Documents/one", "1"}});
  write_file("/root/Desktop/mydocument/one", "1");
  write_file("/root/.brindle_run",
             "archive=/tmp/a.zip\nsystem=redflag-plus\nperson=root\nhome=/root\nbegun=1795311930\n" + note +
                 "over=1795312000\nending=ended\n");
  write_list(list);
}

TEST_F(ReplacedTest, TheProgramTellsOfTheRunOfTheNote) {
  run_with(ends + rows("path", "/root/a", one, two), "kept=/root/.brindle_before/2026-11-22-014530\n");
  write_file(root_folder + "/files/root/a", "old");
  EXPECT_THAT(output_of(account_of_run()), EndsWith(all_arrived + back));
  EXPECT_THAT(read_file("/root/page.html"), HasSubstr("<li>/root/a <span"));
  EXPECT_EQ(
      "person\tkind\tname\tchange\told\nroot\tpath\t/root/a\treplaced\t" + root_folder + "/files/root/a\n",
      read_file("/root/r.tsv"));
  EXPECT_EQ(2, shell_quietly(built::brindle_account + " --run --replaced /dev/full >/dev/null 2>&1"));
  EXPECT_EQ(
      2, shell_quietly(built::brindle_account + " --replaced /root/r.tsv /tmp/a.zip >/dev/null 2>/tmp/said"));
  EXPECT_EQ("brindle-account: --replaced needs --run; brindle-account --help tells more\n",
            read_file("/tmp/said"));
}

TEST_F(ReplacedTest, TheProgramTellsItWithoutTheArchive) {
  run_with(ends + rows("path", "/root/a", one, two));
  unlink("/tmp/a.zip");
  EXPECT_THAT(output_of(account_of_run() + " 2>/dev/null"), EndsWith(back));
}

TEST_F(ReplacedTest, TheProgramSendsAFamilyToRoot) {
  run_with(ends + rows("path", "/root/a", one, two), "person=ann\nhome=/srv/ann\n");
  EXPECT_THAT(output_of(account_of_run()), EndsWith(back_as_root));
}

TEST_F(ReplacedTest, TheProgramIsQuickAndSmallWithManyRows) {
  run_with(begins);
  shell_quietly(
      "seq 50000 | awk '{ made = \"path\\t/root/Documents/Folder with a long name/Another one \" $1 "
      "\"\\tnothing\\t\"; old = \"path\\t/root/Old documents/with a long name \" $1 \"\\t" +
      one + "\\t\"; print made \"unknown\\n\" made \"" + two + "\\n\" old \"unknown\\n\" old \"" + two +
      "\" }' >>" + root_folder + "/list.tsv");
  std::istringstream used(
      output_of("/usr/bin/python3 -c 'import resource, subprocess, sys; subprocess.run(sys.argv[1:], stdout="
                "subprocess.DEVNULL); used = resource.getrusage(resource.RUSAGE_CHILDREN); "
                "print(used.ru_maxrss, used.ru_utime + used.ru_stime)' " +
                account_of_run()));
  double kilobytes = 0, seconds = 0;
  used >> kilobytes >> seconds;
#ifndef BRINDLE_ADDRESS_CHECKER  // which takes its own time and memory
  EXPECT_LT(seconds, 5);
  EXPECT_LT(kilobytes, 60000);
#endif
  EXPECT_EQ("50001\n", output_of("wc -l < /root/r.tsv"));
}

}  // namespace
