#include "pack/parcel/zip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <system_error>

#include "pack/disk/folder_tree.h"
#include "pack/disk/stop.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::HasSubstr;

const std::string out = "/tmp/out.zip";

// Gives so many bytes, and then an error, or nothing when it is 0. `changes` is what it says of itself.
class Breaking : public pack::Tree {
 public:
  explicit Breaking(std::size_t good, int error = EIO, bool changes = false)
      : good_(good), error_(error), changes_(changes) {}

  std::vector<pack::Entry> list(const std::string&) const override { return {}; }
  std::unique_ptr<pack::Content> open(const std::string&) const override {
    struct Bytes : pack::Content {
      Bytes(std::size_t size, int number, bool is_written_to)
          : left(size), error(number), changes(is_written_to) {}
      bool has_changed() const override { return changes; }
      std::size_t read(char* to, std::size_t most) override {
        if (left == 0 && error != 0) throw std::system_error(error, std::generic_category());
        const std::size_t count = std::min(left, most);
        std::fill_n(to, count, 'x');
        left -= count;
        return count;
      }
      std::size_t left;
      int error;
      bool changes;
    };
    return std::make_unique<Bytes>(good_, error_, changes_);
  }

 private:
  std::size_t good_;
  int error_;
  bool changes_;
};

std::string listed() { return output_of("unzip -t " + out + " 2>&1; unzip -Z1 " + out); }

TEST(Zip, HoldsWhatItGets) {
  const windows::Disk disk;
  disk.add("a.txt", "one");
  const auto tree = pack::folder_tree(disk.path());
  pack::Zip zip(out, {});
  zip.add_folder("Brindle", 0);
  EXPECT_EQ(zip.add_file("Brindle/ä 1.txt", *tree, "a.txt", tree->list("").front()).cause, std::nullopt);
  zip.add_text("Brindle/b", "");
  EXPECT_FALSE(std::filesystem::exists(out)) << "it has its name only when it is whole";
  zip.finish();
  EXPECT_EQ(output_of("unzip -Z1 " + out), "Brindle/\nBrindle/ä 1.txt\nBrindle/b\n");
  EXPECT_EQ(output_of("unzip -p " + out + " 'Brindle/ä 1.txt'"), "one");
  EXPECT_EQ(output_of("file -b " + out).substr(0, 16), "Zip archive data");
  EXPECT_FALSE(std::filesystem::exists(out + ".part"));
}

