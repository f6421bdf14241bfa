// Small files of a home, whole.
#ifndef BRINDLE_ACCOUNT_READERS_FILE_H
#define BRINDLE_ACCOUNT_READERS_FILE_H

#include <cstddef>
#include <optional>
#include <string>

namespace account {

/// Far more than any settings, bookmark or cookie file has.
inline constexpr std::size_t largest_text = 16 << 20;

/// All bytes of the file at `path`, at most `limit` of them. No value when it cannot be read, and for
/// anything but a file: a pipe in a home must not hold up the account.
std::optional<std::string> read_whole(const std::string& path, std::size_t limit = largest_text);

}  // namespace account

#endif
