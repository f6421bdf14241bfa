// Who is in an archive, and for whom it says it is.
#include "account/people.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "account/account.h"
#include "account/raw_zip.h"
#include "account/scene.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::ElementsAre;

using Entries = std::vector<std::pair<std::string, std::string>>;
constexpr const char* path = "/tmp/people.zip";

Archive packed(const Entries& entries) {
  write_zip(path, entries);
  return Archive(path, "CP437");
}

bool several(const std::string& users) { return is_for_several(packed({{"Brindle/users.txt", users}})); }

std::vector<std::string> logins(const Archive& archive, const Options& options = {}) {
  std::vector<std::string> result;
  for (const Person& person : people_in(archive, options)) result.push_back(person.login);
  return result;
}

// The causes of all that is missing of each person, "login: cause".
std::vector<std::string> causes(const Archive& archive, const Options& options = {}) {
  std::vector<std::string> result;
  for (const PersonAccount& person : draw_up(archive, options, System::gnome))
    for (const Line& line : person.lines)
      for (const Missing& thing : line.tally.missing())
        result.push_back(person.person.login + ": " + thing.name + ": " + Texts()(thing.cause, thing.detail));
  return result;
}

TEST(Users, say_for_how_many_the_archive_is) {
  EXPECT_FALSE(several("Default=ann\nMultiUser Migration=0\n"));
  EXPECT_TRUE(several("Default=ann\nMultiUser Migration=1\n"));
  EXPECT_TRUE(several("MultiUser Migration=\n"));
  EXPECT_TRUE(several("MultiUser Migration=0 \n"));
  EXPECT_TRUE(several("MultiUser Migration=no\n"));
  EXPECT_FALSE(several("MultiUser Migration=10\n"));  // the last character counts
}

TEST(Users, without_the_line_are_several) {
  EXPECT_TRUE(several(""));
  EXPECT_TRUE(several("Default=ann\n"));
  EXPECT_TRUE(several("multiuser migration=0\n"));
}

TEST(Users, may_have_any_line_ends_or_none) {
  EXPECT_FALSE(several("Default=ann\r\nMultiUser Migration=0\r\n"));
  EXPECT_FALSE(several("MultiUser Migration=0"));
  EXPECT_TRUE(several("MultiUser Migration=0\r"));
  EXPECT_TRUE(several("MultiUser Migration=0\r\r\n"));
  EXPECT_TRUE(several("MultiUser Migration=1\r\n"));
}

TEST(Users, may_be_of_two_bytes_a_character) {
  EXPECT_FALSE(
      several(std::string("\xff\xfeM\0u\0l\0t\0i\0U\0s\0e\0r\0 \0M\0i\0g\0r\0a\0t\0i\0o\0n\0=\0"
                          "0\0\r\0\n\0",
                          48)));
}

// dos2unix takes such a text for binary and leaves it as it is; the wizard reads on.
TEST(Users, with_control_characters_have_any_line_ends_as_well) {
  EXPECT_FALSE(several("\1\r\nMultiUser Migration=0\r\n"));
  EXPECT_TRUE(several("\1\r\nMultiUser Migration=1\r\n"));
  EXPECT_FALSE(several("\1\r\nMultiUser Migration=0\n"));
}

TEST(Users, name_the_key_anywhere_in_the_first_line_that_has_it) {
  EXPECT_FALSE(several("No MultiUser Migration here: 0\nMultiUser Migration=1\n"));
  EXPECT_TRUE(several("No MultiUser Migration here: 1\nMultiUser Migration=0\n"));
}

TEST(Users, are_read_127_characters_at_a_time) {
  const std::string key = "MultiUser Migration=";
  EXPECT_FALSE(several(std::string(127 - key.size() - 1, 'x') + key + "01\n"));  // the piece ends with the 0
  EXPECT_TRUE(several(std::string(127 - key.size() - 1, 'x') + key + "10\n"));
  EXPECT_TRUE(several(std::string(120, 'x') + key + "0\n"));  // cut in two, found nowhere
}

