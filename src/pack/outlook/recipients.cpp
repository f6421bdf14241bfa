#include "pack/outlook/recipients.h"

#include <algorithm>

namespace pack {

namespace {

constexpr std::uint32_t table_of_recipients = 0x692;

namespace id {
constexpr std::uint16_t kind = 0x0C15;
constexpr std::uint16_t name = 0x3001;
constexpr std::uint16_t address = 0x3003;
constexpr std::uint16_t smtp_address = 0x39FE;
constexpr std::uint16_t flags = 0x5FFD;
constexpr std::uint16_t answer = 0x5FFF;
}  // namespace id

bool is_internet_address(std::string_view text) {
  const std::size_t at = text.find('@');
  return at != std::string_view::npos && at > 0 && at + 1 < text.size() &&
         std::ranges::none_of(text, [](char c) {
           return static_cast<unsigned char>(c) <= ' ' || c == '<' || c == '>' || c == ',' || c == '"';
         });
}

}  // namespace

std::string address_of(std::initializer_list<std::string> known) {
  for (const std::string& one : known)
    if (is_internet_address(one)) return one;
  for (const std::string& one : known) {
    if (!one.starts_with('/')) continue;
    std::string name = one.substr(one.rfind('=') + 1);
    std::erase_if(name, [](char c) {
      return !((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.' ||
               c == '-' || c == '_');
    });
    if (!name.empty()) return name + "@exchange.invalid";
  }
  return "unknown@outlook.invalid";
}

std::vector<Recipient> recipients_of(Blocks& blocks, const Properties& item, bool* is_whole) {
  constexpr int organizer = 2;
  std::vector<Recipient> recipients;
  const auto node = item.subnodes().find(table_of_recipients);
  if (node == item.subnodes().end()) return recipients;
  const Table table(blocks, node->second, item.code_page());
  *is_whole &= table.each([&](const Table::Row& row) {
    // Who organizes is listed as number 0; there are marks above the number.
    const int kind = row.number(id::kind).value_or(1) & 3;
    recipients.push_back({.kind = std::max(kind, 1),
                          .name = row.text(id::name),
                          .address = address_of({row.text(id::smtp_address), row.text(id::address)}),
                          .is_organizer = kind == 0 || (row.number(id::flags).value_or(0) & organizer) != 0,
                          .answer = row.number(id::answer).value_or(0)});
  });
  return recipients;
}

}  // namespace pack
