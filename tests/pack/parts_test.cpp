// Limits and odd values of what is read: cards, mailboxes, settings, addresses, names, pictures, printers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "pack/browsers/readers.h"
#include "pack/contacts/vcard.h"
#include "pack/files/names.h"
#include "pack/mail/mailbox.h"
#include "pack/mail/prefs.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"
#include "support/volume.h"

namespace {

using recorded::pack_disk;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

// ---- Cards ---------------------------------------------------------------------------------------------

std::string text_of(const std::string& lines) {
  return pack::vcard_of("BEGIN:VCARD\n" + lines + "\nEND:VCARD\n").text("1");
}

TEST(VcardLines, GoOnBehindABlankOrATab) {
  EXPECT_THAT(text_of("FN:Ann\n\t Lee\n  Jr."), HasSubstr("\r\nFN:Ann Lee Jr.\r\n"));
}

TEST(VcardLines, HaveOneMarkOfTheInternet) {
  EXPECT_THAT(text_of("EMAIL;INTERNET;HOME:a"), HasSubstr("\r\nEMAIL;TYPE=INTERNET;TYPE=HOME:a\r\n"));
  EXPECT_THAT(text_of("EMAIL;HOME:a"), HasSubstr("\r\nEMAIL;TYPE=INTERNET;TYPE=HOME:a\r\n"));
}

TEST(VcardLines, EndAValueNowhere) {
  pack::Vcard card;
  card.add("NOTE", "a\r\nb\nc\rd,e;f\\g");
  EXPECT_THAT(card.text("1"), HasSubstr("\r\nNOTE:a\\nb\\nc\\nd\\,e\\;f\\\\g\r\n"));
}

TEST(VcardNames, AreTakenFromWhatSaysMost) {
  EXPECT_THAT(text_of("TEL:1\nEMAIL:a@b\nNICKNAME:Nick\nORG:Firm;Part\nN:Lee;Ann;;;"),
              HasSubstr("\r\nFN:Lee Ann\r\n"));
  EXPECT_THAT(text_of("TEL:1\nEMAIL:a@b\nNICKNAME:Nick\nORG:Firm;Part"), HasSubstr("\r\nFN:Firm Part\r\n"));
  EXPECT_THAT(text_of("TEL:1\nEMAIL:a@b\nNICKNAME:Nick"), HasSubstr("\r\nFN:Nick\r\n"));
  EXPECT_THAT(text_of("TEL:1\nEMAIL:a@b"), HasSubstr("\r\nFN:a@b\r\n"));
  EXPECT_THAT(text_of("TEL:1"), HasSubstr("\r\nFN:1\r\n"));
}

TEST(VcardNames, AreAskedForByTheirWholeName) {
  EXPECT_THAT(text_of("FN:Ann\nNICKNAME:Nick\nNOTE:x"), HasSubstr("\r\nN:;Ann;;;\r\n"));
}

std::string birthday(const std::string& year, const std::string& month, const std::string& day) {
  const std::string text =
      pack::vcard_of_mozilla(
          {{"DisplayName", "A"}, {"BirthYear", year}, {"BirthMonth", month}, {"BirthDay", day}})
          .text("1");
  const std::size_t at = text.find("BDAY:");
  return at == std::string::npos ? "" : text.substr(at + 5, text.find('\r', at) - at - 5);
}

TEST(VcardNames, HaveWholeBirthdaysAlone) {
  EXPECT_EQ("0970-01-02", birthday("970", "1", "02"));
  EXPECT_EQ("", birthday("", "1", "2"));
  EXPECT_EQ("", birthday("1970", "", "2"));
  EXPECT_EQ("", birthday("1970", "1", ""));
  EXPECT_EQ("", birthday("19x0", "1", "2"));
  EXPECT_EQ("", birthday("1970", "001", "2"));
  EXPECT_EQ("", birthday("1970", "1", "-2"));
}

// ---- Mailboxes and settings ----------------------------------------------------------------------------

std::string joined_messages(const std::string& text) {
  fuzz::Bytes content(text);
  pack::MailboxReader reader(content);
  std::string messages;
  while (const auto head = reader.next()) {
    messages += "<" + *head + "|";
    reader.body([&](std::string_view body) { messages += body; });
    messages += ">";
  }
  return messages;
}

// Of a line longer than a block, which is 128 KiB, each part of its end may be the first thing in the next
// one.
TEST(MailboxLines, EndTheSameWhereverABlockDoes) {
  for (std::size_t size = (1U << 17U) - 9; size < (1U << 17U) + 3; ++size) {
    const std::string line(size, 'x');
    EXPECT_EQ("<From - 1\n\n|" + line + "\nFrom>", joined_messages("From - 1\n\n" + line + "\r\nFrom"))
        << size;
    EXPECT_EQ("<From - 1\n\n|" + line + "From here\n>",
              joined_messages("From - 1\n\n" + line + "From here\n"))
        << size;
    EXPECT_EQ("<From - 1\nX: " + line + "From here\n\n|>",
              joined_messages("From - 1\nX: " + line + "From here\r\n\n"))
        << size;
  }
}

TEST(MailboxLines, OfAHeadAreFoundOnceAndFirst) {
  EXPECT_EQ("one", pack::header_field("From - 1\nX: one\nY: y\nX: two\n", "X"));
  EXPECT_EQ("one", pack::header_field("From - 1\nX: one\nX: two\n", "X"));
  EXPECT_EQ("", pack::header_field("From - 1\nY: y\n X: folded\n", "X"));
  EXPECT_EQ("a b", pack::header_field("From - 1\nX:\n a\n\tb", "x"));
}

TEST(PrefLines, CountAsTheLastSays) {
  const pack::Prefs prefs = pack::read_prefs(
      "user_pref(\"a\", 1);\nuser_pref(\"a\", \"two\");  \r\nuser_pref(\"b\");\nuser_pref(3, 4);");
  EXPECT_THAT(prefs, testing::ElementsAre(testing::Pair("a", "two")));
  EXPECT_EQ("two", pack::pref(prefs, "a"));
  EXPECT_EQ("", pack::pref(prefs, "b"));
}

// ---- Addresses and names -------------------------------------------------------------------------------

TEST(AddressFiles, AreReadAsWindowsWroteThem) {
  EXPECT_EQ("http://m\u00fcnchen.example/",
            pack::address_in("[InternetShortcut]\r\nURL=http://m\xfcnchen.example/\r\n", "windows-1252"));
  EXPECT_EQ("http://m\u00fcnchen.example/",
            pack::address_in("[InternetShortcut]\nURL=http://m\u00fcnchen.example/", "windows-1252"));
  EXPECT_EQ("first",
            pack::address_in("[InternetShortcut]\nIconURL=x\n\t url=first\t\nURL=second\n", "windows-1252"));
  EXPECT_EQ("", pack::address_in("[InternetShortcut]\n[Other]\nURL=x\n", "windows-1252"));
  EXPECT_EQ("", pack::address_in("", "windows-1252"));
}

TEST(AddressFiles, AloneMakeAFolder) {
  const windows::Disk disk;
  disk.add("Users/Ann/Favorites/Notes/notes.txt");
  disk.add("Users/Ann/Favorites/Links/One.url", "[InternetShortcut]\nURL=http://one.example/\n");
  disk.add("Users/Ann/Favorites/Links/.url", "[InternetShortcut]\nURL=http://nameless.example/\n");
  const std::string html = pack_disk(disk.path()).content.at("Brindle/Bookmark.htm");
  EXPECT_THAT(html, HasSubstr(">Links</H3>"));
  EXPECT_THAT(html, Not(HasSubstr(">Notes</H3>")));
  EXPECT_THAT(html, Not(HasSubstr("nameless")));
}

TEST(BrowserProfiles, HaveTheirNamesWhenThereAreSeveral) {
  const windows::Disk disk;
  const std::string edge = "Users/Ann/AppData/Local/Microsoft/Edge/User Data/";
  const auto bookmarks = [](const std::string& name) {
    return R"({"roots": {"bar": {"name": "Bar", "children": [{"name": ")" + name + R"(", "url": "http://)" +
           name + R"(.example/"}]}}})";
  };
  disk.add(edge + "Default/Bookmarks", bookmarks("one"));
  disk.add(edge + "Profile 1/Bookmarks", bookmarks("two"));
  disk.add(edge + "Crashpad/settings.dat");
  disk.add("Users/Ann/Local Settings/Application Data/Chromium/User Data/Default/Bookmarks",
           bookmarks("old"));
  disk.add("Users/Ann/Local Settings/Application Data/Chromium/User Data/System/other");
  const std::string html = pack_disk(disk.path()).content.at("Brindle/Bookmark.htm");
  EXPECT_THAT(html, HasSubstr(">Edge, Default</H3>"));
  EXPECT_THAT(html, HasSubstr(">Edge, Profile 1</H3>"));
  EXPECT_THAT(html, HasSubstr(">Chromium</H3>"));
  EXPECT_THAT(html, HasSubstr("http://old.example/"));
}

