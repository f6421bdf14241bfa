#include "pack/parcel/zip.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <system_error>

#include "pack/disk/folder_tree.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::HasSubstr;

const std::string out = "/tmp/out.zip";

// Gives so many bytes, and an error then.
class Breaking : public pack::Tree {
 public:
  explicit Breaking(std::size_t good, int error = EIO) : good_(good), error_(error) {}

  std::vector<pack::Entry> list(const std::string&) const override { return {}; }
  std::unique_ptr<pack::Content> open(const std::string&) const override {
    struct Bytes : pack::Content {
      Bytes(std::size_t size, int number) : left(size), error(number) {}
      std::size_t read(char* to, std::size_t most) override {
        if (left == 0 && error != 0) throw std::system_error(error, std::generic_category());
        const std::size_t count = std::min(left, most);
        std::fill_n(to, count, 'x');
        left -= count;
        return count;
      }
      std::size_t left;
      int error;
    };
    return std::make_unique<Bytes>(good_, error_);
  }

 private:
  std::size_t good_;
  int error_;
};

std::string listed() { return output_of("unzip -t " + out + " 2>&1; unzip -Z1 " + out); }

TEST(Zip, HoldsWhatItGets) {
  const windows::Disk disk;
  disk.add("a.txt", "one");
  const auto tree = pack::folder_tree(disk.path());
  pack::Zip zip(out, {});
  zip.add_folder("Brindle", 0);
  EXPECT_EQ(zip.add_file("Brindle/ä 1.txt", *tree, "a.txt", tree->list("").front()), std::nullopt);
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

TEST(Zip, CompressesWhatCanBe) {
  const windows::Disk disk;
  for (const char* name : {"a.JPG", "b.txt", "jpg"}) disk.add(name, std::string(100000, 'x'));
  const auto tree = pack::folder_tree(disk.path());
  for (const bool store : {false, true}) {
    {
      pack::Zip zip(out, {.store = store});
      for (const pack::Entry& entry : tree->list("")) zip.add_file(entry.name, *tree, entry.name, entry);
      zip.finish();
    }
    const std::string lines = output_of("unzip -v " + out);
    EXPECT_THAT(lines, testing::ContainsRegex("100000 +Stored .* a.JPG"));
    EXPECT_THAT(lines, testing::ContainsRegex(store ? "100000 +Stored .* b.txt" : "100000 +Defl.* b.txt"));
    EXPECT_THAT(lines, testing::ContainsRegex(store ? "100000 +Stored .* jpg" : "100000 +Defl.* jpg"));
    unlink(out.c_str());
  }
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
  std::atomic<int> stopped = 0;
  std::uint64_t bytes = 0;
  pack::Zip zip(out, {.stopped = &stopped, .progress = [&](std::uint64_t more) {
                        bytes += more;
                        stopped = 1;
                      }});
  EXPECT_THROW(zip.add_file("a", Breaking(1000000, 0), "a", {.name = "a", .size = 1000000}),
               pack::Interrupted);
  EXPECT_GT(bytes, 0U);
  EXPECT_LT(bytes, 1000000U);
}

TEST(Zip, AFileThatCannotBeReadToItsEndIsCutAndTheRestIsFine) {
  pack::Zip zip(out, {});
  EXPECT_EQ(zip.add_file("cut", Breaking(100000), "a", {.name = "a", .size = 300000}),
            pack::Cause::cut_short);
  EXPECT_EQ(zip.add_file("shrunk", Breaking(10, 0), "a", {.name = "a", .size = 20}), pack::Cause::cut_short);
  EXPECT_EQ(zip.add_file("grown.jpg", Breaking(30, 0), "a", {.name = "a", .size = 20}), std::nullopt);
  zip.add_text("after", "good");
  zip.finish();
  EXPECT_THAT(listed(), HasSubstr("No errors detected"));
  EXPECT_EQ(output_of("unzip -p " + out + " after"), "good");
  EXPECT_EQ(output_of("unzip -p " + out + " cut | wc -c"), "100000\n");
  EXPECT_EQ(output_of("unzip -p " + out + " shrunk"), std::string(10, 'x'));
  EXPECT_EQ(output_of("unzip -p " + out + " grown.jpg"), std::string(20, 'x'));
}

TEST(Zip, AFileThatIsGoneIsToldAndNotThere) {
  const windows::Disk disk;
  const auto tree = pack::folder_tree(disk.path());
  pack::Zip zip(out, {});
  EXPECT_EQ(zip.add_file("gone", *tree, "gone", {.name = "gone", .size = 3}), pack::Cause::unreadable);
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
