#include "process/archive/encryption.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "process/archive/code_page.h"

namespace {

constexpr std::size_t room_for_password = 300;  // quotes and "-P" included

// "UNZIP=", the person's own options and, for a while, the password. The environment points at it, so it
// stays where it is until the program ends.
std::vector<char> variable;
std::size_t own_options = 0;  // in bytes, "UNZIP=" included

bool is_space(char c) { return std::strchr(" \t\n\v\f\r", c) != nullptr && c != '\0'; }

bool has_space(const std::string& text) { return std::any_of(text.begin(), text.end(), is_space); }

// unzip takes a word up to the next white space as it stands. One in quotes may have white space, but what it
// does about a backslash in there is not reliable: it copies a text onto itself with strcpy.
std::string as_option(const std::string& password) {
  return has_space(password) ? "\"-P" + password + "\"" : "-P" + password;
}

bool is_encrypted(const Zip& zip) {
  for (std::uint64_t number = 0; number < zip.count(); ++number)
    if (zip.entry(number).encryption != Encryption::none) return true;
  return false;
}

// The one that is read fastest, of those whose checksum can tell a wrong password: not the empty ones, if
// there are others.
std::optional<std::uint64_t> smallest_encrypted(const Zip& zip) {
  std::optional<std::uint64_t> smallest;
  std::uint64_t size = 0;
  for (std::uint64_t number = 0; number < zip.count(); ++number) {
    const ZipEntry entry = zip.entry(number);
    if (entry.encryption == Encryption::none || !entry.can_be_read) continue;
    const std::uint64_t rank = entry.size - 1;  // an empty one comes last
    if (smallest && rank >= size) continue;
    smallest = number;
    size = rank;
  }
  return smallest;
}

bool opens(const Zip& zip, std::uint64_t number, const std::string& password) {
  return zip.read(number, password.c_str(), [](std::string_view) { return true; }) == Zip::Reading::whole;
}

}  // namespace

Encryption encryption_of_archive(const std::string& path) {
  const Zip zip(path);
  if (!zip) return Encryption::none;
  Encryption worst = Encryption::none;
  for (std::uint64_t number = 0; number < zip.count(); ++number)
    worst = std::max(worst, zip.entry(number).encryption);
  return worst;
}

std::optional<std::string> password_for(const std::string& path, const std::string& typed,
                                        const char* code_page) {
  if (typed.empty()) return std::nullopt;
  const Zip zip(path);
  if (!zip || !is_encrypted(zip)) return std::nullopt;
  const auto entry = smallest_encrypted(zip);
  if (!entry || opens(zip, *entry, typed)) return typed;
  std::optional<std::string> on_windows = converted(typed, "UTF-8", code_page);
  return on_windows && opens(zip, *entry, *on_windows) ? on_windows : std::nullopt;
}

bool unzip_takes(const std::string& password) {
  return !has_space(password) || password.find_first_of("\"\\") == std::string::npos;
}

void prepare_unzip_variable() {
  if (!variable.empty()) return;
  const char* options = std::getenv("UNZIP");
  std::string text = std::string("UNZIP=") + (options != nullptr ? options : "");
  if (options != nullptr && *options != '\0') text += ' ';
  own_options = text.size();
  variable.assign(own_options + room_for_password, '\0');
  std::copy(text.begin(), text.end(), variable.begin());
  putenv(variable.data());
}

PasswordForUnzip::PasswordForUnzip(const std::string& password) {
  if (password.empty() || !unzip_takes(password)) return;
  std::string option = as_option(password);
  if (own_options + option.size() < variable.size())
    std::copy(option.begin(), option.end(), variable.begin() + static_cast<std::ptrdiff_t>(own_options));
  wipe(option);
}

PasswordForUnzip::~PasswordForUnzip() { take_back(); }

void PasswordForUnzip::take_back() {
  if (!variable.empty()) explicit_bzero(variable.data() + own_options, variable.size() - own_options);
}

void wipe(std::string& secret) {
  explicit_bzero(secret.data(), secret.size());
  secret.clear();
}
