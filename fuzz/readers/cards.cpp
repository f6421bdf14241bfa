// The account's own look at contacts: a file of vCards.
#include "account/readers/vcard.h"

#include <algorithm>

#include "account/archive/charset.h"
#include "support/harness.h"

namespace {

std::string in_utf8(std::string_view bytes) { return account::readable(bytes, "CP1252"); }

void check(const std::string& text) {
  const account::Card card(text, in_utf8);
  const std::vector<std::string> content = card.content();
  fuzz::require(content.size() == card.fields().size(), "each field says something");
  fuzz::require(account::difference_of_cards(content, content).empty(), "a card does not differ from itself");
  static_cast<void>(card.title());
  for (const account::CardField& field : card.fields()) {
    fuzz::require(field.name != "BEGIN" && field.name != "END" && field.name != "VERSION",
                  "marks are no fields");
    fuzz::require(std::ranges::is_sorted(field.types), "types are sorted");
    fuzz::require(field.value().size() <= field.raw.size(), "a value is no longer than it was written");
    fuzz::require(account::parts_of(field.raw).size() == 1 || fuzz::contains(field.raw, ";"),
                  "parts have a semicolon between them");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::Input(data, size).text());
  account::each_card(account::text_source(text), [&](const std::string& card) {
    fuzz::require(fuzz::contains(text, card), "a card stands in its file as it is");
    check(card);
  });
  check(text);
  return 0;
}
