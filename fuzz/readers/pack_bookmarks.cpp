// Bookmarks of the browsers made of Chromium, and of Internet Explorer.
#include "pack/browsers/readers.h"
#include "support/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::Input(data, size).text());
  const std::string address = pack::address_in(text);
  fuzz::require(address.size() <= 4 * size && address.find('\n') == std::string::npos,
                "an address is one line");
  auto list = pack::chromium_bookmarks(text);
  if (!list) return 0;
  const std::size_t count = pack::count_of(*list);
  fuzz::require(count <= fuzz::count_of(text, "{"), "a bookmark begins with its bracket");
  fuzz::require(fuzz::count_of(pack::bookmark_file(*list), "<A HREF") == count, "each is in the file");
  std::set<std::string> known;
  pack::note_addresses(*list, known);
  fuzz::require(pack::drop_known(*list, known) == count && pack::count_of(*list) == 0,
                "those that are known are dropped");
  return 0;
}
