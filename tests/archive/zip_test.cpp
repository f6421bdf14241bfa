// Entries of a zip, read without unzip.
#include "process/archive/zip.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

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

#ifndef BRINDLE_ADDRESS_CHECKER  // which keeps what is given back
long resident_kilobytes() {
  std::istringstream lines(read_file("/proc/self/status"));
  for (std::string line; std::getline(lines, line);)
    if (line.starts_with("RssAnon:")) return std::stol(line.substr(8));
  return 0;
}

// Each thread that has read one would keep it.
TEST(Zip, GivesBackTheMemoryOfALongList) {
  constexpr int entries = 20000;
  {
    std::vector<PackedFile> files;
    for (int number = 0; number < entries; ++number)
      files.push_back({"letter " + std::to_string(number), ""});
    write_zip(path, files);
  }
  malloc_trim(0);
  const long before = resident_kilobytes();
  auto zip = std::make_unique<Zip>(path);
  ASSERT_EQ(std::uint64_t{entries}, zip->count());
  EXPECT_LT(before + 3000, resident_kilobytes());
  const std::string allocated_last(1000, ' ');  // what lies behind the list in memory stays
  zip.reset();
  EXPECT_GT(before + 1000, resident_kilobytes());
}
#endif

}  // namespace
