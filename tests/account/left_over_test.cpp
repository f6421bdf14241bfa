// What an archive holds under names that nobody looks for.
#include "account/kinds/left_over.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "account/account.h"
#include "account/scene.h"
#include "support/commands.h"

namespace {

using namespace account;
using testing::ElementsAre;
using testing::IsEmpty;

using Entries = std::vector<std::pair<std::string, std::string>>;
constexpr const char* path = "/tmp/left-over.zip";

const Person runner = {.login = "root", .home = "/root", .folder = "Brindle"};
const Person ann = {.login = "ann", .home = "/home/ann", .folder = "Brindle/Profiles/ann", .runs = false};

// "kind, name: cause" of each.
std::vector<std::string> left(const Entries& entries, const Person& person = runner) {
  write_zip(path, entries);
  const Archive archive(path, "CP437");
  std::vector<std::string> result;
  for (const LeftOver& one : left_over(archive, person))
    result.push_back(std::string(name_of(one.kind).table) + ", " + std::string(one.name) + ": " +
                     Texts()(one.reason.cause, one.reason.detail));
  return result;
}

const std::string unknown = ": Nothing is looked for under this name.";

TEST(LeftOver, is_nothing_that_a_kind_counts) {
  EXPECT_THAT(left({{"Brindle/", ""},
                    {"Brindle/users.txt", "x"},
                    {"Brindle/packed.tsv", "x"},
                    {"Brindle/left out.tsv", "x"},
                    {"Brindle/My Documents/a", "x"},
                    {"Brindle/Personal/a", "x"},
                    {"Brindle/Desktop/a/b", "x"},
                    {"Brindle/File Extensions/a", "x"},
                    {"Brindle/ImapMail/brindle-email-accounts/1.txt", "x"},
                    {"Brindle/ImapMail/Calendar/calendar.ics", "x"},
                    {"Brindle/ImapMail/Tasks/tasks.ics", "x"},
                    {"Brindle/ImapMail/Contacts/addressbook.db", "x"},
                    {"Brindle/Mail/Inbox", "x"},
                    {"Brindle/Notes/1.txt", "x"},
                    {"Brindle/Wallpaper/option.txt", "x"},
                    {"Brindle/Bookmark.htm", "x"},
                    {"Brindle/Cookies.txt", "x"},
                    {"Brindle/Fonts/a.ttf", "x"},
                    {"Brindle/Mapped_Drives/a", "x"},
                    {"Brindle/Printers/a", "x"},
                    {"Brindle/Groupwise/a", "x"},
                    {"Brindle/Empty/", ""},
                    {"Brindle/Profiles/ann/Other/a", "x"}}),
              IsEmpty());
}

TEST(LeftOver, is_named_under_the_kind_it_belongs_to) {
  EXPECT_THAT(left({{"Brindle/Cookies2.txt", "x"},
                    {"Brindle/Desktop", "x"},
                    {"Brindle/Bookmark.htm/a", "x"},
                    {"Brindle/ImapMail/Calendar/old.ics", "x"},
                    {"Brindle/ImapMail/Contacts/old.db", "x"},
                    {"Brindle/ImapMail/Journal/journal.ics", "x"},
                    {"Brindle/ImapMail/Tasks/tasks.ics/a", "x"},
                    {"Brindle/Profiles/a file", "x"},
                    {"Brindle/bookmarks.xml", "x"},
                    {"Brindle/desktop/a", "x"},
                    {"Brindle/zzz", "x"}}),
              ElementsAre("shared-files, Bookmark.htm/a" + unknown, "cookies, Cookies2.txt" + unknown,
                          "shared-files, Desktop" + unknown, "calendar, ImapMail/Calendar/old.ics" + unknown,
                          "contacts, ImapMail/Contacts/old.db" + unknown,
                          "shared-files, ImapMail/Journal/journal.ics" + unknown,
                          "tasks, ImapMail/Tasks/tasks.ics/a" + unknown,
                          "shared-files, Profiles/a file" + unknown, "bookmarks, bookmarks.xml" + unknown,
                          "shared-files, desktop/a" + unknown, "shared-files, zzz" + unknown));
}

TEST(LeftOver, are_the_packers_tables_in_a_profile) {
  EXPECT_THAT(left({{"Brindle/Profiles/ann/packed.tsv", "x"}, {"Brindle/My Documents/a", "x"}}, ann).size(),
              1U);
}

TEST(LeftOver, of_a_profile_is_that_persons) {
  EXPECT_THAT(left({{"Brindle/zzz", "x"},
                    {"Brindle/Profiles/ann/Fonts/a.ttf", "x"},
                    {"Brindle/Profiles/ann/Desktop/a", "x"},
                    {"Brindle/Profiles/ann/users.txt", "x"},
                    {"Brindle/Profiles/bob/zzz", "x"}},
                   ann),
              ElementsAre("fonts, Fonts/a.ttf" + unknown, "shared-files, users.txt" + unknown));
}

TEST(LeftOver, outside_of_the_root_belongs_to_who_runs_the_wizard) {
  const Entries entries = {
      {"Brindle/Desktop/a", "x"}, {"Brindle2/a", "x"}, {"../out", "x"}, {"brindle/a", "x"}};
  EXPECT_THAT(left(entries),
              ElementsAre("shared-files, ../out: Its name leads out of the archive.",
                          "shared-files, Brindle2/a: It lies outside the folder Brindle of the archive.",
                          "shared-files, brindle/a: It lies outside the folder Brindle of the archive."));
  EXPECT_THAT(left(entries, ann), IsEmpty());
}

// libzip refuses to write a name twice.
TEST(LeftOver, of_one_name_is_one_thing) {
  ASSERT_EQ(0, shell_quietly("cd /tmp && rm -f left-over.zip && python3 -W ignore -c \"import zipfile\n"
                             "z = zipfile.ZipFile('left-over.zip', 'w')\n"
                             "for name in ('a', 'b', 'a', 'c'): z.writestr('Brindle/' + name, 'x')\n"
                             "z.close()\""));
  std::vector<std::string_view> names;
  const Archive archive(path, "CP437");
  for (const LeftOver& one : left_over(archive, runner)) names.push_back(one.name);
  EXPECT_THAT(names, ElementsAre("a", "b", "c"));
}

TEST(LeftOver, counts_as_found_and_not_arrived) {
  shell_quietly("mkdir -p /root/Desktop && printf x >/root/Desktop/a");
  write_zip(path, {{"Brindle/Desktop/a", "x"}, {"Brindle/zzz", "x"}, {"Brindle/bookmarks.xml", "x"}});
  const auto people = draw_up(Archive(path, "CP437"), Options(), System::gnome);
  std::vector<std::string> lines;
  for (const Line& line : people.at(0).lines)
    if (line.tally.found() > 0)
      lines.push_back(std::string(name_of(line.kind).table) + " " + numbers(line.tally));
  EXPECT_THAT(lines, ElementsAre("desktop 1 1 0 0 0", "shared-files 1 0 0 0 1", "bookmarks 1 0 0 0 1"));
  EXPECT_EQ(Verdict::something_missing, verdict_of(people));
}

// libzip refuses to write a name twice, python's zipfile does not.
std::vector<std::string> left_of_doubled(const std::string& entries, const Person& person) {
  shell_quietly(
      "rm -f " + std::string(path) + "; python3 -W ignore -c \"import zipfile\nz = zipfile.ZipFile('" + path +
      "', 'w')\nfor name, text in (" + entries + "): z.writestr('Brindle/' + name, text)\nz.close()\"");
  const Archive archive(path, "CP437");
  std::vector<std::string> result;
  for (const LeftOver& one : left_over(archive, person))
    result.push_back(std::string(name_of(one.kind).table) + ", " + std::string(one.name) + ": " +
                     Texts()(one.reason.cause));
  return result;
}

const std::string doubled =
    ": The archive has another file of this name after it, and only the last one is moved.";

TEST(LeftOver, are_the_earlier_ones_of_a_name_unless_they_are_the_same) {
  EXPECT_THAT(left_of_doubled(
                  "('Desktop/a', 'one'), ('Desktop/b', 'x'), ('Desktop/a', 'two'), ('Desktop/a', 'three'), "
                  "('Desktop/b', 'x'), ('Cookies.txt', 'c'), ('Cookies.txt', 'd')",
                  runner),
              ElementsAre("cookies, Cookies.txt" + doubled, "desktop, Desktop/a" + doubled,
                          "desktop, Desktop/a" + doubled));
}

TEST(LeftOver, of_a_profile_are_that_persons) {
  const std::string entries = "('Profiles/ann/Notes/a', 'one'), ('Profiles/ann/Notes/a', 'two')";
  EXPECT_THAT(left_of_doubled(entries, ann), ElementsAre("notes, Notes/a" + doubled));
  EXPECT_THAT(left_of_doubled(entries, runner), IsEmpty());
}

}  // namespace
