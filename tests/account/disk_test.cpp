// What the packer counted on the Windows disk.
#include "account/disk.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "account/page.h"
#include "account/report.h"
#include "account/scene.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string head = "person\tlogin\tkind\tfound\tpacked\tleft_out\tbytes\n";

std::vector<DiskCount> counts_of(const std::string& table, const char* name = "Brindle/packed.tsv",
                                 const char* password = nullptr) {
  write_zip("/tmp/a.zip", {{"Brindle/users.txt", "x"}, {name, table}}, password);
  return disk_counts_in(Archive("/tmp/a.zip", "CP437"));
}

std::vector<std::string> words_of(const std::vector<DiskCount>& counts) {
  std::vector<std::string> words;
  for (const DiskCount& count : counts)
    words.push_back(owner_shown(count) + ": " + kind_shown(count, Texts()) + " " +
                    std::to_string(count.found) + "=" + std::to_string(count.packed) + "+" +
                    std::to_string(count.left_out));
  return words;
}

Account packed_from_a_disk() {
  Account account;
  account.archive = "/tmp/a.zip";
  account.ending = Ending::ended;
  account.disk = counts_of(head +
                           "Ann B\tann\tdocuments\t5\t4\t1\t99\n"
                           "Ann B\tann\tpictures\t3\t3\t0\t99\n"
                           "<PC>\t\tprinters\t2\t2\t0\t9\n");
  return account;
}

TEST(Disk, counts_are_those_of_the_table) {
  EXPECT_THAT(
      words_of(counts_of(head + "Ann B\tann\tdocuments\t5\t4\t1\t99\n"
                                "bob\tbob\tevents\t12\t12\t0\t0\n"
                                "a\\tb\\\\\\n\\r\tc\tmusic\t1\t0\t1\t18446744073709551615\n"
                                "This computer\t\tfonts\t2\t1\t1\t9\n"
                                "This computer\t\tshared\t3\t0\t3\t0\n"
                                "bob\tbob\tothers\t2\t2\t0\t0\n"
                                "bob\tbob\tsomething new\t1\t1\t0\t0\n")),
      ElementsAre("Ann B (ann): Documents 5=4+1", "bob: Appointments 12=12+0", "a\tb\\\n\r (c): Music 1=0+1",
                  "This computer: Fonts 2=1+1", "This computer: Files outside of the people's folders 3=0+3",
                  "bob: Other files 2=2+0", "bob: something new 1=1+0"));
}

TEST(Disk, lines_that_are_no_counts_are_passed_over) {
  EXPECT_THAT(words_of(counts_of(head + "ann\tann\tmail\t-1\t1\t0\t0\n"
                                        "ann\tann\tmail\t1\t1x\t0\t0\n"
                                        "ann\tann\tmail\t1\t1\t99999999999999999999\t0\n"
                                        "ann\tann\tmail\t1\t1\t0\n"
                                        "ann\tann\tmail\t1\t1\t0\t0\t0\n"
                                        "\n"
                                        "ann\tann\tnotes\t1\t1\t0\t0")),
              ElementsAre("ann: Notes 1=1+0"));
}

TEST(Disk, has_no_counts_without_a_table_that_can_be_read) {
  EXPECT_THAT(counts_of("x", "Brindle/other.tsv"), IsEmpty());
  EXPECT_THAT(counts_of(head + "ann\tann\tmail\t1\t1\t0\t0\n", "packed.tsv"), IsEmpty());
  EXPECT_THAT(counts_of("kind\n" + head + "ann\tann\tmail\t1\t1\t0\t0\n"), IsEmpty());
  EXPECT_THAT(counts_of(head + "ann\tann\tmail\t1\t1\t0\t0\n", "Brindle/packed.tsv", "secret"), IsEmpty());
  EXPECT_THAT(counts_of(head + std::string(5 << 20, '\n') + "ann\tann\tmail\t1\t1\t0\t0\n"), IsEmpty());
}

TEST(Disk, numbers_stand_in_the_text_behind_what_has_arrived) {
  std::ostringstream out;
  write_plain_text(out, packed_from_a_disk(), Texts());
  EXPECT_THAT(out.str(), HasSubstr("\nWhat was packed from the Windows disk\n\nAnn B (ann)\n"));
  EXPECT_THAT(out.str(), HasSubstr("On the disk"));
  EXPECT_THAT(out.str(), testing::ContainsRegex("Documents +5 +4 +1\n"));
  EXPECT_THAT(out.str(), testing::ContainsRegex("Pictures +3 +3 +0\n\n<PC>\n"));
  EXPECT_THAT(out.str(),
              HasSubstr("\nThe file left out.tsv in the archive names what was left out, and why.\n"));
}

TEST(Disk, numbers_stand_on_the_page) {
  std::ostringstream out;
  write_page(out, packed_from_a_disk(), Texts(), "en_US");
  EXPECT_THAT(out.str(), HasSubstr("<h2>What was packed from the Windows disk</h2>\n<h3>Ann B (ann)</h3>\n"));
  EXPECT_THAT(out.str(), HasSubstr("<tr><th scope=\"row\">Documents</th><td>5</td><td>4</td>"
                                   "<td class=\"some\">1</td></tr>\n"));
  EXPECT_THAT(out.str(), HasSubstr("<h3>&lt;PC&gt;</h3>\n"));
  EXPECT_THAT(out.str(), HasSubstr("<p class=\"note\">The file left out.tsv in the archive names"));
}

TEST(Disk, nothing_is_said_of_an_archive_that_was_packed_otherwise) {
  Account account = packed_from_a_disk();
  account.disk = {};
  std::ostringstream text;
  std::ostringstream page;
  write_plain_text(text, account, Texts());
  write_page(page, account, Texts(), "en_US");
  EXPECT_THAT(text.str() + page.str(), Not(HasSubstr("Windows disk")));
}

TEST(Disk, nothing_is_said_of_a_table_when_nothing_was_left_out) {
  Account account = packed_from_a_disk();
  account.disk.erase(account.disk.begin());
  std::ostringstream text;
  std::ostringstream page;
  write_plain_text(text, account, Texts());
  write_page(page, account, Texts(), "en_US");
  EXPECT_THAT(text.str() + page.str(), Not(HasSubstr("left out.tsv")));
}

}  // namespace
