// The settings of a printer on a Windows disk.
#include "pack/printers/dev_mode.h"

#include <algorithm>

#include "support/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const pack::PrinterSettings settings = pack::settings_of(fuzz::Input(data, size).text());
  for (const std::string& word :
       {settings.orientation, settings.paper_size, settings.print_quality, settings.color, settings.duplex})
    fuzz::require(word.starts_with("DM"), "a word is one of the archive's");
  for (const std::string& number :
       {settings.paper_width, settings.paper_length, settings.scale, settings.y_resolution})
    fuzz::require(!number.empty() && number.size() <= 5 &&
                      std::ranges::all_of(number, [](char c) { return c >= '0' && c <= '9'; }),
                  "a number is one");
  return 0;
}
