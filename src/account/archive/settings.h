// The settings files of an archive: Key=Value lines, as the wizard reads them.
#ifndef BRINDLE_ACCOUNT_ARCHIVE_SETTINGS_H
#define BRINDLE_ACCOUNT_ARCHIVE_SETTINGS_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace account {

/// One settings file. Lines end with LF or CR LF and are read in pieces of 127 bytes, each of which counts as
/// a line. A key is found anywhere in a line, so that another key's value can answer for it.
class Settings {
 public:
  explicit Settings(std::string_view text);

  /// What follows the first "=" of the first line that contains `key`; empty when that line has none. No
  /// value when no line contains it.
  std::optional<std::string> value(std::string_view key) const;

  /// The last character of that line; 0 for an empty one and without a line.
  char flag(std::string_view key) const;

  /// The value, empty when no line contains the key.
  std::string text(std::string_view key) const { return value(key).value_or(""); }

 private:
  const std::string* line_with(std::string_view key) const;

  std::vector<std::string> lines_;  // without line ends
};

}  // namespace account

#endif