TEST(NewNames, KeepTheEndingAndADotInFront) {
  EXPECT_EQ("a\u00e4.txt", pack::kept_name("a\u00e4.txt"));
  const std::string ending = pack::kept_name("a.b\xff.txt");
  EXPECT_TRUE(ending.starts_with("a.b\ufffd~") && ending.ends_with(".txt")) << ending;
  EXPECT_EQ(std::string("a.b\ufffd~12345678.txt").size(), ending.size());
  EXPECT_TRUE(pack::kept_name(".\xff").starts_with(".\ufffd~"));
  EXPECT_TRUE(pack::kept_name("\xff").starts_with("\ufffd~"));
  EXPECT_NE(pack::kept_name("\xfe"), pack::kept_name("\xff"));
}

// ---- Pictures and printers -----------------------------------------------------------------------------

std::string picture_packed(const std::string& path, const std::string& content) {
  const windows::Disk disk;
  disk.add(path, content);
  std::string name = path;
  std::ranges::replace(name, '/', '\\');
  disk.add(
      "Users/Ann/NTUSER.DAT",
      windows::hive({{R"(Control Panel\Desktop)",
                      {{"Wallpaper", "C:\\" + name}, {"WallpaperStyle", "2"}, {"TileWallpaper", "0"}}}}));
  for (const std::string& file : pack_disk(disk.path()).files_below("Brindle/Wallpaper/"))
    if (file != "option.txt") return file;
  return "";
}

