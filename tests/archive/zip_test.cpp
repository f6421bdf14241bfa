// Entries of a zip, read without unzip.
#include "process/archive/zip.h"

#include <gtest/gtest.h>

#include "archive/windows_zip.h"
#include "support/files.h"

namespace {

constexpr const char* path = "/tmp/a.zip";

Zip::Reading read(const Zip& zip, std::uint64_t number) {
  return zip.read(number, nullptr, [](std::string_view) { return true; });
}

// A checksum of nothing fits any number of bytes that are not there.
TEST(Zip, FindsAnEntryWrongThatIsShorterThanItsListSays) {
  write_zip(path, {{"a", ""}, {"b", ""}});
  std::string bytes = read_file(path);
  bytes[bytes.find("PK\1\2") + 24] = 50;
  write_file(path, bytes);
  const Zip zip(path);
  ASSERT_TRUE(zip);
  EXPECT_EQ(Zip::Reading::wrong, read(zip, 0));
  EXPECT_EQ(Zip::Reading::whole, read(zip, 1));
}

}  // namespace
