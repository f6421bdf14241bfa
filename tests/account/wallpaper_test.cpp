// The picture behind the desktop.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "account/readers/kconfig.h"
#include "account/scene.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::ElementsAre;

// ---- GNOME ----------------------------------------------------------------------------------------------

const std::string background = "/home/ann/.gconf/desktop/gnome/background/%gconf.xml";

void show_in_gnome(const std::string& picture, const std::string& style) {
  write_file("/home/ann/.gconf/desktop/%gconf.xml", "");
  write_file("/home/ann/.gconf/desktop/gnome/%gconf.xml", "");
  write_file(background,
             "<?xml version=\"1.0\"?>\n<gconf>\n"
             "<entry name=\"picture_options\" mtime=\"1114470984\" type=\"string\">\n<stringvalue>" +
                 style +
                 "</stringvalue></entry>\n"
                 "<entry name=\"picture_filename\" mtime=\"1114470984\" type=\"string\">\n<stringvalue>" +
                 picture + "</stringvalue>\n</entry>\n</gconf>");
}

Scene::Entries archive(const std::string& letter) {
  return {{"Wallpaper/my.photo.jpg", "picture"}, {"Wallpaper/option.txt", letter + "\r\n"}};
}

std::vector<std::string> missing(const Scene& scene) { return missing_names(scene.look(Kind::wallpaper)); }

TEST(GnomeWallpaper, has_arrived_when_the_desktop_shows_it) {
  for (const auto& [letter, style] :
       {std::pair("C", "centered"), {"S", "stretched"}, {"T", "wallpaper"}, {"", "wallpaper"}}) {
    const Scene scene(System::gnome, archive(letter));
    write_file("/home/ann/my.photo.jpg", "picture");
    show_in_gnome("/home/ann/my.photo.jpg", style);
    EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::wallpaper))) << letter;
    show_in_gnome("/home/ann/my.photo.jpg", "zoom");
    EXPECT_THAT(missing(scene),
                ElementsAre("my.photo.jpg: It is centered, stretched or tiled in another way."))
        << letter;
  }
}

TEST(GnomeWallpaper, each_fault_is_named) {
  const Scene scene(System::nld, archive("C"));
  show_in_gnome("/home/ann/my.photo.jpg", "centered");
  EXPECT_THAT(missing(scene), ElementsAre("my.photo.jpg: It is not there."));
  write_file("/home/ann/my.photo.jpg", "pic");
  EXPECT_THAT(missing(scene), ElementsAre("my.photo.jpg: Only its beginning is there."));
  write_file("/home/ann/my.photo.jpg", "picture");
  EXPECT_THAT(missing(scene), ElementsAre());
  show_in_gnome("/home/ann/other.jpg", "centered");
  EXPECT_THAT(missing(scene),
              ElementsAre("my.photo.jpg: The desktop's settings name another picture or none."));
  unlink(background.c_str());
  EXPECT_THAT(missing(scene),
              ElementsAre("my.photo.jpg: The desktop's settings name another picture or none."));
}

TEST(GnomeWallpaper, an_ampersand_makes_the_settings_unreadable) {
  const Scene scene(System::gnome, {{"Wallpaper/a & b.jpg", "picture"}, {"Wallpaper/option.txt", "C"}});
  write_file("/home/ann/a & b.jpg", "picture");
  show_in_gnome("/home/ann/a & b.jpg", "centered");
  EXPECT_THAT(missing(scene),
              ElementsAre("a & b.jpg: The desktop cannot read its settings file "
                          ".gconf/desktop/gnome/background/%gconf.xml, which is not well-formed."));
  show_in_gnome("/home/ann/a &amp; b.jpg", "centered");
  EXPECT_THAT(missing(scene), ElementsAre());
}

TEST(GnomeWallpaper, of_several_pictures_one_is_shown) {
  const Scene scene(System::gnome, {{"Wallpaper/.hidden.jpg", "h"},
                                    {"Wallpaper/a.jpg", "one"},
                                    {"Wallpaper/b.jpg", "two"},
                                    {"Wallpaper/c.jpg", "three"},
                                    {"Wallpaper/option.txt", "C"},
                                    {"Wallpaper/sub/d.jpg", "four"}});
  for (const auto& [name, bytes] : {std::pair("a.jpg", "one"), {"b.jpg", "two"}})
    write_file("/home/ann/" + std::string(name), bytes);
  show_in_gnome("/home/ann/b.jpg", "centered");
  EXPECT_THAT(missing(scene), ElementsAre(".hidden.jpg: Names that begin with a dot are left out here.",
                                          "c.jpg: It is not there.",
                                          "sub/d.jpg: Only files are moved from here, no folders."));
  EXPECT_EQ("5 2 0 0 3", numbers(scene.look(Kind::wallpaper)));
}

