// Settings in GConf, as its own daemon would give them.
#ifndef BRINDLE_ACCOUNT_READERS_GCONF_H
#define BRINDLE_ACCOUNT_READERS_GCONF_H

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace account {

struct GConfValue {
  /// Nothing for a type that is none of the three, and behind a fault.
  std::variant<std::monostate, std::string, bool, std::vector<std::string>> value;

  /// The settings file is not well-formed, and the key lies at the fault or behind it: GConf has an empty
  /// text or nothing for it.
  bool damaged = false;

  /// The value as one text, or as a list; empty when it is something else.
  std::string text() const;
  std::vector<std::string> list() const;
};

/// The value of `key`, e.g. "/apps/evolution/mail/accounts", for the owner of `home`: from the daemon that
/// this process can reach when it is this user's own home, else from the settings files in `home`. No value
/// when the key is not set. Never starts a daemon, which would write into the home.
std::optional<GConfValue> read_gconf(const std::string& home, const std::string& key);

}  // namespace account

#endif