TEST(Pictures, HaveAnEndingThatFits) {
  EXPECT_EQ("Wallpaper.jpg", picture_packed("p/one", "\xff\xd8\xff\xe0 JFIF"));
  EXPECT_EQ("Wallpaper.gif", picture_packed("p/one", "GIF89a"));
  EXPECT_EQ("Wallpaper.bmp", picture_packed("p/one", "BM"));
  EXPECT_EQ("Wallpaper", picture_packed("p/one", "text"));
  EXPECT_EQ("Wallpaper.PNG", picture_packed("p.q/a.b.PNG", "BM"));
  EXPECT_EQ("Wallpaper.bmp", picture_packed("p/one.j p", "BM"));
}

TEST(Pictures, OfOldSystemsHaveTheirCopyElsewhere) {
  const windows::Disk disk;
  disk.add("Documents and Settings/Ann/Local Settings/Application Data/Microsoft/Wallpaper1.bmp", "BM");
  disk.add("Documents and Settings/Ann/NTUSER.DAT",
           windows::hive(
               {{R"(Control Panel\Desktop)", {{"Wallpaper", R"(D:\gone.jpg)"}, {"TileWallpaper", "1"}}}}));
  const auto result = pack_disk(disk.path());
  EXPECT_THAT(result.files_below("Brindle/Wallpaper/"), UnorderedElementsAre("Wallpaper.bmp", "option.txt"));
  EXPECT_EQ("T\r\n", result.content.at("Brindle/Wallpaper/option.txt"));
}

// The words at these places of a DEVMODEW, all of which count.
std::string settings_with(const std::vector<std::pair<std::size_t, int>>& words) {
  std::string bytes(220, '\0');
  const auto put = [&](std::size_t at, int value) {
    bytes[at] = static_cast<char>(value);
    bytes[at + 1] = static_cast<char>(value >> 8);
  };
  put(68, 220);
  put(72, 0x3c1f);
  for (const auto& [at, value] : words) put(at, value);
  const windows::Disk disk;
  disk.add("Windows/System32/config/SYSTEM",
           windows::hive({{"Select", {{"Current", "1", windows::Value::dword}}},
                          {R"(ControlSet001\Control\Print\Printers\P)",
                           {{"Port", "LPT1:"},
                            {"Printer Driver", "P"},
                            {"Default DevMode", bytes, windows::Value::binary}}}}));
  disk.add_folder("Users/Ann");
  return pack_disk(disk.path()).content.at("Brindle/Printers/P.txt");
}

TEST(PrinterSettings, HaveTheNearestWordForDots) {
  for (const auto& [dots, word] : {std::pair(600, "HIGH"), std::pair(599, "MEDIUM"), std::pair(300, "MEDIUM"),
                                   std::pair(299, "LOW"), std::pair(-4, "HIGH"), std::pair(-1, "DRAFT")})
    EXPECT_THAT(settings_with({{90, dots}}), HasSubstr("Print Quality=DMRES_" + std::string(word) + "\r\n"))
        << dots;
}

TEST(PrinterSettings, AreTheUsualOnesWhereANumberSaysNothing) {
  const std::string usual = settings_with({});
  EXPECT_EQ(usual,
            settings_with({{80, -1}, {82, -1}, {84, -1}, {96, -1}, {76, 3}, {78, 2}, {92, 3}, {94, 4}}));
  EXPECT_THAT(usual, HasSubstr("Orientation=DMORIENT_PORTRAIT\r\n"));
  EXPECT_THAT(usual, Not(HasSubstr("=0\r\n")));
  EXPECT_THAT(usual, Not(HasSubstr("=-1\r\n")));
  EXPECT_NE(usual, settings_with({{84, 1}}));
}

}  // namespace