TEST(Users, that_nobody_can_unpack_mean_one) {
  EXPECT_FALSE(is_for_several(packed({{"Brindle/Desktop/a", ""}})));
  EXPECT_FALSE(is_for_several(packed({{"users.txt", "MultiUser Migration=1\n"}})));
  write_file(path, raw_zip({{"Brindle/users.txt", "MultiUser Migration=1\n", 0, 1}}));
  EXPECT_FALSE(is_for_several(Archive(path, "CP437")));
  write_file(path, raw_zip({{"Brindle/users.txt", "MultiUser Migration=1\n", 3, 0, 0120777U << 16}}));
  EXPECT_FALSE(is_for_several(Archive(path, "CP437")));
}

TEST(Users, as_a_folder_have_no_line) {
  EXPECT_TRUE(is_for_several(packed({{"Brindle/users.txt/", ""}})));
  EXPECT_TRUE(is_for_several(packed({{"Brindle/users.txt/x", "MultiUser Migration=0\n"}})));
}

TEST(People, are_the_running_one_and_each_profile_once) {
  const Archive archive = packed({{"Brindle/users.txt", "MultiUser Migration=1\n"},
                                  {"Brindle/Profiles/zoe/Desktop/a", ""},
                                  {"Brindle/Profiles/ann-lee/Desktop/a", ""},
                                  {"Brindle/Profiles/ann/Desktop/a", ""},
                                  {"Brindle/Profiles/ann", ""},
                                  {"Brindle/Profiles/empty/", ""}});
  EXPECT_THAT(logins(archive), ElementsAre("root", "ann", "ann-lee", "empty", "zoe"));
}

TEST(People, of_the_runners_login_are_told_by_their_folder) {
  const Archive archive = packed({{"Brindle/users.txt", "MultiUser Migration=1\n"},
                                  {"Brindle/Profiles/root/a", "x"},
                                  {"Brindle/Profiles/rooty/a", "x"}});
  std::vector<std::string> names;
  for (const Person& person : people_in(archive, {})) names.push_back(name_of(person));
  EXPECT_THAT(names, ElementsAre("root", "Profiles/root", "rooty"));
}

TEST(People, live_where_the_command_line_says) {
  const Archive archive = packed({{"Brindle/users.txt", "MultiUser Migration=1\n"},
                                  {"Brindle/Profiles/ann/Desktop/a", ""},
                                  {"Brindle/Profiles/root/Desktop/a", ""}});
  auto people = people_in(archive, Options());
  EXPECT_EQ("/root", people[0].home);
  EXPECT_EQ("Brindle", people[0].folder);
  EXPECT_TRUE(people[0].runs);
  EXPECT_EQ("/home/ann", people[1].home);
  EXPECT_EQ("Brindle/Profiles/ann", people[1].folder);
  EXPECT_FALSE(people[1].runs);
  EXPECT_FALSE(people[1].has_account);
  EXPECT_EQ("/home/root", people[2].home);  // a profile, whatever its name
  EXPECT_TRUE(people[2].has_account);
  Options options;
  options.login = "ada";
  options.homes["ann"] = "/srv/ann";
  people = people_in(archive, options);
  EXPECT_EQ("ada", people[0].login);
  EXPECT_EQ("/home/ada", people[0].home);
  EXPECT_EQ("/srv/ann", people[1].home);
  options.home = "/srv/ada";
  EXPECT_EQ("/srv/ada", people_in(archive, options)[0].home);
}

// Homes of "root", "ann" and "zoe" in an archive with profiles of the last two, and the folders given.
std::vector<std::string> homes(const std::vector<std::string>& folders, const std::string& login = "root") {
  const Archive archive = packed({{"Brindle/users.txt", "MultiUser Migration=1\n"},
                                  {"Brindle/Profiles/ann/Desktop/a", ""},
                                  {"Brindle/Profiles/zoe/Desktop/a", ""}});
  Options options;
  options.login = login;
  options.folders = folders;
  std::vector<std::string> result;
  for (const Person& person : people_in(archive, options)) result.push_back(person.home);
  return result;
}

