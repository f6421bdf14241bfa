// Network drives: places of the file manager and links on the desktop.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "account/readers/places.h"
#include "account/scene.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::ElementsAre;

const std::string nautilus = "/home/ann/.nautilus/bookmarks.xml";
const std::string konqueror = "/home/ann/.kde/share/apps/konqueror/bookmarks.xml";

std::string nautilus_place(const std::string& name, const std::string& share) {
  return "<bookmark name=\"" + name + "\" uri=\"smb:" + share +
         "\" icon_name=\"gnome-mime-x-directory-smb-share\"/>\n";
}

std::string konqueror_place(const std::string& name, const std::string& share) {
  return "<bookmark icon=\"samba\" href=\"smb:" + share + "\"><title>" + name + "</title></bookmark>";
}

void write_nautilus(const std::string& places) {
  write_file(nautilus, "<?xml version=\"1.0\"?>\n<bookmarks>\n" + places + "</bookmarks>\n");
}

void write_konqueror(const std::string& places) {
  write_file(konqueror, "<!DOCTYPE xbel>\n<xbel folded=\"no\">\n" + places +
                            "<folder><title>Old</title><bookmark href=\"http://a/\"/></folder>\n</xbel>\n");
}

void write_link(const std::string& name, const std::string& share) {
  write_file("/home/ann/Desktop/" + name,
             "[Desktop Entry]\n\t\t\tVersion=1.0\n\t\t\tEncoding=UTF-8\n\t\t\tName=" + name +
                 "\n\t\t\tType=Link\nURL=smb:" + share + "\nIcon=network_local");
}

Scene::Entries archive() {
  return {{"Mapped_Drives/P.txt", "//server/projects\r\nProjects\r\n"},
          {"Mapped_Drives/Q.txt", "//server/q share\nQ on server\nmore\n"},
          {"Mapped_Drives/R.txt", "//other/r\r\nR"}};
}

std::vector<std::string> missing(const Scene& scene) { return missing_names(scene.look(Kind::drives)); }

struct FileManager {
  System system;
  std::string (*place)(const std::string&, const std::string&);
  void (*write)(const std::string&);
  std::string list;
};

class Drives : public testing::TestWithParam<FileManager> {
 protected:
  void SetUp() override {
    write_link("Projects", "//server/projects");
    write_link("Q on server", "//server/q share");
    write_link("R", "//other/r");
  }
  static std::string p() { return GetParam().place("Projects", "//server/projects"); }
  static std::string q() { return GetParam().place("Q on server", "//server/q share"); }
  static std::string r() { return GetParam().place("R", "//other/r"); }
  static void write(const std::string& places) { GetParam().write(places); }

  const Scene scene = Scene(GetParam().system, archive());
};

TEST_P(Drives, have_arrived_in_the_list_and_on_the_desktop) {
  write(r() + q() + p());
  EXPECT_EQ("3 3 0 0 0", numbers(scene.look(Kind::drives)));
}

TEST_P(Drives, are_listed_once_each) {
  const std::string unlisted = ": The list " + GetParam().list + " does not have it.";
  write(p() + r());
  EXPECT_THAT(missing(scene), ElementsAre("Q on server" + unlisted));
  write(p() + q() + r() + q());
  EXPECT_THAT(missing(scene), ElementsAre("Q on server: It is there more than once."));
  write(p() + GetParam().place("Q on server", "//server/p share") + r());
  EXPECT_THAT(missing(scene), ElementsAre("Q on server" + unlisted));
  write(p() + GetParam().place("Q", "//server/q share") + r());
  EXPECT_THAT(missing(scene), ElementsAre("Q on server" + unlisted));
}

TEST_P(Drives, need_a_list_that_can_be_read) {
  const std::string damaged =
      ": The list " + GetParam().list + " is not well-formed, so nothing in it is seen.";
  write(p() + q() + r() + GetParam().place("A & B", "//a/b"));
  EXPECT_THAT(missing(scene), ElementsAre("Projects" + damaged, "Q on server" + damaged, "R" + damaged));
  write_file(GetParam().list, "");
  EXPECT_THAT(missing(scene), ElementsAre("Projects" + damaged, "Q on server" + damaged, "R" + damaged));
  unlink(GetParam().list.c_str());
  EXPECT_EQ("Projects: Its place " + GetParam().list + " is not there.", missing(scene).front());
}

TEST_P(Drives, have_each_a_link) {
  write(p() + q() + r());
  unlink("/home/ann/Desktop/R");
  EXPECT_THAT(missing(scene), ElementsAre("R: It has no link on the desktop."));
  write_link("R", "//other/s");
  EXPECT_THAT(missing(scene), ElementsAre("R: Its link on the desktop leads elsewhere."));
  for (const char* text : {"[Desktop Entry]\nName=R\nType=Application\nURL=smb://other/r\n",
                           "[Desktop Entry]\nName=S\nType=Link\nURL=smb://other/r\n",
                           "[Other]\nName=R\nType=Link\nURL=smb://other/r\n", ""}) {
    write_file("/home/ann/Desktop/R", text);
    EXPECT_THAT(missing(scene), ElementsAre("R: Its link on the desktop leads elsewhere.")) << text;
  }
}

