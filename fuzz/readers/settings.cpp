// Key=value files: account settings, users.txt, printer descriptions.
#include "process/archive/settings.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "account/archive/settings.h"
#include "support/harness.h"

namespace {

constexpr const char* keys[] = {"Default", "MultiUser Migration", "Display Name", "SMTP Use Sicily", "="};
constexpr std::size_t line_limit = 127;

bool has_key(const std::vector<std::string>& pieces, const char* key) {
  return std::ranges::any_of(pieces, [key](const std::string& piece) { return fuzz::contains(piece, key); });
}

void check_value(std::FILE* file, const char* key, bool is_there) {
  const auto value = setting(file, key);
  fuzz::require(value.has_value() == is_there, "a value is found where a line holds the key");
  char* const given = get_string(file, key);
  fuzz::require((given != nullptr) == is_there, "the given function finds the same");
  if (value) {
    fuzz::require(value->size() <= line_limit, "a value is no longer than its line");
    fuzz::require(value->find_first_of(std::string("\n\0", 2)) == std::string::npos,
                  "a value holds neither a line end nor a NUL");
    fuzz::require(*value == given, "the given function gives the same value");
  }
  std::free(given);
  fuzz::require(flag_setting(file, key).has_value() == is_there,
                "a flag is found where a line holds the key");
  fuzz::require(get_char(file, key) == flag_setting(file, key).value_or('\0'),
                "the given function gives the same flag");
}

// The account's own reader takes carriage returns off, and does not look where a character is cut.
bool reads_the_same(std::string_view text, const std::vector<std::string>& pieces) {
  return !fuzz::contains(text, "\r") &&
         std::ranges::none_of(pieces, [](const std::string& piece) { return piece.size() >= line_limit; });
}

void compare(std::FILE* file, const char* key, const account::Settings& others) {
  fuzz::require(setting(file, key) == others.value(key), "both readers find the same value");
  fuzz::require(get_char(file, key) == others.flag(key), "both readers find the same flag");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  const auto file = fuzz::opened(input.text());
  const std::vector<std::string> pieces = fuzz::pieces_of(input.text(), line_limit);
  const account::Settings others(input.text());
  for (const char* key : keys) {
    check_value(file.get(), key, has_key(pieces, key));
    if (reads_the_same(input.text(), pieces)) compare(file.get(), key, others);
  }
  return 0;
}
