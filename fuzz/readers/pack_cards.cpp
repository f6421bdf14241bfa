// vCards of Thunderbird's address books, and contacts of Windows.
#include "pack/contacts/vcard.h"
#include "pack/contacts/windows_contact.h"
#include "support/harness.h"

namespace {

bool has_line(const std::string& card, const std::string& name) {
  return fuzz::contains(card, "\r\n" + name + ":") || fuzz::contains(card, "\r\n" + name + ";CHARSET=UTF-8:");
}

void check(const pack::Vcard& card) {
  const std::string text = card.text("id");
  fuzz::require(
      text.starts_with("BEGIN:VCARD\r\nVERSION:3.0\r\nUID:id\r\n") && text.ends_with("\r\nEND:VCARD"),
      "a card has its beginning and its end");
  fuzz::require(fuzz::count_of("\r\n" + text, "\r\nBEGIN:") == 1 && fuzz::count_of(text, "\r\nEND:") == 1,
                "and only one of each");
  // Behind the name stands the character set, where there is more than ASCII.
  fuzz::require(has_line(text, "FN") && has_line(text, "N"), "a card has its names");
  fuzz::require(fuzz::count_of(text, "\n") == fuzz::count_of(text, "\r\n"), "lines end as they must");
  fuzz::require(text.find('\0') == std::string::npos, "a card ends where its bytes end");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::Input(data, size).text();
  const pack::Vcard card = pack::vcard_of(text);
  if (!card.is_empty()) check(card);
  const auto contact = pack::windows_contact(text);
  if (contact && !contact->is_empty()) check(*contact);
  return 0;
}
