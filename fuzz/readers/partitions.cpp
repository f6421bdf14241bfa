// The table of partitions of a disk, and what a disk is.
#include "pack/ntfs/partitions.h"

#include <algorithm>
#include <set>

#include "support/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string disk(reinterpret_cast<const char*>(data), size);
  int reads = 0;
  const pack::Bytes bytes = [&](std::uint64_t at, std::size_t most) {
    ++reads;
    fuzz::require(most <= (std::size_t{1} << 20), "no table is that long");
    return at < disk.size() ? disk.substr(at, most) : "";
  };
  std::set<int> numbers;
  for (const pack::Partition& partition : pack::partitions_of(bytes)) {
    fuzz::require(partition.number >= 1 && numbers.insert(partition.number).second,
                  "each has a number of its own");
    fuzz::require(!partition.identity.empty() && partition.size > 0, "each has an identity and a size");
  }
  fuzz::require(numbers.size() <= 600 && reads <= 2000, "a table that bites its tail ends");
  fuzz::require(!pack::described(bytes).empty(), "whatever it is has words for it");
  return 0;
}
