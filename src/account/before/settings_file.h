// A file of "key=value" lines of an archive, as the wizard reads it: in pieces of 127 bytes, a key found on
// the first piece that holds it anywhere.
#ifndef BRINDLE_ACCOUNT_BEFORE_SETTINGS_FILE_H
#define BRINDLE_ACCOUNT_BEFORE_SETTINGS_FILE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "account/archive/archive.h"

namespace account {

class SettingsFile {
 public:
  SettingsFile(const Archive& archive, const Entry& entry);

  /// As the wizard finds it; no value without such a line.
  std::optional<std::string> value(std::string_view key) const;

  /// Keys of the lines that are longer than a piece.
  std::vector<std::string> cut_keys() const;

  /// True when there is a line for that key, but another one is found for it.
  bool hides(std::string_view key) const;

 private:
  std::vector<std::string> lines_;   // whole
  std::vector<std::string> pieces_;  // as they are read
};

}  // namespace account

#endif
