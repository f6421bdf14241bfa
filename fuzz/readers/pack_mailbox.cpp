// Mailboxes of Mozilla's programs on a Windows disk.
#include "pack/mail/mailbox.h"

#include <algorithm>

#include "support/harness.h"
#include "support/volume.h"

namespace {

std::string with_line_feeds(std::string_view text) {
  std::string result;
  for (std::size_t at = 0; at < text.size(); ++at)
    if (text[at] != '\r' || at + 1 == text.size() || text[at + 1] != '\n') result += text[at];
  return result;
}

// A mailbox that begins with header lines gets a line "From " in front.
std::string from_first_message(const std::string& text) {
  const std::string rest = text.substr(std::min(text.find_first_not_of('\n'), text.size()));
  if (rest.starts_with("From ")) return rest;
  if (!rest.starts_with('\r') && pack::beginning_of_mailbox(rest) == pack::Beginning::headers)
    return std::string(pack::line_without_date) + rest;
  const std::size_t line = rest.find("\nFrom ");
  return line == std::string::npos ? "" : rest.substr(line + 1);
}

// Without the ">" that a line "From " of a text gets, or has.
std::string unquoted(std::string text) {
  for (std::size_t at = 0; (at = text.find("\n>From ", at)) != std::string::npos; ++at) text.erase(at + 1, 1);
  return text;
}

std::string read_again(std::string_view text, std::size_t block) {
  fuzz::Bytes bytes{std::string(text), block};
  pack::MailboxReader reader(bytes);
  std::string again;
  std::size_t messages = 0;
  while (const auto head = reader.next()) {
    fuzz::require(head->starts_with("From "), "a message begins with its line");
    for (const char* name : {"Subject", "X-Mozilla-Status", "Date"})
      fuzz::require(pack::header_field(*head, name).find('\n') == std::string::npos, "a value is one line");
    static_cast<void>(pack::is_deleted(*head));
    again += *head;
    // Every other one is passed over unread.
    if (++messages % 2 == 1) reader.body([&](std::string_view body) { again += body; });
  }
  return again;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  fuzz::Bytes bytes{std::string(input.text()), input.choice(60) + 1};
  pack::MailboxReader reader(bytes);
  std::string again;
  while (const auto head = reader.next()) {
    again += *head;
    reader.body([&](std::string_view body) { again += body; });
  }
  fuzz::require(unquoted(again) == unquoted(from_first_message(with_line_feeds(input.text()))),
                "every byte arrives");
  fuzz::require(read_again(input.text(), 1) == read_again(input.text(), std::size_t{1} << 16),
                "blocks make no difference");
  return 0;
}
