// Files that arrive as they are.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "account/scene.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::Test;

TEST(Files, everything_that_lies_there_has_arrived) {
  const Scene scene(System::gnome, {{"My Documents/a.txt", "one"},
                                    {"My Documents/b/c d.txt", std::string(200000, 'x')},
                                    {"My Documents/empty/", ""}});
  write_file("/home/ann/Documents/a.txt", "one");
  write_file("/home/ann/Documents/b/c d.txt", std::string(200000, 'x'));
  write_file("/home/ann/Documents/empty/.keep", "");
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::documents)));
  shell_quietly("rm -r /home/ann/Documents/empty");
  EXPECT_EQ((std::vector<std::string>{"empty: It is not there."}),
            missing_names(scene.look(Kind::documents)));
  EXPECT_EQ("2 2 0 0 1", numbers(scene.look(Kind::documents)));
  EXPECT_TRUE(scene.look(Kind::documents).certain());
}

TEST(Files, each_fault_is_named) {
  const Scene scene(System::redflag, {{"My Documents/.hidden", "h"},
                                      {"My Documents/cut.txt", "one two"},
                                      {"My Documents/gone.txt", "one"},
                                      {"My Documents/other.txt", "one"},
                                      {"My Documents/longer.txt", "one"},
                                      {"My Documents/same.txt", "one"}});
  const std::string place = "/home/ann/Desktop/mydocument/";
  write_file(place + ".hidden", "h");
  write_file(place + "cut.txt", "one");
  write_file(place + "other.txt", "two");
  write_file(place + "longer.txt", "one two");
  write_file(place + "same.txt", "one");
  const Tally tally = scene.look(Kind::documents);
  EXPECT_EQ("6 1 0 0 5", numbers(tally));
  EXPECT_EQ((std::vector<std::string>{".hidden: Names that begin with a dot are left out here.",
                                      "cut.txt: Only its beginning is there.", "gone.txt: It is not there.",
                                      "longer.txt: What is there has different content.",
                                      "other.txt: What is there has different content."}),
            missing_names(tally));
}

// The wizard could not keep it, and so left all of the folder as it was.
TEST(Files, an_old_one_that_may_not_be_read_is_the_cause_of_all_that_is_not_there) {
  const Scene scene(System::gnome, {{"My Documents/a.txt", "one"},
                                    {"My Documents/b.txt", "one"},
                                    {"My Documents/c/d.txt", "one"},
                                    {"My Documents/there.txt", "two"}});
  write_file("/home/ann/Documents/b.txt", "old");
  write_file("/home/ann/Documents/there.txt", "old");
  chmod("/home/ann/Documents/b.txt", 0600);
  ASSERT_EQ(0, seteuid(65534));
  const Tally tally = scene.look(Kind::documents);
  ASSERT_EQ(0, seteuid(0));
  const std::string because = ": Its place /home/ann/Documents/b.txt cannot be read.";
  EXPECT_EQ((std::vector<std::string>{"a.txt" + because, "b.txt" + because, "c/d.txt" + because,
                                      "there.txt: What is there has different content."}),
            missing_names(tally));
}

TEST(Files, a_folder_in_the_way_of_one_does_not_stop_the_others) {
  const Scene scene(System::gnome, {{"My Documents/a.txt", "one"}, {"My Documents/b.txt", "one"}});
  shell_quietly("mkdir -p /home/ann/Documents/b.txt");
  EXPECT_EQ((std::vector<std::string>{"a.txt: It is not there.",
                                      "b.txt: Its place /home/ann/Documents/b.txt cannot be read."}),
            missing_names(scene.look(Kind::documents)));
}

TEST(Files, shared_files_arrive_with_their_hidden_ones_in_the_home) {
  const Scene scene(System::xandros, {{"File Extensions/.hidden", "h"}, {"File Extensions/a.txt", "one"}});
  write_file("/home/ann/File Extensions/.hidden", "h");
  write_file("/home/ann/File Extensions/a.txt", "one");
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::shared_files)));
}

TEST(Files, shared_files_of_several_people_lie_in_one_place_without_their_hidden_ones) {
  Scene scene(System::xandros, {{"File Extensions/.hidden", "h"}, {"File Extensions/a.txt", "one"}});
  scene.several = true;
  write_file("/Share/.hidden", "h");
  write_file("/Share/a.txt", "one");
  EXPECT_EQ("2 1 0 0 1", numbers(scene.look(Kind::shared_files)));
}

