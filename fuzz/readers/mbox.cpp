// A mail folder, split into one file a message: every byte arrives, or is dropped by a rule.
#include "process/mail/folders/mbox.h"

#include <filesystem>
#include <string>

#include "support/harness.h"

namespace {

constexpr std::size_t piece_limit = 1023;
constexpr std::size_t longest = std::size_t{1} << 18;

// Some inputs stand for a large folder, whose last message is longer than what is held in memory.
std::string mailbox_of(const fuzz::Input& input) {
  std::string text(input.text());
  const std::size_t last = input.choice(64) == 63 ? text.rfind('\n', text.size() - 1) : std::string::npos;
  if (last == std::string::npos) return text;
  const std::string line = text.substr(last);
  while (text.size() < longest) text += line + std::string(500, line.back());
  return text;
}

// What should come of a mailbox: its messages, by the rules alone.
std::vector<std::string> expected_messages(std::string_view mailbox) {
  std::vector<std::string> messages;
  bool drops = false;
  for (const std::string& piece : fuzz::pieces_of(mailbox, piece_limit)) {
    if (piece.starts_with("From ")) {
      const std::string after = piece.substr(5, piece.find('\n') - 5);
      drops = piece.size() < 10 || after.size() < 5 || after[4] == '-';
      messages.push_back(piece);
      continue;
    }
    if (fuzz::contains(piece, "--")) drops = false;
    if (fuzz::contains(piece, "boundary=\"")) drops = true;
    if (messages.empty() || (drops && fuzz::contains(piece, "Content-Transfer-Encoding: base64"))) continue;
    messages.back() += piece;
  }
  return messages;
}

bool split(const std::string& mailbox, const std::string& prefix) {
  EarlierMessages earlier(prefix);
  return split_mbox(mailbox, prefix, earlier);
}

void check(const std::string& folder, const std::vector<std::string>& expected) {
  fuzz::require(fuzz::names_in(folder).size() == expected.size(), "there is one file for each message");
  for (std::size_t at = 0; at < expected.size(); ++at)
    fuzz::require(fuzz::read_file(folder + "/Inbox" + std::to_string(at + 2)) == expected[at],
                  "every byte of a message is in its file");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string& home = fuzz::empty_home();
  const std::string mailbox = home + "/Inbox", folder = home + "/cur";
  const std::string text = mailbox_of(fuzz::Input(data, size));
  const std::vector<std::string> expected = expected_messages(text);
  if (expected.size() > 40) return 0;  // as many files as that only take time
  fuzz::write_file(mailbox, text);
  std::filesystem::create_directory(folder);
  fuzz::require(split(mailbox, folder + "/Inbox"), "a mailbox can be split");
  check(folder, expected);
  fuzz::require(split(mailbox, folder + "/Inbox"), "it can be split again");
  check(folder, expected);
  return 0;
}
