// More names than the kernel takes in one command line, wherever all entries of a folder are copied.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

#include "process/desktop/documents.h"
#include "process/desktop/fonts.h"
#include "process/desktop/wallpaper.h"
#include "shell/files.h"
#include "shell/run.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/system_log.h"

namespace {

using testing::Contains;
using testing::HasSubstr;

constexpr const char* archive = "/tmp/brindAb/Brindle";
constexpr int too_many_names = 126 << 8;  // what system() has of such a command

struct ManyNames : testing::Test {
  ManyNames() {
    assign(OSName, "GNome");
    shell::allow_long_commands();
    shell_quietly("mkdir -p /root/Desktop; rm -f /usr/bin/staroffice");
    answer_command("fc-cache", 0);  // what it makes of so many fonts is not looked at
  }
  // Fills a folder of the archive and returns its path.
  std::string fill_folder(const std::string& name, int count = 30'000) {
    count_ = static_cast<std::size_t>(count);
    const std::string folder = std::string(archive) + "/" + name;
    write_file(folder + "/000 first", "first");
    write_file(folder + "/.hidden", "hidden");
    for (int number = 0; number < count; ++number)
      std::ofstream(folder + "/" + std::string(240, 'n') + std::to_string(number));
    write_file(folder + "/zzz last", "last");
    shell_quietly("touch -d 2001-02-03 '" + folder + "/zzz last'");
    return folder;
  }
  // Holds what the command was said to copy against what is there.
  void expect_copied(const std::string& command, const std::string& to) {
    EXPECT_THAT(log_.messages(), Contains(HasSubstr("normal termination, exit status 126, " + command)));
    EXPECT_THAT(commands_run(), Contains(command));
    std::size_t long_names = 0;
    const std::vector<std::string> names = list_folder(to).value();
    for (const std::string& name : names) long_names += name.size() > 240 ? 1 : 0;
    EXPECT_EQ(count_, long_names);
    EXPECT_EQ("first", read_file(to + "/000 first"));
    EXPECT_EQ("last", read_file(to + "/zzz last"));
    EXPECT_FALSE(exists(to + "/.hidden"));
  }
  static std::string day_of(const std::string& path) { return output_of("date -r '" + path + "' +%F"); }

 private:
  SystemLog log_;
  std::size_t count_ = 0;
};

TEST_F(ManyNames, OfDocumentsAreAllCopied) {
  const std::string folder = fill_folder("My Documents");
  EXPECT_EQ(0, mydocs(folder.c_str()));
  expect_copied("cp -a \"/tmp/brindAb/Brindle/My Documents\"/* /root/Documents ", "/root/Documents");
  EXPECT_EQ("2001-02-03\n", day_of("/root/Documents/zzz last"));
}

TEST_F(ManyNames, OfTheDesktopAreAllCopied) {
  fill_folder("Desktop");
  EXPECT_EQ(0, desktop(archive));
  expect_copied("cp -a /tmp/brindAb/Brindle/Desktop/* /root/Desktop", "/root/Desktop");
  EXPECT_EQ("2001-02-03\n", day_of("/root/Desktop/zzz last"));
}

TEST_F(ManyNames, OfSharedFilesAreAllCopied) {
  isMultiUser = 1;
  fill_folder("File Extensions");
  EXPECT_EQ(0, file_extensions(archive));
  expect_copied("cp -a /tmp/brindAb/Brindle/File\\ Extensions/* /Share/", "/Share");
  EXPECT_EQ("2001-02-03\n", day_of("/Share/zzz last"));
}

TEST_F(ManyNames, OfFontsAreAllCopied) {
  fill_folder("Fonts");
  EXPECT_EQ(0, fonts(archive));
  expect_copied("cp /tmp/brindAb/Brindle/Fonts/* /root/.fonts", "/root/.fonts");
}

TEST_F(ManyNames, ThatCannotBeCopiedFailTheItem) {
  const std::string folder = fill_folder("My Documents", 20);
  answer_command("cp ", too_many_names);
  write_file("/root/Documents", "in the way");
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mydocs(folder.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("/root/Documents: "));
}

// ---- The same, when the shell only says that there were too many -------------------------------------

TEST_F(ManyNames, BesideTheWallpaperAreAllCopied) {
  write_file(fill_folder("Wallpaper", 20) + "/option.txt", "C");
  answer_command("cp ", too_many_names);
  EXPECT_EQ(0, wallpaper(archive));
  expect_copied("cp /tmp/brindAb/Brindle/Wallpaper/* /root", "/root");
}

TEST_F(ManyNames, BesideTheWallpaperThatCannotBeCopiedFailTheItem) {
  write_file(fill_folder("Wallpaper", 20) + "/option.txt", "C");
  write_file("/root/zzz last/in the way", "");
  answer_command("cp ", too_many_names);
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, wallpaper(archive));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("/root/zzz last: Is a directory\n"));
}