// The second link takes the place of the first.
TEST_P(Drives, of_one_name_share_a_link) {
  const Scene twins(GetParam().system,
                    {{"Mapped_Drives/a", "//a/x\nX\n"}, {"Mapped_Drives/b", "//b/x\nX\n"}});
  write(GetParam().place("X", "//a/x") + GetParam().place("X", "//b/x"));
  write_link("X", "//b/x");
  EXPECT_EQ("2 1 0 0 1", numbers(twins.look(Kind::drives)));
  EXPECT_THAT(missing(twins), ElementsAre("X: Its link on the desktop leads elsewhere."));
}

TEST_P(Drives, that_are_the_same_twice_are_listed_twice) {
  const Scene same(GetParam().system, {{"Mapped_Drives/a", "//a/x\nX\n"}, {"Mapped_Drives/b", "//a/x\nX\n"}});
  write_link("X", "//a/x");
  write(GetParam().place("X", "//a/x") + GetParam().place("X", "//a/x"));
  EXPECT_EQ("2 2 0 0 0", numbers(same.look(Kind::drives)));
  write(GetParam().place("X", "//a/x"));
  const std::string unlisted = "X: The list " + GetParam().list + " does not have it.";
  EXPECT_THAT(missing(same), ElementsAre(unlisted, unlisted));
}

// A migrator reads a line in pieces of 1023 bytes, and takes the second piece for the name.
TEST_P(Drives, with_an_endless_address_have_its_rest_for_a_name) {
  const std::string share = "//a/" + std::string(1019, 'x');
  const Scene endless(GetParam().system, {{"Mapped_Drives/a", share + "Rest\nX\n"}});
  write(GetParam().place("Rest", share));
  write_link("Rest", share);
  EXPECT_EQ("1 1 0 0 0", numbers(endless.look(Kind::drives)));
}

TEST_P(Drives, that_are_no_drives_are_named) {
  const Scene odd(GetParam().system, {{"Mapped_Drives/empty.txt", ""},
                                      {"Mapped_Drives/one.txt", "//a/x\r\n"},
                                      {"Mapped_Drives/sub/P.txt", "//a/x\r\nX\r\n"}});
  EXPECT_THAT(missing(odd), ElementsAre("empty.txt: Its address or its name is missing in the archive.",
                                        "one.txt: Its address or its name is missing in the archive.",
                                        "sub/P.txt: Only files are moved from here, no folders."));
}

// As Windows wrote it, or as it is converted.
TEST_P(Drives, may_be_in_the_archives_character_set) {
  const Scene umlaut(GetParam().system, {{"Mapped_Drives/a", "//a/b\xfc\nB\xfc\n"}});
  write(GetParam().place("B\u00fc", "//a/b\u00fc"));
  write_link("B\xfc", "//a/b\xfc");
  EXPECT_EQ("1 1 0 0 0", numbers(umlaut.look(Kind::drives)));
  unlink("/home/ann/Desktop/B\xfc");
  EXPECT_THAT(missing(umlaut), ElementsAre("B\u00fc: It has no link on the desktop."));
  write_link("B\u00fc", "//a/b\u00fc");
  EXPECT_EQ("1 1 0 0 0", numbers(umlaut.look(Kind::drives)));
}

const FileManager managers[] = {{System::gnome, nautilus_place, write_nautilus, nautilus},
                                {System::nld, nautilus_place, write_nautilus, nautilus},
                                {System::linspire, konqueror_place, write_konqueror, konqueror},
                                {System::xandros, konqueror_place, write_konqueror, konqueror},
                                {System::redflag, konqueror_place, write_konqueror, konqueror},
                                {System::redflag_plus, konqueror_place, write_konqueror, konqueror}};

INSTANTIATE_TEST_SUITE_P(On, Drives, testing::ValuesIn(managers), [](const auto& which) {
  std::string name = name_of(which.param.system);
  std::ranges::replace(name, '-', '_');
  return name;
});

TEST(Places, come_from_inside_of_the_list_alone) {
  write_file("/tmp/secret", "secret");
  const auto places = read_konqueror_places(
      "<!DOCTYPE xbel [<!ENTITY e SYSTEM \"file:///tmp/secret\">]><xbel><bookmark "
      "href=\"a\"><title>&e;</title>"
      "</bookmark></xbel>");
  ASSERT_TRUE(places);
  EXPECT_EQ("", places->front().name);
}

}  // namespace
