// Names as unzip makes them of an archive: those that the archive has.
#include "pack/files/names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "pack/pack.h"
#include "pack/parcel/zip.h"
#include "pack/recorded.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/volume.h"

namespace {

using pack::kept_name;
using testing::MatchesRegex;

TEST(Names, ThatUnzipKeepsStay) {
  for (const char* name : {"letter.txt", "Ärger", "日本語", " blank", "end ", "end.", "...", ".hidden", "a;b",
                           "a;1b", "a;1.txt", "a~1", "-x", "a\\b", "'\"$`", "\xC2\x85next line"})
    EXPECT_EQ(kept_name(name), name);
  EXPECT_EQ(kept_name(std::string(255, 'x')), std::string(255, 'x'));
}

TEST(Names, ThatItDoesNotKeepGetOthers) {
  EXPECT_THAT(kept_name("half\xED\xA0\x80.txt"), MatchesRegex("half���~[0-9a-f]{8}\\.txt"));
  EXPECT_THAT(kept_name("line\nend\x7F.txt"), MatchesRegex("line_end_~[0-9a-f]{8}\\.txt"));
  EXPECT_THAT(kept_name("version;1"), MatchesRegex("version_1~[0-9a-f]{8}"));
  EXPECT_THAT(kept_name("version.txt;12"), MatchesRegex("version~[0-9a-f]{8}\\.txt_12"));
  EXPECT_THAT(kept_name("version;"), MatchesRegex("version_~[0-9a-f]{8}"));
  EXPECT_NE(kept_name("a\x01"), kept_name("a\x02")) << "two that differ stay two";
  EXPECT_NE(kept_name("a;1"), kept_name("a_1"));
}

TEST(Names, ThatAreTooLongAreCutInFrontOfTheirEnding) {
  std::string name;
  for (int i = 0; i < 251; ++i) name += "\xE6\x97\xA5";
  const std::string kept = kept_name(name + ".txt");
  EXPECT_EQ(kept.size(), 253U) << "a character more would be too many";
  EXPECT_THAT(kept, MatchesRegex("(日)+~[0-9a-f]{8}\\.txt"));
  EXPECT_EQ(kept_name(name + ".txt"), kept) << "the same each time";
  EXPECT_NE(kept_name(name + "x.txt"), kept);
  EXPECT_EQ(kept_name(std::string(300, 'x')).size(), 255U);
  EXPECT_EQ(kept_name("a." + std::string(300, 'x')).size(), 255U) << "this is no ending";
}

// A volume with whatever names, which no file system here would take.
class Named : public pack::Tree {
 public:
  explicit Named(std::vector<std::string> names) {
    for (const std::string& name : names) entries_.push_back({.name = name, .size = name.size()});
    std::ranges::sort(entries_, {}, &pack::Entry::name);
    entries_.push_back({.name = "sub", .what = pack::What::folder});
  }

  std::vector<pack::Entry> list(const std::string& folder) const override {
    if (folder.empty()) return {{.name = "Users", .what = pack::What::folder}};
    if (folder == "Users") return {{.name = "Ann", .what = pack::What::folder}};
    if (folder == "Users/Ann") return {{.name = "Documents", .what = pack::What::folder}};
    auto entries = entries_;
    if (folder.ends_with("/sub")) entries.pop_back();
    return entries;
  }
  std::unique_ptr<pack::Content> open(const std::string& file) const override {
    return std::make_unique<fuzz::Bytes>(file.substr(file.rfind('/') + 1));
  }

 private:
  std::vector<pack::Entry> entries_;
};

// Each file holds its own name: after unzip there is one for each, under the name that the archive's list
// has.
TEST(Names, InTheArchiveAreThoseThatUnzipMakes) {
  std::string long_name;
  for (int i = 0; i < 250; ++i) long_name += "\xE6\x97\xA5";
  std::vector<std::string> names = {"plain.txt",
                                    "PLAIN.TXT",
                                    "a;1",
                                    "a;2",
                                    "a_1",
                                    "a;",
                                    "b;1.txt",
                                    "end ",
                                    "end.",
                                    "end..",
                                    "...",
                                    " ",
                                    "line\nend",
                                    "tab\t",
                                    "esc\x1b[2J",
                                    "del\x7F",
                                    "c1 \xC2\x9B",
                                    "bidi \xE2\x80\xAE",
                                    "half\xED\xA0\x80",
                                    "half\xED\xA0\x81",
                                    "latin \xE4",
                                    "\xFF",
                                    "-n",
                                    "--help",
                                    "*",
                                    "a\\b",
                                    "日本語",
                                    long_name,
                                    long_name + "x",
                                    long_name + ".txt"};
  names.push_back(kept_name("a;1"));  // somebody has that one already
  const pack::Disk disk(std::make_unique<Named>(names));
  pack::Options options;
  options.out = "/tmp/out.zip";
  options.source = "/mnt";
  {
    pack::Zip zip(options.out, {});
    const auto packed = pack::pack_all(zip, disk, pack::chosen_people(disk, options), options);
    zip.finish();
    EXPECT_EQ(packed.front().tally.count(pack::Kind::documents).packed, 2 * names.size());
    EXPECT_EQ(packed.front().tally.count(pack::Kind::documents).left_out, 0U);
    EXPECT_FALSE(packed.front().tally.has_losses());
  }
  for (const char* locale : {"C", "C.UTF-8"}) {
    ASSERT_EQ(output_of(std::string("rm -rf /tmp/made && LC_ALL=") + locale +
                        " unzip -qq -n /tmp/out.zip -d /tmp/made 2>&1; echo $?"),
              "0\n");
    EXPECT_EQ(output_of("cd /tmp/made && find . -type f | LC_ALL=C sort | md5sum"),
              output_of("python3 -c \"import sys, zipfile; [sys.stdout.buffer.write(b'./' + "
                        "n.encode('cp437') + b'\\n') for n in zipfile.ZipFile('/tmp/out.zip').namelist() "
                        "if not n.endswith('/')]\" | LC_ALL=C sort | md5sum"))
        << locale;
  }
  std::vector<std::string> contents;
  for (const auto& file : std::filesystem::recursive_directory_iterator("/tmp/made/Brindle/My Documents"))
    if (file.is_regular_file()) contents.push_back(read_file(file.path()));
  std::vector<std::string> twice = names;
  twice.insert(twice.end(), names.begin(), names.end());
  EXPECT_THAT(contents, testing::UnorderedElementsAreArray(twice));
}

}  // namespace
