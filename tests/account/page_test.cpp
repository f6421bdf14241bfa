// The page for people.
#include "account/page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

#include "account/new_file.h"
#include "account/shown.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::HasSubstr;
using testing::Not;

Account small_account() {
  Account account;
  account.archive = "/media/cdrom/Old PC.zip";
  account.ending = Ending::ended;
  PersonAccount& ann = account.people.emplace_back();
  ann.person.login = "ann";
  Line documents = {Kind::documents, {}};
  documents.tally.find(4);
  documents.tally.arrive_unchanged(1);
  documents.tally.miss("z.txt", Cause::not_there);
  documents.tally.miss("b.txt", Cause::encrypted);
  documents.tally.miss("a.txt", Cause::not_there);
  Line notes = {Kind::notes, {}};
  notes.tally.find(5);
  notes.tally.arrive_changed(2);
  notes.tally.have_no_place(3);
  Line fonts = {Kind::fonts, {}};
  ann.lines = {documents, notes, fonts};
  return account;
}

std::string page_of(const Account& account, const Texts& texts = {}, std::string_view language = "en_US") {
  std::ostringstream out;
  write_page(out, account, texts, language);
  return out.str();
}

// What somebody sees who only reads: the page's body without its tags.
std::string words_of(const std::string& page) {
  write_file("/tmp/page.html", page);
  return output_of(
      "sed -n '/<body>/,$ { s/<[^>]*>/ /g; s/&#8211;/-/g; p }' /tmp/page.html | tr -s ' ' | sed "
      "'s/^ //; s/ $//; /^$/d'");
}

TEST(Page, says_that_the_archive_has_no_folder_to_look_in) {
  Account account = small_account();
  const std::string told =
      "<p class=\"warning\">The archive has no folder Brindle; nothing in it will be found.</p>";
  EXPECT_THAT(page_of(account), Not(HasSubstr(told)));
  account.has_root = false;
  EXPECT_THAT(page_of(account), HasSubstr(told));
}

TEST(Page, tells_everything_in_plain_words) {
  EXPECT_TRUE(
      same_bytes("What arrived\n"
                 "Archive: /media/cdrom/Old PC.zip\n"
                 "Not everything has arrived. What has not is named here, with its cause.\n"
                 "For ann\n"
                 "Kind In the archive Arrived Arrived, adapted No place here Not arrived\n"
                 "Documents 4 1 - - 3\n"
                 "Notes 5 - 2 3 -\n"
                 "Adapted: it has arrived with the changes that its new program needs.\n"
                 "No place here: this desktop has nothing to keep it in. The archive still holds it.\n"
                 "What has not arrived\n"
                 "The archive still holds all of this. Keep it. What is named here can be copied from it by "
                 "hand, or the "
                 "migration can be run again once the cause is gone.\n"
                 "Documents\n"
                 "It is not there. Copy it from the archive to its place, or run the migration again.\n"
                 "z.txt\n"
                 "a.txt\n"
                 "It is encrypted in the archive. Pack the archive again without a password, then run the "
                 "migration again.\n"
                 "b.txt\n",
                 words_of(page_of(small_account()))));
}

TEST(Page, of_a_run_that_went_well_names_nothing) {
  Account account = small_account();
  account.people[0].lines = {account.people[0].lines[2]};
  account.people[0].lines[0].tally.find();
  account.people[0].lines[0].tally.arrive_unchanged();
  EXPECT_TRUE(
      same_bytes("What arrived\n"
                 "Archive: /media/cdrom/Old PC.zip\n"
                 "Everything in the archive that this desktop has a place for has arrived.\n"
                 "For ann\n"
                 "Kind In the archive Arrived Arrived, adapted No place here Not arrived\n"
                 "Fonts 1 1 - - -\n",
                 words_of(page_of(account))));
}

TEST(Page, says_whose_things_they_are_when_there_are_several) {
  Account account = small_account();
  account.people.push_back(account.people[0]);
  account.people[1].person.login = "bob";
  account.people.emplace_back().person.login = "eve";
  const std::string words = words_of(page_of(account));
  EXPECT_THAT(words, HasSubstr("\nann – Documents\n"));
  EXPECT_THAT(words, HasSubstr("\nbob – Documents\n"));
  EXPECT_THAT(words, HasSubstr("\nFor eve\nThe archive holds nothing for this person.\n"));
}

TEST(Page, says_first_how_and_when_a_run_ended) {
  setenv("TZ", "UTC", 1);
  Account account = small_account();
  account.begun = 1111111111;
  account.ending = Ending::cancelled;
  EXPECT_THAT(
      words_of(page_of(account)),
      HasSubstr("\nRun of 2005-03-18 01:58\nThe run was canceled. What would have come after that has not "
                "been moved.\nNot everything"));
  account.ending = Ending::begun;
  EXPECT_THAT(words_of(page_of(account)), HasSubstr("The run did not come to its end."));
  account.ending = Ending::refused;
  EXPECT_THAT(words_of(page_of(account)), HasSubstr("The run was refused. Nothing has been moved."));
}

TEST(Page, of_what_cannot_be_told_says_so) {
  Account account = small_account();
  account.people[0].lines[2].tally.give_up();
  EXPECT_THAT(words_of(page_of(account)),
              HasSubstr("so it cannot be told whether everything has arrived.\n"));
  EXPECT_THAT(words_of(page_of(account)), HasSubstr("\nFonts - - - - -\n"));
}