TEST(Zip, IsForItsOwnersEyes) {
  pack::Zip zip(out, {});
  zip.finish();
  struct stat found {};
  ASSERT_EQ(stat(out.c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 0777, 0600U);
}

TEST(Zip, KeepsTheDatesOfFiles) {
  const windows::Disk disk;
  disk.add("a.txt");
  ASSERT_EQ(output_of("touch -d '2009-03-04 05:06:08 UTC' " + disk.path() + "/a.txt && echo done"), "done\n");
  const auto tree = pack::folder_tree(disk.path());
  pack::Zip zip(out, {});
  zip.add_file("a.txt", *tree, "a.txt", tree->list("").front());
  zip.finish();
  EXPECT_EQ(output_of("cd /tmp && unzip -q " + out + " && TZ=UTC stat -c %y a.txt"),
            "2009-03-04 05:06:08.000000000 +0000\n");
}

// A zip's own field goes from 1980 to 2107, in pairs of seconds, and says nothing of a zone.
TEST(Zip, KeepsTheDatesOfThreeCenturies) {
  ASSERT_EQ(setenv("TZ", "UTC", 1), 0);
  ASSERT_EQ(output_of("mount -t tmpfs none /mnt && cd /mnt && touch -d '1601-01-01 UTC' a && "
                      "touch -d '2050-06-07 08:09:10 UTC' b && touch -d '2200-01-01 UTC' c && echo done"),
            "done\n");
  const auto tree = pack::folder_tree("/mnt");
  pack::Zip zip(out, {});
  for (const pack::Entry& entry : tree->list("")) zip.add_file(entry.name, *tree, entry.name, entry);
  zip.finish();
  EXPECT_EQ(output_of("zipinfo -T " + out + " | awk 'NF == 8 { print $7, $8 }'"),
            "19800101.000000 a\n20500607.080910 b\n21071231.235958 c\n");
}

// As it is in the archive, byte for byte.
TEST(Zip, StoresWhatIsCompressedAlready) {
  const windows::Disk disk;
  const std::vector<std::string> stored = {"a.JPG",  "a.b.jpeg", "c.png", "d.mp4", "e.zip",
                                           "f.docx", "g.mp3",    "h.7z",  "i.odt", "j.XLSX"};
  const std::vector<std::string> compressed = {"b.txt", "jpg", "k.jpg.bmp", "l.doc", "m."};
  for (const auto& names : {stored, compressed})
    for (const std::string& name : names) disk.add(name, name + std::string(100000, 'x'));
  const auto tree = pack::folder_tree(disk.path());
  for (const bool store : {false, true}) {
    {
      pack::Zip zip(out, {.store = store});
      for (const pack::Entry& entry : tree->list("")) zip.add_file(entry.name, *tree, entry.name, entry);
      zip.finish();
    }
    const std::string bytes = read_file(out);
    for (const std::string& name : stored) EXPECT_THAT(bytes, HasSubstr(name + std::string(100000, 'x')));
    for (const std::string& name : compressed)
      EXPECT_EQ(bytes.find(name + std::string(100000, 'x')) != std::string::npos, store) << name;
    EXPECT_THAT(listed(), HasSubstr("No errors detected"));
    unlink(out.c_str());
  }
}

TEST(Zip, CompressesFilesOfManyBlocks) {
  const windows::Disk disk;
  std::string text;
  for (int i = 0; i < 300000; ++i) text += std::to_string(i * 7919) + "\n";
  disk.add("a.txt", text);
  const auto tree = pack::folder_tree(disk.path());
  pack::Zip zip(out, {});
  zip.add_file("a.txt", *tree, "a.txt", tree->list("").front());
  zip.finish();
  EXPECT_LT(std::filesystem::file_size(out), text.size() * 2 / 3);
  EXPECT_EQ(output_of("unzip -p " + out + " a.txt | cmp - " + disk.path() + "/a.txt && echo same"), "same\n");
}

// Programs of others, and what each prints of a zip that is good.
TEST(Zip, IsReadByOthers) {
  {
    pack::Zip zip(out, {});
    zip.add_folder("Brindle", 1236143168);
    zip.add_text("Brindle/ä", "one");
    zip.add_text("Brindle/empty", "");
    zip.add_file("Brindle/cut", Breaking(200000), "a", {.name = "a", .size = 300000, .modified = 1236143168});
    zip.add_stream("Brindle/stream", 0, [](const pack::Writer& write) {
      for (int i = 0; i < 1000; ++i) write("line\n");
    });
    zip.finish();
  }
  EXPECT_THAT(listed(), HasSubstr("No errors detected"));
  EXPECT_EQ(output_of("LC_ALL=C unzip -Z1 " + out),
            "Brindle/\nBrindle/ä\nBrindle/empty\nBrindle/cut\nBrindle/stream\n");
  EXPECT_EQ(output_of("python3 -c \"import zipfile; z = zipfile.ZipFile('" + out +
                      "'); print(z.testzip(), [i.file_size for i in z.infolist()], "
                      "z.getinfo('Brindle/cut').date_time[0])\""),
            "None [0, 3, 0, 200000, 5000] 2009\n");
  EXPECT_EQ(output_of("bsdtar -xOf " + out + " Brindle/stream | md5sum"),
            output_of("yes line | head -1000 | md5sum"));
  EXPECT_THAT(output_of("7z t " + out + " 2>&1"), HasSubstr("Everything is Ok"));
  EXPECT_THAT(output_of("zip -T " + out + " 2>&1"), HasSubstr("OK"));
}

// A file of 5 GB and what stands behind it. The large one is a hole of the disk.
TEST(Zip, HoldsMoreBytesThanOldZipsCould) {
  constexpr std::uint64_t large = 5'000'000'000;
  const pack::Item first{.name = "large", .may_be_large = true, .size = large, .packed_size = large};
  pack::Item second{.name = "after", .size = 4, .packed_size = 4, .checksum = 0x6c844e92};
  second.place = pack::head_of(first).size() + large;
  const std::string list = pack::list_entry_of(first) + pack::list_entry_of(second);
  const std::string end = pack::head_of(second) + "good" + list;
  write_file(out, pack::head_of(first));
  ASSERT_EQ(truncate(out.c_str(), static_cast<off_t>(second.place)), 0);
  std::ofstream(out, std::ios::binary | std::ios::app)
      << end << pack::end_of_zip(2, second.place + end.size() - list.size(), list.size());
  EXPECT_EQ(output_of("unzip -p " + out + " after"), "good");
  EXPECT_THAT(output_of("unzip -l " + out), HasSubstr("5000000004"));
  EXPECT_EQ(output_of("python3 -c \"import zipfile; z = zipfile.ZipFile('" + out +
                      "'); print([i.file_size for i in z.infolist()], z.read('after'))\""),
            "[5000000000, 4] b'good'\n");
}

// Room for its sizes is left in front of it, though it ends early.
TEST(Zip, LeavesRoomForTheSizesOfLargeFiles) {
  pack::Zip zip(out, {});
  zip.add_file("large", Breaking(20), "a", {.name = "a", .size = 5'000'000'000});
  zip.add_file("next", Breaking(20), "a", {.name = "a", .size = 0xF0000000});
  zip.finish();
  EXPECT_THAT(listed(), HasSubstr("No errors detected"));
  EXPECT_THAT(output_of("zipinfo -v " + out + " large"),
              HasSubstr("minimum software version required to extract:   4.5"));
  EXPECT_THAT(output_of("zipinfo -v " + out + " next"),
              HasSubstr("minimum software version required to extract:   2.0"));
}

TEST(Zip, TakesNothingsPlace) {
  write_file(out, "mine");
  EXPECT_THROW(pack::Zip(out, {}), std::system_error);
  EXPECT_EQ(read_file(out), "mine");
  EXPECT_FALSE(std::filesystem::exists(out + ".part"));
}

TEST(Zip, TakesNothingsPlaceThatCameMeanwhile) {
  pack::Zip zip(out, {});
  write_file(out, "mine");
  EXPECT_THROW(zip.finish(), std::system_error);
  EXPECT_EQ(read_file(out), "mine");
}

TEST(Zip, LeavesAnotherOnesPartAlone) {
  write_file(out + ".part", "another's");
  EXPECT_THROW(pack::Zip(out, {}), std::system_error);
  EXPECT_EQ(read_file(out + ".part"), "another's");
}

TEST(Zip, ThatIsNotFinishedIsGone) {
  {
    pack::Zip zip(out, {});
    zip.add_text("a", "b");
  }
  EXPECT_FALSE(std::filesystem::exists(out));
  EXPECT_FALSE(std::filesystem::exists(out + ".part"));
}

TEST(Zip, StopsAtTheNextBlock) {
  std::uint64_t bytes = 0;
  pack::Zip zip(out, {.progress = [&](std::uint64_t more) {
                  bytes += more;
                  pack::ask_to_stop();
                }});
  EXPECT_THROW(zip.add_file("a", Breaking(1000000, 0), "a", {.name = "a", .size = 1000000}),
               pack::Interrupted);
  EXPECT_GT(bytes, 0U);
  EXPECT_LT(bytes, 1000000U);
}

TEST(Zip, StopsBeforeItHasItsName) {
  pack::Zip zip(out, {});
  zip.add_text("a", "b");
  pack::ask_to_stop();
  EXPECT_THROW(zip.finish(), pack::Interrupted);
  EXPECT_FALSE(std::filesystem::exists(out));
}

class OfAnyPacking : public testing::TestWithParam<bool> {};
INSTANTIATE_TEST_SUITE_P(Zip, OfAnyPacking, testing::Bool());

// Stored and compressed: both have their sizes in front.
TEST_P(OfAnyPacking, AFileThatCannotBeReadToItsEndIsCutAndTheRestIsFine) {
  pack::Zip zip(out, {.store = GetParam()});
  const struct {
    const char* name;
    Breaking tree;
    std::uint64_t announced;
    std::uint64_t packed;
    std::optional<pack::Cause> cause;
  } cases[] = {{"cut", Breaking(100000), 300000, 100000, pack::Cause::cut_short},
               {"cut late", Breaking(200000), 300000, 200000, pack::Cause::cut_short},
               {"shrunk", Breaking(10, 0), 20, 10, pack::Cause::changed},
               {"shrunk.jpg", Breaking(10, 0), 20, 10, pack::Cause::changed},
               {"gone", Breaking(0, 0), 20, 0, pack::Cause::changed},
               {"grown", Breaking(30, 0), 20, 20, pack::Cause::changed},
               {"grown.jpg", Breaking(300000, 0), 200000, 200000, pack::Cause::changed},
               {"filled", Breaking(5, 0), 0, 0, pack::Cause::changed},
               {"written to", Breaking(20, 0, true), 20, 20, pack::Cause::changed},
               {"whole", Breaking(20, 0), 20, 20, std::nullopt}};
  for (const auto& [name, tree, announced, packed, cause] : cases) {
    const pack::Outcome outcome = zip.add_file(name, tree, "a", {.name = "a", .size = announced});
    EXPECT_EQ(outcome.bytes, packed) << name;
    EXPECT_EQ(outcome.cause, cause) << name;
  }
  zip.add_text("after", "good");
  zip.finish();
  EXPECT_THAT(listed(), HasSubstr("No errors detected"));
  EXPECT_EQ(output_of("unzip -p " + out + " after"), "good");
  for (const auto& [name, tree, announced, packed, cause] : cases)
    EXPECT_EQ(output_of("unzip -p " + out + " '" + name + "'"), std::string(packed, 'x')) << name;
}

TEST(Zip, AFileThatGivesNothingIsToldAndNotThere) {
  pack::Zip zip(out, {});
  const pack::Outcome outcome = zip.add_file("broken", Breaking(0), "a", {.name = "a", .size = 3});
  EXPECT_EQ(outcome.cause, pack::Cause::unreadable);
  zip.add_text("after", "good");
  zip.finish();
  EXPECT_EQ(output_of("unzip -Z1 " + out), "after\n");
}

TEST(Zip, AFileThatIsGoneIsToldAndNotThere) {
  const windows::Disk disk;
  const auto tree = pack::folder_tree(disk.path());
  pack::Zip zip(out, {});
  EXPECT_EQ(zip.add_file("gone", *tree, "gone", {.name = "gone", .size = 3}).cause, pack::Cause::unreadable);
  zip.add_text("after", "good");
  zip.finish();
  EXPECT_EQ(output_of("unzip -Z1 " + out), "after\n");
}

TEST(Zip, HoldsMoreFilesThanOldZipsCould) {
  {
    pack::Zip zip(out, {});
    for (int i = 0; i < 66000; ++i) zip.add_text(std::to_string(i), "");
    zip.finish();
  }
  EXPECT_EQ(output_of("unzip -Z1 " + out + " | wc -l"), "66000\n");
  EXPECT_EQ(output_of("unzip -tqq " + out + " && bsdtar -tf " + out + " | wc -l"), "66000\n");
  EXPECT_EQ(output_of("python3 -c \"import zipfile; print(len(zipfile.ZipFile('" + out + "').namelist()))\""),
            "66000\n");
}

// 200,000 files with names of 200 bytes have a list of 50 MB.
TEST(Zip, TakesNoMemoryForItsList) {
#ifdef BRINDLE_ADDRESS_CHECKER
  GTEST_SKIP() << "the address checker's own memory would be counted";
#endif
  const auto resident = [] {
    std::ifstream file("/proc/self/statm");
    std::size_t all = 0;
    std::size_t pages = 0;
    file >> all >> pages;
    return pages * static_cast<std::size_t>(getpagesize());
  };
  pack::Zip zip(out, {});
  zip.add_text("first", "x");
  const std::size_t before = resident();
  for (int i = 0; i < 200000; ++i) zip.add_text(std::string(190, 'n') + std::to_string(i), "");
  EXPECT_LT(resident(), before + (std::size_t{8} << 20));
}

TEST(Zip, SaysWhenThereIsNoRoom) {
  ASSERT_EQ(output_of("mkdir -p /mnt/small && mount -t tmpfs -o size=200k none /mnt/small && echo done"),
            "done\n");
  const std::string path = "/mnt/small/out.zip";
  {
    pack::Zip zip(path, {.store = true});
    EXPECT_THROW(
        {
          zip.add_file("a", Breaking(1000000, 0), "a", {.name = "a", .size = 1000000});
          zip.finish();
        },
        std::system_error);
  }
  EXPECT_EQ(output_of("ls -A /mnt/small"), "");
}

TEST(Sum, IsNotLessThanTheZip) {
  pack::Sum sum;
  pack::Zip zip(out, {});
  // What cannot be compressed.
  std::ifstream random("/dev/urandom", std::ios::binary);
  for (int i = 0; i < 50; ++i) {
    std::string bytes(static_cast<std::size_t>(i) * 1000, '\0');
    random.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const std::string name = "Brindle/My Documents/" + std::to_string(i);
    sum.add_text(name, bytes);
    zip.add_text(name, bytes);
  }
  sum.add_folder("Brindle", 0);
  zip.add_folder("Brindle", 0);
  zip.finish();
  EXPECT_GE(sum.bytes(), std::filesystem::file_size(out));
  EXPECT_LT(sum.bytes(), std::filesystem::file_size(out) * 11 / 10);
}

}  // namespace
