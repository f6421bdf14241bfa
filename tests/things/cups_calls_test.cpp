#include "things/cups_calls.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/files.h"
#include "things/queue.h"

namespace {

bool is_loaded() { return read_file("/proc/self/maps").find("libcups.so") != std::string::npos; }

void remove_libcups() {
  for (const auto& folder : std::filesystem::directory_iterator("/usr/lib"))
    if (folder.is_directory()) std::filesystem::remove(folder.path() / "libcups.so.2");
}

TEST(CupsCalls, LibcupsIsLoadedWhenItIsAskedFor) {
  EXPECT_FALSE(is_loaded());
  EXPECT_TRUE(things::libcups.load());
  EXPECT_TRUE(is_loaded());
  EXPECT_LT(0, things::ippPort());
}

TEST(CupsCalls, WithoutLibcupsNoPrintServerAnswers) {
  remove_libcups();
  std::string error;
  EXPECT_FALSE(things::queue_state("office", error).has_value());
  EXPECT_EQ("no print server answers", error);
}

}  // namespace
