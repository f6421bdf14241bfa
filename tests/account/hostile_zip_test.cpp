// Zips that no honest packer writes (tests/hostile/zips.py), read by the account.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "account/archive/archive.h"
#include "support/commands.h"
#include "support/files.h"

namespace account {
namespace {

namespace fs = std::filesystem;

void make(const std::string& words) {
  ASSERT_EQ(0, shell_quietly("python3 -B '" + test_data("hostile/zips.py") + "' " + words));
}

// The number of entries; 0 when the list cannot be read.
std::size_t read_all(const std::string& path) {
  try {
    const Archive archive(path, "CP850");
    for (const Entry& entry : archive.entries()) {
      bool whole = false;
      const std::string bytes = archive.read(entry, 100'000, &whole);
      EXPECT_LE(bytes.size(), entry.size) << path << ": " << entry.name;
      EXPECT_TRUE(!whole || bytes.size() == entry.size) << path << ": " << entry.name;
    }
    return archive.entries().size();
  } catch (const Unreadable&) {
    return 0;
  }
}

TEST(HostileZips, AreReadOrRefused) {
  make("/tmp/z");
  make("--flips 300 /tmp/z");
  std::size_t readable = 0;
  for (const fs::directory_entry& zip : fs::directory_iterator("/tmp/z"))
    readable += read_all(zip.path()) > 0 ? 1 : 0;
  EXPECT_LT(100U, readable);
}

TEST(HostileZips, NamesThatLeadOutAreUnsafe) {
  make("/tmp/z climbing");
  const Archive archive("/tmp/z/climbing.zip", "CP850");
  for (const char* name :
       {"../../canary-up", "etc/canary-etc", "Brindle/My Documents/../../../canary-back"}) {
    ASSERT_NE(nullptr, archive.find(name)) << name;
    EXPECT_TRUE(archive.find(name)->unsafe) << name;
  }
  EXPECT_FALSE(archive.find("Brindle/My Documents/plain.txt")->unsafe);
}

TEST(HostileZips, HandOutNoMoreThanTheirListSays) {
  make("/tmp/z lying-ratio");
  const Archive archive("/tmp/z/lying-ratio.zip", "CP850");
  EntryStream stream = archive.open(*archive.find("Brindle/My Documents/zeros"));
  char buffer[65536];
  std::size_t taken = 0;
  for (std::size_t got; taken < 100'000'000 && (got = stream.read(buffer)) > 0;) taken += got;
  EXPECT_GE(10U, taken);
  EXPECT_TRUE(stream.failed());
}

}  // namespace
}  // namespace account