TEST(People, live_in_the_folder_that_bears_their_name) {
  EXPECT_THAT(homes({"/srv/zoe", "/srv/ann"}), ElementsAre("/root", "/srv/ann", "/srv/zoe"));
  EXPECT_THAT(homes({"/srv/zoe", "/mnt/old", "/srv/ann"}), ElementsAre("/mnt/old", "/srv/ann", "/srv/zoe"));
  EXPECT_THAT(homes({"/srv/zoe.old", "zoe"}), ElementsAre("/srv/zoe.old", "/home/ann", "zoe"));
  EXPECT_THAT(homes({"/srv/ann"}, "ann"), ElementsAre("/srv/ann", "/home/ann", "/home/zoe"));
}

TEST(People, live_rather_where_their_login_name_is_given) {
  const Archive archive = packed({{"Brindle/Profiles/ann/Desktop/a", ""}});
  Options options;
  options.homes["ann"] = "/mnt/her";
  options.folders = {"/srv/ann"};
  const auto people = people_in(archive, options);
  EXPECT_EQ("/mnt/her", people[1].home);
  EXPECT_NE("/srv/ann", people[0].home);
}

// What was put into the home of a login that useradd has refused belongs to root, and nobody can log in
// there.
TEST(People, without_an_account_have_nothing_that_has_arrived) {
  ASSERT_EQ(0, shell_quietly("useradd -m bob"));
  for (const char* home : {"/home/7up", "/home/bob", "/srv/zoe"})
    write_file(std::string(home) + "/Desktop/a", "1");
  const Archive archive = packed({{"Brindle/users.txt", "MultiUser Migration=1\n"},
                                  {"Brindle/Profiles/7up/Desktop/a", "1"},
                                  {"Brindle/Profiles/bob/Desktop/a", "1"},
                                  {"Brindle/Profiles/zoe/Desktop/a", "1"}});
  Options options;
  options.homes["zoe"] = "/srv/zoe";  // of another machine, whoever may log in there
  EXPECT_THAT(causes(archive, options), ElementsAre("7up: a: The user account 7up was not made."));
}

TEST(People, are_left_out_for_a_reason_of_their_own) {
  ASSERT_EQ(0, shell_quietly("useradd -m bob"));
  const Entries entries = {{"Brindle/Desktop/own", "1"},
                           {"Brindle/Profiles/_x/Desktop/a", "1"},
                           {"Brindle/Profiles/7up/Desktop/a", "1"},
                           {"Brindle/Profiles/bob/Desktop/a", "1"},
                           {"Brindle/Profiles/Zoe/Desktop/a", "1"}};
  Entries for_several = entries;
  for_several.emplace_back("Brindle/users.txt", "MultiUser Migration=1\n");
  EXPECT_THAT(
      causes(packed(for_several)),
      ElementsAre(
          "root: own: It is not there.", "7up: a: The user account 7up was not made.",
          "Zoe: a: The user account Zoe was not made.",
          "_x: a: The login name _x does not begin with a Latin letter or a digit, so no user account was "
          "made.",
          "bob: a: It is not there."));
  const std::string alone = "The archive says that it is for one person; others in it are left out.";
  EXPECT_THAT(causes(packed(entries)),
              ElementsAre("root: own: It is not there.", "7up: a: " + alone, "Zoe: a: " + alone,
                          "_x: a: " + alone, "bob: a: " + alone));
  Options by_ada;
  by_ada.login = "ada";
  const std::string root_only = "Only the administrator can move an archive of several people.";
  EXPECT_THAT(causes(packed(for_several), by_ada),
              ElementsAre("ada: own: " + root_only, "7up: a: " + root_only, "Zoe: a: " + root_only,
                          "_x: a: " + root_only, "bob: a: " + root_only));
}

TEST(LoginNames, begin_with_a_letter_or_digit_of_ascii) {
  for (const char* name : {"a", "z", "A", "Z", "0", "9", "a_b"}) EXPECT_TRUE(is_login_name(name)) << name;
  for (const char* name : {"", "_a", "-a", ".a", " a", "é", "@", "[", "`", "{", "/", ":"})
    EXPECT_FALSE(is_login_name(name)) << name;
}

}  // namespace