TEST_F(ManyNames, OfDocumentsOnTheDesktopAreAllCopied) {
  assign(OSName, "RedFlag");
  const std::string folder = fill_folder("My Documents", 20);
  answer_command("cp ", too_many_names);
  EXPECT_EQ(0, mydocs(folder.c_str()));
  expect_copied("cp -a \"/tmp/brindAb/Brindle/My Documents\"/* /root/Desktop/mydocument ",
                "/root/Desktop/mydocument");
}

TEST_F(ManyNames, OfDocumentsOnTheDesktopThatCannotBeCopiedFailTheItem) {
  assign(OSName, "RedFlag");
  const std::string folder = fill_folder("My Documents", 20);
  write_file("/root/Desktop/mydocument/000 first/in the way", "");
  answer_command("cp ", too_many_names);
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, mydocs(folder.c_str()));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("/root/Desktop/mydocument/000 first: Is a directory\n"));
}

TEST_F(ManyNames, OfFontsForEverybodyAreAllCopied) {
  assign(OSName, "RedFlag");
  isMultiUser = 1;
  shell_quietly("mkdir -p /usr/share/fonts/zh_CN/TrueType");
  fill_folder("Fonts", 20);
  answer_command("cp /tmp/brind", too_many_names);
  EXPECT_EQ(0, fonts(archive));
  expect_copied("cp /tmp/brindAb/Brindle/Fonts/* /usr/share/fonts/zh_CN/TrueType",
                "/usr/share/fonts/zh_CN/TrueType");
}

TEST_F(ManyNames, OfFontsReachTheOfficeSuite) {
  write_file("/usr/bin/staroffice", "");
  fill_folder("Fonts", 20);
  answer_command("cp /root/.fonts", too_many_names);
  EXPECT_EQ(0, fonts(archive));
  expect_copied("cp /root/.fonts/* /root/.staroffice7/user/fonts", "/root/.staroffice7/user/fonts");
}

TEST_F(ManyNames, OfFontsThatCannotBeCopiedAreOnlyTold) {
  fill_folder("Fonts", 20);
  write_file("/root/.fonts", "in the way");
  answer_command("cp ", too_many_names);
  testing::internal::CaptureStderr();
  EXPECT_EQ(0, fonts(archive));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("/root/.fonts: "));
}

TEST_F(ManyNames, OfTheDesktopThatCannotBeCopiedFailTheItem) {
  fill_folder("Desktop", 20);
  write_file("/root/Desktop/000 first/in the way", "");
  answer_command("cp ", too_many_names);
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, desktop(archive));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("/root/Desktop/000 first: Is a directory\n"));
}

TEST_F(ManyNames, OfSharedFilesThatCannotBeCopiedFailTheItem) {
  isMultiUser = 1;
  fill_folder("File Extensions", 20);
  write_file("/Share/000 first/in the way", "");
  answer_command("cp ", too_many_names);
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, file_extensions(archive));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("/Share/000 first: Is a directory\n"));
}

}  // namespace
