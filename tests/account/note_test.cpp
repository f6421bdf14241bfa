// The wizard's note of its last run, and the program that reads it.
#include "account/note.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "account/scene.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/programs.h"

namespace {

using namespace account;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* path = "/root/.brindle_run";
const std::string whole =
    "archive=/tmp/a "
    "b.zip\nsystem=redflag-plus\nperson=root\nhome=/root\nperson=ann\nhome=/srv/ann\nbegun=1132610735\n"
    "over=1132611022\nending=ended\n";

RunNote note_of(const std::string& text) {
  write_file(path, text);
  return read_note(path);
}

std::string refusal(const std::string& of) {
  try {
    read_note(of);
    return "";
  } catch (const NoNote& error) {
    return error.what();
  }
}

TEST(Note, tells_of_the_run) {
  const RunNote note = note_of(whole);
  EXPECT_EQ("/tmp/a b.zip", note.archive);
  EXPECT_EQ(System::redflag_plus, note.system);
  ASSERT_EQ(2U, note.people.size());
  EXPECT_EQ("root", note.people[0].login);
  EXPECT_EQ("/root", note.people[0].home);
  EXPECT_EQ("ann", note.people[1].login);
  EXPECT_EQ("/srv/ann", note.people[1].home);
  EXPECT_EQ(1132610735, note.begun);
  EXPECT_EQ(1132611022, note.over);
  EXPECT_EQ(Ending::ended, note.ending);
}

TEST(Note, knows_how_it_ended) {
  const std::string start = whole.substr(0, whole.find("over="));
  EXPECT_EQ(Ending::begun, note_of(start).ending);
  EXPECT_EQ(Ending::begun, note_of(start + "ending=begun\n").ending);
  EXPECT_EQ(Ending::cancelled, note_of(start + "ending=cancelled\n").ending);
  EXPECT_EQ(Ending::refused, note_of(start + "ending=refused\n").ending);
  EXPECT_EQ(Ending::begun, note_of(start + "ending=exploded\n").ending);
  EXPECT_EQ(0, note_of(start).over);
}

TEST(Note, has_values_of_any_kind) {
  RunNote note = note_of("archive=/a=b\\nc\\rd\\\\e\nsystem=nld\nperson=a\nhome=/h\\");
  EXPECT_EQ("/a=b\nc\rd\\e", note.archive);
  EXPECT_EQ("/h\\", note.people[0].home);
  note = note_of("\nfuture=1\nnonsense\nhome=/x\n" + whole + "begun=soon\n");
  EXPECT_EQ("/root", note.people[0].home);
  EXPECT_EQ(0, note.begun);
}

TEST(Note, names_the_accounts_that_were_there_before) {
  const std::string start = "archive=/a\nsystem=nld\nperson=root\nhome=/root\n";
  const RunNote note = note_of(start +
                               "person=ann\nhome=/home/ann\naccount=before\nperson=ben\nhome=/home/ben\n"
                               "person=eve\nhome=/home/eve\naccount=other\n");
  ASSERT_EQ(4U, note.people.size());
  for (const auto& somebody : note.people) EXPECT_EQ(somebody.login == "ann", somebody.had_account);
}

TEST(Note, that_is_none_is_refused_in_a_sentence) {
  EXPECT_EQ("there is no note of a run at /root/.brindle_run (No such file or directory)", refusal(path));
  const std::string no_note = "/root/.brindle_run is not the note of a run";
  for (const char* key : {"archive=", "system=", "person=root", "home=/root"}) {
    std::string text = whole.substr(0, whole.find("person=ann"));
    const std::size_t at = text.find(key);
    write_file(path, text.erase(at, text.find('\n', at) + 1 - at));
    EXPECT_EQ(no_note, refusal(path)) << key;
  }
  write_file(path, "");
  EXPECT_EQ(no_note, refusal(path));
  mkfifo("/tmp/pipe", 0600);
  EXPECT_EQ("the note of a run at /tmp/pipe cannot be read", refusal("/tmp/pipe"));
  EXPECT_EQ("the note of a run at /tmp cannot be read", refusal("/tmp"));
  symlink(path, "/tmp/link");
  EXPECT_THAT(refusal("/tmp/link"), StartsWith("there is no note of a run at /tmp/link ("));
}

// ---- The program ----------------------------------------------------------------------------------------

struct Ended {
  std::string said, complained;
  int status;
};

Ended brindle_account(const std::string& words) {
  const int status = shell_quietly(built::brindle_account + " " + words + " >/tmp/said 2>/tmp/complained");
  return {read_file("/tmp/said"), read_file("/tmp/complained"), status};
}

// A run of root for ann, too, in which everything has arrived.
void run_once() {
  shell_quietly("useradd -m ann; mkdir -p /root/Desktop /srv/ann/Desktop");
  write_zip("/tmp/a b.zip", {{"Brindle/users.txt", "MultiUser Migration=1\n"},
                             {"Brindle/My Documents/one", "1"},
                             {"Brindle/Profiles/ann/Desktop/two", "22"}});
  write_file("/root/Desktop/mydocument/one", "1");
  write_file("/srv/ann/Desktop/two", "22");
  write_file(path, whole);
}

TEST(Program, takes_everything_from_the_note) {
  run_once();
  const Ended ended = brindle_account("--run --html /root/page.html --tsv /root/c.tsv --missing /root/m.tsv");
  EXPECT_EQ(0, ended.status) << ended.said << ended.complained;
  EXPECT_THAT(ended.said, StartsWith("What arrived\nArchive: /tmp/a b.zip\n\nFor root\n"));
  EXPECT_THAT(ended.said,
              EndsWith("\nEverything in the archive that this desktop has a place for has arrived.\n"));
  EXPECT_EQ("", ended.complained);
  EXPECT_THAT(read_file("/root/page.html"), HasSubstr("Run of 2005-11-21"));
  EXPECT_THAT(read_file("/root/c.tsv"), HasSubstr("\nroot\tdocuments\t1\t1\t0\t0\t0\n"));
  EXPECT_THAT(read_file("/root/c.tsv"), HasSubstr("\nann\tdesktop\t1\t1\t0\t0\t0\n"));
  EXPECT_EQ("person\tkind\tname\tcause\n", read_file("/root/m.tsv"));
}

// Of two people called root the one who ran the wizard is no profile.
TEST(Program, tells_whose_account_was_there_before) {
  const std::string line = "The account was there before; its password is unchanged.";
  shell_quietly("useradd -m ann; useradd -m ben");
  write_zip("/tmp/a b.zip", {{"Brindle/users.txt", "MultiUser Migration=1\n"},
                             {"Brindle/Profiles/ann/Cookies.txt", ""},
                             {"Brindle/Profiles/ben/Cookies.txt", ""},
                             {"Brindle/Profiles/root/Cookies.txt", ""}});
  write_file(path,
             "archive=/tmp/a b.zip\nsystem=gnome\nperson=root\nhome=/root\n"
             "person=ann\nhome=/home/ann\nperson=ben\nhome=/home/ben\naccount=before\n"
             "person=root\nhome=/home/root\naccount=before\nbegun=1\nover=2\nending=ended\n");
  const Ended ended = brindle_account("--run --html /root/page.html");
  EXPECT_EQ(2, [&] {
    int lines = 0;
    for (std::size_t at = 0; (at = ended.said.find(line, at)) != std::string::npos; ++at) ++lines;
    return lines;
  }()) << ended.said;
  EXPECT_THAT(ended.said, HasSubstr("For ben\n  " + line + "\n"));
  EXPECT_THAT(ended.said, Not(HasSubstr("For ann\n  " + line)));
  EXPECT_THAT(ended.said, Not(StartsWith("What arrived\nArchive: /tmp/a b.zip\n\nFor root\n  " + line)));
  EXPECT_THAT(read_file("/root/page.html"),
              HasSubstr("<h2>For ben</h2>\n<p class=\"note\">" + line + "</p>\n"));
  EXPECT_THAT(brindle_account("'/tmp/a b.zip'").said, Not(HasSubstr(line)));
}

// Root may look at somebody else's run. It is that person's all the same, who could not move several people.
TEST(Program, takes_the_running_user_from_the_note) {
  run_once();
  std::string text = whole;
  write_file("/tmp/note", text.replace(text.find("person=root"), 11, "person=ada"));
  const Ended ended = brindle_account("--run /tmp/note --missing /root/m.tsv --home ann=/nowhere");
  EXPECT_EQ(1, ended.status);
  EXPECT_THAT(ended.said, HasSubstr("\nFor ada\n"));
  EXPECT_EQ(
      "person\tkind\tname\tcause\nann\tdesktop\ttwo\tOnly the administrator can move an archive of several "
      "people.\n",
      read_file("/root/m.tsv"));
}

TEST(Program, takes_the_note_that_it_is_given) {
  run_once();
  ASSERT_EQ(0, shell_quietly("mv /root/.brindle_run '/tmp/my note'"));
  EXPECT_EQ(0, brindle_account("--run '/tmp/my note'").status);
  EXPECT_EQ(2, brindle_account("--run").status);
}

TEST(Program, lets_the_command_line_go_before_the_note) {
  run_once();
  ASSERT_EQ(0, shell_quietly("mkdir /srv/other && mv /srv/ann/Desktop /srv/other/"));
  EXPECT_EQ(1, brindle_account("--run").status);
  EXPECT_EQ(0, brindle_account("--run --home ann=/srv/other").status);
  EXPECT_EQ(1, brindle_account("--run --home ann=/srv/other --home /nowhere").status);
  ASSERT_EQ(0, shell_quietly("mkdir /mnt/new && mv /srv/other /mnt/new/ann"));
  EXPECT_EQ(0, brindle_account("--run --home /mnt/new/ann").status);
  EXPECT_EQ(1, brindle_account("--run --home /mnt/new/ann --system gnome").status);  // other places
}

TEST(Program, says_first_that_a_run_was_cancelled_or_did_not_end) {
  run_once();
  std::string text = whole;
  write_file(path, text.replace(text.find("=ended"), 6, "=cancelled"));
  EXPECT_THAT(brindle_account("--run --html /root/page.html").said,
              StartsWith("What arrived\nArchive: /tmp/a b.zip\nThe run was canceled. "));
  EXPECT_THAT(read_file("/root/page.html"), HasSubstr("<p class=\"warning\">The run was canceled. "));
  write_file(path, whole.substr(0, whole.find("over=")) + "ending=begun\n");
  EXPECT_THAT(brindle_account("--run").said, HasSubstr("\nThe run did not come to its end. "));
}

TEST(Program, says_that_something_is_missing) {
  run_once();
  ASSERT_EQ(0, shell_quietly("rm /srv/ann/Desktop/two"));
  const Ended ended = brindle_account("--run --missing /root/m.tsv");
  EXPECT_EQ(1, ended.status);
  EXPECT_EQ("person\tkind\tname\tcause\nann\tdesktop\ttwo\tIt is not there.\n", read_file("/root/m.tsv"));
}

TEST(Program, cannot_tell_without_note_or_archive) {
  Ended ended = brindle_account("--run");
  EXPECT_EQ(2, ended.status);
  EXPECT_EQ("", ended.said);
  EXPECT_EQ("brindle-account: there is no note of a run at /root/.brindle_run (No such file or directory)\n",
            ended.complained);
  run_once();
  ASSERT_EQ(0, shell_quietly("rm '/tmp/a b.zip'"));
  ended = brindle_account("--run");
  EXPECT_EQ(2, ended.status);
  EXPECT_EQ("brindle-account: the archive cannot be read: /tmp/a b.zip: No such file or directory\n",
            ended.complained);
  ended = brindle_account("");
  EXPECT_EQ(2, ended.status);
  EXPECT_EQ("brindle-account: no archive is given; brindle-account --help tells more\n", ended.complained);
}

// A page of an earlier run must not stay as if it told of this one.
TEST(Program, says_on_the_page_that_the_archive_cannot_be_read) {
  run_once();
  ASSERT_EQ(0, shell_quietly("head -c 300 '/tmp/a b.zip' >/tmp/cut && mv /tmp/cut '/tmp/a b.zip'"));
  const std::string tables = " --tsv /root/c.tsv --missing /root/m.tsv";
  for (const char* name : {"/root/page.html", "/root/c.tsv", "/root/m.tsv"})
    write_file(name, "of an earlier run");
  const Ended ended = brindle_account("--run --html /root/page.html" + tables);
  EXPECT_EQ(2, ended.status);
  const std::string why =
      "The archive cannot be read: no list of its content at its end: it is cut short or not a zip archive.";
  EXPECT_THAT(ended.said, HasSubstr("\n" + why + "\n\nThe archive, or a part of it, cannot be read, so "));
  EXPECT_THAT(read_file("/root/page.html"), HasSubstr("<p class=\"warning\">" + why + "</p>"));
  EXPECT_THAT(read_file("/root/page.html"),
              HasSubstr("<p class=\"verdict unknown\">The archive, or a part of it, "));
  EXPECT_EQ("person\tkind\tfound\tarrived\tadapted\tno-place\tmissing\n", read_file("/root/c.tsv"));
  EXPECT_EQ("person\tkind\tname\tcause\n", read_file("/root/m.tsv"));
  write_file("/root/page.html", "of an earlier run");
  EXPECT_EQ(2, brindle_account("--before '/tmp/a b.zip' --html /root/page.html").status);
  EXPECT_EQ("of an earlier run", read_file("/root/page.html"));
}

TEST(Program, cannot_tell_what_it_cannot_write) {
  run_once();
  symlink("/tmp/none", "/root/page.html");
  Ended ended = brindle_account("--run --html /root/page.html --tsv /root/c.tsv");
  EXPECT_EQ(2, ended.status);
  EXPECT_EQ("brindle-account: /root/page.html could not be written: Too many levels of symbolic links\n",
            ended.complained);
  EXPECT_TRUE(exists("/root/c.tsv"));
  EXPECT_EQ(2, brindle_account("--run --tsv /nowhere/c.tsv").status);
  EXPECT_EQ(2, brindle_account("--run --missing /dev/full").status);
  EXPECT_EQ(2, shell_quietly(built::brindle_account + " --run >/dev/full 2>/dev/null"));
}

TEST(Program, speaks_the_language_of_the_wizard) {
  run_once();
  write_file("/usr/local/brindle/de_DE", "account-title=Was angekommen ist\nwindow1=account-title=Nein\n");
  EXPECT_THAT(
      output_of("LC_CTYPE= LANG=de_DE.UTF-8 " + built::brindle_account + " --run --html /root/page.html"),
      StartsWith("Was angekommen ist\n"));
  EXPECT_THAT(read_file("/root/page.html"), HasSubstr("<html lang=\"de-DE\">"));
}

TEST(Program, needs_little_memory_for_much_that_is_missing) {
#ifdef BRINDLE_ADDRESS_CHECKER
  GTEST_SKIP() << "the address checker's own memory would be counted";
#endif
  // Empty folders are things like files, and quicker to pack.
  std::vector<std::pair<std::string, std::string>> many;
  for (int i = 0; i < 200000; ++i)
    many.emplace_back("Brindle/My Documents/Folder with a long name/Another one " + std::to_string(i) + "/",
                      "");
  write_zip("/tmp/many.zip", many);
  const std::string words =
      " --system gnome --html /tmp/p.html --tsv /tmp/c.tsv --missing /tmp/m.tsv /tmp/many.zip";
  const std::string kilobytes = output_of(
      "/usr/bin/python3 -c 'import resource, subprocess, sys; subprocess.run(sys.argv[1:], stdout="
      "subprocess.DEVNULL); print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)' " +
      built::brindle_account + words);
  EXPECT_LT(std::stol(kilobytes), 100000);
  EXPECT_EQ("200001\n", output_of("wc -l < /tmp/m.tsv"));
  EXPECT_EQ("200000\n", output_of("grep -c '^<li>' /tmp/p.html"));
}

}  // namespace
