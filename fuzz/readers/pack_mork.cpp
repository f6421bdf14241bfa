// Old address books of Mozilla's programs on a Windows disk.
#include <glib.h>

#include "pack/contacts/mork.h"
#include "pack/contacts/vcard.h"
#include "support/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::Input(data, size).text();
  const auto book = pack::read_mork(text);
  if (!book) return 0;
  fuzz::require(book->cards.size() + book->lists.size() <= fuzz::count_of(text, "["),
                "a row begins with its bracket");
  std::size_t bytes = 0;
  for (const auto& card : book->cards) {
    for (const auto& [name, value] : card) {
      bytes += value.size();
      fuzz::require(!value.empty(), "an empty cell is none");
      fuzz::require(g_utf8_validate(value.data(), static_cast<gssize>(value.size()), nullptr) ||
                        value.find('\0') != std::string::npos,
                    "values are UTF-8");
    }
    static_cast<void>(pack::vcard_of_mozilla(card).text("id"));
  }
  fuzz::require(bytes <= std::size_t{3} << 24, "cards do not grow without end");
  return 0;
}
