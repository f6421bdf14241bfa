// Kinds of an encrypted archive: the list of the archive has lengths and checksums, but no contents.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "account/scene.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::ElementsAre;

constexpr const char* password = "word";
const std::string encrypted = ": It is encrypted in the archive.";

TEST(Encrypted, files_are_known_by_their_checksums) {
  const Scene scene(System::xandros,
                    {{"Fonts/a.ttf", "one"},
                     {"Fonts/b.ttf", "two"},
                     {"Wallpaper/a.jpg", "picture"},
                     {"Wallpaper/option.txt", "C"}},
                    password);
  write_file("/home/ann/.fonts/a.ttf", "one");
  write_file("/home/ann/.fonts/b.ttf", "twx");
  EXPECT_THAT(missing_names(scene.look(Kind::fonts)), ElementsAre("b.ttf" + encrypted));
  // The style is not known, so any will do.
  write_file("/home/ann/Wallpaper1.jpg", "picture");
  write_file("/home/ann/.kde/share/config/kdesktoprc", "[Desktop0]\nWallpaper=/home/ann/Wallpaper1.jpg\n");
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::wallpaper)));
}

TEST(Encrypted, bookmarks_are_known_when_they_arrived_as_they_are) {
  const std::string bookmarks = "<DL><A HREF=\"http://a\">A</A>\n<A HREF=\"http://b\">B</A>\n</DL>\n";
  const std::string profile = "/home/ann/.mozilla/default/x.slt/";
  const Scene scene(System::xandros, {{"Bookmark.htm", bookmarks}, {"Cookies.txt", "a\tb\tc\td\te\tf\tg\n"}},
                    password);
  write_file(profile + "bookmarks.html", bookmarks);
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::bookmarks)));
  EXPECT_TRUE(scene.look(Kind::bookmarks).certain());
  write_file(profile + "bookmarks.html", bookmarks + "\n");
  EXPECT_FALSE(scene.look(Kind::bookmarks).certain());
  EXPECT_THAT(missing_names(scene.look(Kind::bookmarks)), ElementsAre("Bookmark.htm" + encrypted));
  // Cookies never arrive as they are.
  write_file(profile + "cookies.txt", ".a\tb\tc\td\te\tf\tg\n");
  EXPECT_FALSE(scene.look(Kind::cookies).certain());
}

TEST(Encrypted, things_that_have_to_be_read_are_counted) {
  const Scene scene(System::gnome,
                    {{"Groupwise/.gwuser.xml", "<_default reg='sz'>gwremote</_default>\n"},
                     {"Groupwise/gwremote", "box"},
                     {"Mapped_Drives/a.txt", "//a/x\nX\n"},
                     {"Printers/a.txt", "Port Name=LPT1\n"},
                     {"Printers/b.txt", "Port Name=LPT1\n"}},
                    password);
  write_file("/home/ann/gwremote", "box");
  write_file("/home/ann/.gwuser.xml", "<_default reg=\"sz\">/home/ann/gwremote</_default>\n");
  EXPECT_THAT(missing_names(scene.look(Kind::groupwise)), ElementsAre(".gwuser.xml" + encrypted));
  EXPECT_EQ("2 1 0 0 1", numbers(scene.look(Kind::groupwise)));
  EXPECT_THAT(missing_names(scene.look(Kind::drives)), ElementsAre("a.txt" + encrypted));
  EXPECT_THAT(missing_names(scene.look(Kind::printers)),
              ElementsAre("a.txt" + encrypted, "b.txt" + encrypted));
}

}  // namespace
