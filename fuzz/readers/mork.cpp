// Address books of the Mozilla suite in a home.
#include "account/readers/mork.h"

#include "support/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::Input(data, size).text();
  static_cast<void>(account::is_mork(text));
  const std::vector<account::MorkRow> rows = account::mork_rows(text);
  fuzz::require(rows.size() <= fuzz::count_of(text, "["), "a row begins with its bracket");
  std::size_t bytes = 0;
  for (const account::MorkRow& row : rows) {
    for (const auto& [column, value] : row) {
      fuzz::require(!value.empty() && value.size() <= size && column.size() <= size,
                    "a value stands in the text");
      bytes += column.size() + value.size();
    }
  }
  fuzz::require(bytes <= 16 * size + (std::size_t{1} << 20), "rows do not grow without end");
  return 0;
}