TEST(Files, only_one_of_the_two_folders_of_documents_arrives) {
  const Scene scene(System::gnome, {{"My Documents/a.txt", "one"}, {"Personal/b.txt", "two"}});
  write_file("/home/ann/Documents/a.txt", "one");
  write_file("/home/ann/Documents/b.txt", "two");
  EXPECT_EQ((std::vector<std::string>{
                "Personal/b.txt: The archive has My Documents as well, and only one of the two is moved."}),
            missing_names(scene.look(Kind::documents)));
}

TEST(Files, the_other_folder_of_documents_arrives_alone) {
  const Scene scene(System::gnome, {{"Personal/a.txt", "one"}, {"Personal/b.txt", "two"}});
  write_file("/home/ann/Documents/a.txt", "one");
  EXPECT_EQ("2 1 0 0 1", numbers(scene.look(Kind::documents)));
}

TEST(Files, a_pipe_or_a_folder_in_a_files_place_is_not_read) {
  const Scene scene(System::gnome,
                    {{"Desktop/folder", "one"}, {"Desktop/pipe", "one"}, {"Desktop/plain", "one"}});
  shell_quietly("mkdir -p /home/ann/Desktop/folder && mkfifo /home/ann/Desktop/pipe");
  write_file("/home/ann/Desktop/plain", "one");
  EXPECT_EQ((std::vector<std::string>{"folder: Its place /home/ann/Desktop/folder cannot be read.",
                                      "pipe: Its place /home/ann/Desktop/pipe cannot be read."}),
            missing_names(scene.look(Kind::desktop)));
}

// ---- Fonts ----------------------------------------------------------------------------------------------

TEST(Fonts, are_the_files_directly_in_their_folder) {
  const Scene scene(System::xandros, {{"Fonts/.hidden.ttf", "h"},
                                      {"Fonts/a.ttf", "one"},
                                      {"Fonts/b.ttf", "two"},
                                      {"Fonts/c.ttf", "three"},
                                      {"Fonts/sub/d.ttf", "four"},
                                      {"Fonts/empty/", ""}});
  for (const char* name : {".hidden.ttf", "a.ttf", "b.ttf", "c.ttf", "sub/d.ttf"})
    write_file("/home/ann/.fonts/" + std::string(name), "one");
  EXPECT_EQ((std::vector<std::string>{".hidden.ttf: Names that begin with a dot are left out here.",
                                      "b.ttf: What is there has different content.",
                                      "c.ttf: What is there has different content.",
                                      "empty: Only files are moved from here, no folders.",
                                      "sub/d.ttf: Only files are moved from here, no folders."}),
            missing_names(scene.look(Kind::fonts)));
  EXPECT_EQ("5 1 0 0 5", numbers(scene.look(Kind::fonts)));
}

TEST(Fonts, of_a_profile_are_those_of_the_archive) {
  Scene scene(System::gnome, {{"Fonts/a.ttf", "one"}, {"Profiles/ann/Fonts/b.ttf", "two"}});
  scene.person.folder = "Brindle/Profiles/ann";
  scene.several = true;
  EXPECT_EQ((std::vector<std::string>{"a.ttf: It is not there."}), missing_names(scene.look(Kind::fonts)));
  write_file("/home/ann/.fonts/a.ttf", "one");
  EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::fonts)));
}

TEST(Fonts, of_several_people_are_the_machines_on_red_flag) {
  for (const System system : {System::redflag, System::redflag_plus}) {
    Scene scene(system, {{"Fonts/a.ttf", "one"}, {"Fonts/b.ttf", "two"}});
    write_file("/home/ann/.fonts/a.ttf", "one");
    write_file("/usr/share/fonts/zh_CN/TrueType/b.ttf", "two");
    EXPECT_EQ((std::vector<std::string>{"b.ttf: It is not there."}), missing_names(scene.look(Kind::fonts)));
    scene.several = true;
    EXPECT_EQ((std::vector<std::string>{"a.ttf: It is not there."}), missing_names(scene.look(Kind::fonts)));
  }
}

}  // namespace
