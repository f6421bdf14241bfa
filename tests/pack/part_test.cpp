// What a disk says while an archive is brought to it.
#include "pack/parcel/part.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

#include "pack/disk/trace.h"
#include "support/files.h"

namespace {

const std::string part = "/tmp/out.zip.part";
const std::string out = "/tmp/out.zip";

// Of the next call that waits for the disk, or that does not; it is told once, as Linux does.
int error_of_waiting = 0;
int error_of_beginning = 0;

}  // namespace

// It takes the place of the library's in this program.
extern "C" int sync_file_range(int file, off64_t place, off64_t size, unsigned how) {
  int& error = (how & SYNC_FILE_RANGE_WAIT_AFTER) != 0 ? error_of_waiting : error_of_beginning;
  if (error == 0) return static_cast<int>(syscall(SYS_sync_file_range, file, place, size, how));
  errno = error;
  error = 0;
  return -1;
}

namespace {

void pack_into(pack::Part& file, std::size_t megabytes) {
  const std::string block(std::size_t{1} << 20, 'x');
  for (std::size_t i = 0; i < megabytes; ++i) file.append(block);
}

TEST(Part, OnADiskThatFailsGetsNoName) {
  for (const int error : {EIO, ENOSPC, EDQUOT, EPERM}) {
    {
      pack::Part file(part);
      file.append("text");
      error_of_waiting = error;
      try {
        file.keep_as(out);
        ADD_FAILURE() << "it was kept after " << error;
      } catch (const std::system_error& failed) {
        EXPECT_EQ(failed.code().value(), error);
      }
      EXPECT_THROW(file.keep_as(out), std::system_error) << "not a second time either";
    }
    EXPECT_FALSE(std::filesystem::exists(out));
    EXPECT_FALSE(std::filesystem::exists(part));
  }
}

TEST(Part, OnADiskThatFailsEndsAtOnce) {
  pack::Part file(part);
  error_of_beginning = EIO;
  EXPECT_THROW(pack_into(file, 20), std::system_error);
  EXPECT_EQ(error_of_beginning, 0);
}

TEST(Part, WaitsForAllOfItWhereAPartCannotBeWaitedFor) {
  for (const int error : {ENOSYS, EINVAL, ESPIPE}) {
    pack::Part file(part);
    error_of_beginning = error;
    pack_into(file, 20);
    error_of_waiting = error;
    file.keep_as(out);
    EXPECT_EQ(error_of_beginning + error_of_waiting, 0) << "both have been asked";
    EXPECT_EQ(std::filesystem::file_size(out), 20U << 20);
    unlink(out.c_str());
  }
}

std::string told(int pipe) {
  char bytes[1000];
  const ssize_t size = read(pipe, bytes, sizeof bytes);
  std::string text(bytes, static_cast<std::size_t>(size));
  for (char& c : text)
    if (c == '\0') c = ' ';
  return text;
}

TEST(Part, TellsWhenItIsToStayAndWhenNot) {
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  pack::tell_traces_to(pipe[1]);
  {
    pack::Part file(part);
    file.keep_as(out);
  }
  EXPECT_EQ(told(pipe[0]), "+" + part + " =" + part + " -" + part + " ");
  {
    pack::Part file(part);
    EXPECT_THROW(file.keep_as(out), std::system_error) << "something is there";
  }
  EXPECT_EQ(told(pipe[0]), "+" + part + " =" + part + " +" + part + " -" + part + " ");
}

}  // namespace
