// Settings files of KDE and desktop links: [groups] of key=value lines.
#ifndef BRINDLE_ACCOUNT_READERS_KCONFIG_H
#define BRINDLE_ACCOUNT_READERS_KCONFIG_H

#include <optional>
#include <string>
#include <string_view>

namespace account {

/// The value of `key` in `group` of the settings file `text`, without the blanks around it; the last one when
/// there are several. A key may be marked, as in "key[$e]". No value when the key is not there.
std::optional<std::string> read_kconfig(std::string_view text, std::string_view group, std::string_view key);

}  // namespace account

#endif
