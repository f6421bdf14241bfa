// Copies of our own: stages, files without a name, and what is told of them.
#include "pack/disk/stage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <stdexcept>

#include "pack/disk/folder_tree.h"
#include "pack/disk/nameless.h"
#include "pack/windows_disk.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::HasSubstr;

void use_small_room() {
  ASSERT_EQ(output_of("mkdir -p /mnt/small && mount -t tmpfs -o size=64k none /mnt/small && echo done"),
            "done\n");
  setenv("TMPDIR", "/mnt/small", 1);
}

TEST(Stage, CopiesWhatIsToBeRead) {
  const windows::Disk disk;
  disk.add("a", std::string(200000, 'x'));
  const auto tree = pack::folder_tree(disk.path());
  std::string path;
  {
    const pack::Stage stage;
    path = stage.copy({.tree = tree.get(), .path = "a"}, "copy").value();
    EXPECT_EQ(read_file(path), std::string(200000, 'x'));
    EXPECT_FALSE(stage.copy({.tree = tree.get(), .path = "gone"}, "other"));
  }
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(path).parent_path()));
}

TEST(Stage, SaysThatThereIsNoRoom) {
  const windows::Disk disk;
  disk.add("a", std::string(200000, 'x'));
  const auto tree = pack::folder_tree(disk.path());
  use_small_room();
  const pack::Stage stage;
  try {
    stage.copy({.tree = tree.get(), .path = "a"}, "copy");
    ADD_FAILURE() << "it was copied";
  } catch (const std::runtime_error& error) {
    EXPECT_EQ(std::string(error.what()),
              "there is no room for a copy of a in /mnt/small, which is needed to read it; TMPDIR names "
              "another folder, "
              "and --without leaves a kind of data out");
  }
  EXPECT_EQ(output_of("find /mnt/small -type f"), "") << "nothing is begun that has no room";
}

// One that is longer than its folder says.
TEST(Stage, SaysThatTheRoomIsUsedUp) {
  struct Endless : pack::Tree {
    std::vector<pack::Entry> list(const std::string&) const override { return {{.name = "a", .size = 1}}; }
    std::unique_ptr<pack::Content> open(const std::string&) const override {
      struct Bytes : pack::Content {
        std::size_t read(char* to, std::size_t most) override {
          std::fill_n(to, most, 'x');
          return most;
        }
      };
      return std::make_unique<Bytes>();
    }
  };
  const Endless tree;
  use_small_room();
  const pack::Stage stage;
  EXPECT_THROW(stage.copy({.tree = &tree, .path = "a"}, "copy"), std::runtime_error);
  pack::Nameless file("/mnt/small");
  EXPECT_THROW(for (;;) file.append(std::string(10000, 'x')), std::runtime_error);
}

TEST(Nameless, HoldsWhatItGetsAndHasNoName) {
  std::filesystem::create_directory("/mnt/copies");
  setenv("TMPDIR", "/mnt/copies", 1);
  EXPECT_EQ(pack::folder_for_copies(), "/mnt/copies");
  pack::Nameless file("/mnt/copies");
  file.append("one");
  file.append("two");
  EXPECT_EQ(file.size(), 6U);
  char bytes[8];
  EXPECT_EQ(std::string(bytes, file.read_at(2, bytes, 3)), "etw");
  EXPECT_EQ(file.read_at(6, bytes, 3), 0U);
  EXPECT_EQ(read_file(file.path()), "onetwo");
  EXPECT_EQ(output_of("ls -A /mnt/copies"), "");
}

TEST(Trace, IsToldFromItsBeginningToItsEnd) {
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  pack::tell_traces_to(pipe[1]);
  {
    const pack::Trace one("a b");
    const pack::Trace two("c");
    two.is_to_stay(true);
    two.is_to_stay(false);
  }
  char bytes[100];
  const ssize_t size = read(pipe[0], bytes, sizeof bytes);
  EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(size)),
            std::string("+a b\0+c\0=c\0+c\0-c\0-a b\0", 22));
}

}  // namespace
