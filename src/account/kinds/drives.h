// Network drives: places of the file manager and links on the desktop.
#ifndef BRINDLE_ACCOUNT_KINDS_DRIVES_H
#define BRINDLE_ACCOUNT_KINDS_DRIVES_H

#include <optional>
#include <string>
#include <string_view>

#include "account/kinds/case.h"

namespace account {

/// What a drive's file holds, as bytes of the archive, whatever their character set.
struct Drive {
  std::string share;
  std::string name;
};

inline constexpr std::size_t largest_drive = 1 << 20;  ///< bytes of a drive's file that are read at most

/// The drive in a file's `text`: the first two lines, read in pieces of 1023 bytes of which each counts as a
/// line; a NUL ends a value. No value when there are fewer lines.
std::optional<Drive> drive_of(std::string_view text);

/// A drive has arrived when the file manager's list, which must be well-formed, names it once with its
/// address, and a link of its name on the desktop leads there.
void compare_drives(const Case& of, Tally& tally);

}  // namespace account

#endif