TEST(Wallpaper, is_not_looked_at_without_its_style) {
  for (const System system : {System::gnome, System::xandros})
    EXPECT_THAT(missing(Scene(system, {{"Wallpaper/a.jpg", "one"}})),
                ElementsAre("a.jpg: It is only looked at when the archive has option.txt as well."));
  EXPECT_EQ("0 0 0 0 0",
            numbers(Scene(System::gnome, {{"Wallpaper/option.txt", "C"}}).look(Kind::wallpaper)));
}

// ---- KDE ------------------------------------------------------------------------------------------------

void show_in_kde(const std::string& picture, const std::string& mode) {
  write_file("/home/ann/.kde/share/config/kdesktoprc",
             "[Desktop0]\nWallpaper=" + picture + "\n" + mode + "\n\n\n[Version]\nKDEVersionMinor=3\n");
}

TEST(KdeWallpaper, has_arrived_under_its_new_name) {
  for (const auto& [letter, mode] : {std::pair("C", "WallpaperMode=Centred"),
                                     {"S", ""},
                                     {"S", "WallpaperMode=Scaled"},
                                     {"T", "WallpaperMode=Tiled"},
                                     {"T", "WallpaperMode=TiledMaxpect"},
                                     {"X", ""}}) {
    const Scene scene(System::linspire, archive(letter));
    write_file("/home/ann/Wallpaper1.photo.jpg", "picture");
    show_in_kde("/home/ann/Wallpaper1.photo.jpg", mode);
    EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::wallpaper))) << letter;
    show_in_kde("/home/ann/Wallpaper1.photo.jpg", "WallpaperMode=CenterTiled");
    EXPECT_THAT(missing(scene),
                ElementsAre("my.photo.jpg: It is centered, stretched or tiled in another way."));
  }
}

TEST(KdeWallpaper, each_fault_is_named) {
  const Scene scene(System::redflag, archive("C"));
  EXPECT_THAT(missing(scene), ElementsAre("my.photo.jpg: It is not there."));
  write_file("/home/ann/Wallpaper1.photo.jpg", "picture");
  EXPECT_THAT(missing(scene),
              ElementsAre("my.photo.jpg: The desktop's settings name another picture or none."));
  show_in_kde("/home/ann/Wallpaper1.jpg", "WallpaperMode=Centred");
  EXPECT_THAT(missing(scene),
              ElementsAre("my.photo.jpg: The desktop's settings name another picture or none."));
  show_in_kde("/home/ann/Wallpaper1.photo.jpg", "WallpaperMode=Centred");
  EXPECT_THAT(missing(scene), ElementsAre());
  write_file("/home/ann/.kde/share/config/kdesktoprc",
             "[Desktop0]\nWallpaper[$e]=$HOME/Wallpaper1.photo.jpg\nWallpaperMode=Centred\n");
  EXPECT_THAT(missing(scene), ElementsAre());
}

TEST(KdeWallpaper, of_several_pictures_one_is_moved) {
  const Scene scene(System::xandros, {{"Wallpaper/a.jpg", "one"},
                                      {"Wallpaper/b.png", "two"},
                                      {"Wallpaper/c.png", "two"},
                                      {"Wallpaper/option.txt", "C"}});
  write_file("/home/ann/Wallpaper1.png", "two");
  show_in_kde("/home/ann/Wallpaper1.png", "WallpaperMode=Centred");
  EXPECT_THAT(missing(scene),
              ElementsAre("a.jpg: The archive has b.png as well, and only one of the two is moved.",
                          "c.png: The archive has b.png as well, and only one of the two is moved."));
}

TEST(KConfig, groups_and_keys) {
  const std::string text =
      "outside=1\n[A]\n  key = a b \r\n#key=no\nother\\key=\\\\x\\ty\\s\\q\n[B]\nkey=2\n[A]\nkey=3";
  EXPECT_EQ("3", read_kconfig(text, "A", "key"));
  EXPECT_EQ("2", read_kconfig(text, "B", "key"));
  EXPECT_EQ("a b", read_kconfig(text.substr(0, 30), "A", "key"));
  EXPECT_EQ("\\x\ty \\q", read_kconfig(text, "A", "other\\key"));
  EXPECT_EQ(std::nullopt, read_kconfig(text, "A", "outside"));
  EXPECT_EQ(std::nullopt, read_kconfig(text, "C", "key"));
}

}  // namespace