TEST(Page, escapes_every_value) {
  const std::string hostile = "<script>alert(\"1\")</script>&'\x1b\n\xff";
  Account account = small_account();
  account.archive = hostile;
  account.people[0].person.login = hostile;
  account.people[0].lines[0].tally.miss(hostile, Cause::place_missing, hostile);
  account.people.push_back(account.people[0]);
  const std::string page = page_of(account);
  EXPECT_THAT(page, Not(HasSubstr("<script")));
  EXPECT_THAT(
      page,
      HasSubstr("<li>&lt;script&gt;alert(&quot;1&quot;)&lt;/script&gt;&amp;&#39;\ufffd\ufffd\ufffd</li>"));
  write_file("/tmp/page.html", page);
  EXPECT_EQ("", output_of("xmllint --html --noout /tmp/page.html 2>&1"));
  // Every tag is closed, and every value is one: as XML it can be read, but for two tags that stand alone.
  EXPECT_EQ("", output_of("sed -E 's/(<meta [^>]*)>/\\1\\/>/; 1d' /tmp/page.html | xmllint --noout - 2>&1"));
}

TEST(Page, texts_of_a_language_are_values_too) {
  write_file("/tmp/de_DE",
             "account-title=<b>Was & wie</b>\naccount-advice-encrypted=\naccount-head-kind=<i>\n");
  const std::string page = page_of(small_account(), Texts("/tmp/de_DE"), "de_DE");
  EXPECT_THAT(page, HasSubstr("<h1>&lt;b&gt;Was &amp; wie&lt;/b&gt;</h1>"));
  EXPECT_THAT(page, HasSubstr("<th scope=\"col\">&lt;i&gt;</th>"));
  EXPECT_THAT(page, HasSubstr("<html lang=\"de-DE\">"));
  EXPECT_THAT(page, HasSubstr("It is encrypted in the archive.</p>"));  // no advice, no empty one
}

TEST(Page, loads_and_runs_nothing) {
  const std::string page = page_of(small_account());
  for (const char* word :
       {"<script", "src=", "href", "url(", "@import", "http:", "https:", "<link", "onload"})
    EXPECT_THAT(page, Not(HasSubstr(word)));
  EXPECT_THAT(page, HasSubstr("<meta charset=\"utf-8\">"));
  EXPECT_THAT(page, HasSubstr("@media print"));
}

TEST(Page, knows_the_languages_of_pages) {
  EXPECT_EQ("en-US", page_language("en_US"));
  EXPECT_EQ("zh-TW", page_language("zh_TW"));
  EXPECT_EQ("de", page_language("de"));
  EXPECT_EQ("de", page_language("de_"));
  for (const char* code : {"", "C.UTF", "POSIX", "x", "12_34", "\"><x>"})
    EXPECT_EQ("en", page_language(code)) << code;
}

// ---- The file -------------------------------------------------------------------------------------------

bool write_new(const std::string& path, const std::string& text) {
  NewFile file(path);
  file.stream() << text;
  return file.commit();
}

std::string mode_of(const std::string& path) { return output_of("stat -c %a '" + path + "'"); }

TEST(NewFile, can_be_read_by_everybody_whatever_the_mask) {
  umask(077);
  shell_quietly("mkdir /tmp/new");
  EXPECT_TRUE(write_new("/tmp/new/a page.html", "one"));
  EXPECT_EQ("one", read_file("/tmp/new/a page.html"));
  EXPECT_EQ("644\n", mode_of("/tmp/new/a page.html"));
  EXPECT_EQ("a page.html\n", output_of("ls -A /tmp/new"));
}

TEST(NewFile, takes_the_place_of_an_older_one) {
  write_file("/tmp/new/page", "an older and longer one");
  shell_quietly("ln /tmp/new/page /tmp/new/other; chmod 600 /tmp/new/page");
  EXPECT_TRUE(write_new("/tmp/new/page", "new"));
  EXPECT_EQ("new", read_file("/tmp/new/page"));
  EXPECT_EQ("644\n", mode_of("/tmp/new/page"));
  EXPECT_EQ("an older and longer one", read_file("/tmp/new/other"));
}

TEST(NewFile, is_not_written_through_links_or_over_other_things) {
  write_file("/tmp/new/precious", "precious");
  symlink("/tmp/new/precious", "/tmp/new/link");
  symlink("/tmp/new/none", "/tmp/new/dangling");
  mkfifo("/tmp/new/pipe", 0600);
  mkdir("/tmp/new/folder", 0700);
  for (const char* name : {"link", "dangling", "pipe", "folder"}) {
    EXPECT_FALSE(write_new(std::string("/tmp/new/") + name, "new")) << name;
    EXPECT_NE(0, errno) << name;
  }
  EXPECT_EQ("precious", read_file("/tmp/new/precious"));
  EXPECT_FALSE(exists("/tmp/new/none"));
  EXPECT_FALSE(write_new("/tmp/nowhere/page", "new"));
  EXPECT_EQ("dangling\nfolder\nlink\npipe\nprecious\n", output_of("ls -A /tmp/new"));
}

TEST(NewFile, that_was_not_committed_goes_again) {
  write_file("/tmp/new/page", "old");
  {
    NewFile file("/tmp/new/page");
    file.stream() << "new";
  }
  EXPECT_EQ("old", read_file("/tmp/new/page"));
  EXPECT_EQ("page\n", output_of("ls -A /tmp/new"));
}

TEST(NewFile, leaves_the_old_one_on_a_full_disk) {
  shell_quietly("mkdir /tmp/small && mount -t tmpfs -o size=64k none /tmp/small");
  write_file("/tmp/small/page", "old");
  EXPECT_FALSE(write_new("/tmp/small/page", std::string(200000, 'x')));
  EXPECT_EQ("old", read_file("/tmp/small/page"));
  EXPECT_EQ("page\n", output_of("ls -A /tmp/small"));
}

}  // namespace
