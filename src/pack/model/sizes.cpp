#include "pack/model/sizes.h"

#include <iomanip>
#include <sstream>

namespace pack {

std::string size_in_words(std::uint64_t bytes) {
  constexpr std::uint64_t thousand = 1000;
  if (bytes < thousand) return std::to_string(bytes) + " B";
  std::ostringstream text;
  double size = static_cast<double>(bytes);
  const char* unit = "";
  for (const char* next : {"kB", "MB", "GB", "TB"}) {
    if (size < 1000) break;
    size /= 1000;
    unit = next;
  }
  text << std::fixed << std::setprecision(1) << size << ' ' << unit;
  return text.str();
}

}  // namespace pack
