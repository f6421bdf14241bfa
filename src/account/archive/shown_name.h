// The names that Windows showed, of a zip's entries.
#ifndef BRINDLE_ACCOUNT_ARCHIVE_SHOWN_NAME_H
#define BRINDLE_ACCOUNT_ARCHIVE_SHOWN_NAME_H

#include <string>
#include <string_view>

namespace account {

/// The entry's name `bytes` in UTF-8. UTF-8 stays unless `charset` makes words of it and `is_marked` does not
/// forbid that: the entry says that it is UTF-8, or was not made on Windows. Else it is read in `charset`,
/// and where that fails in CP437, which has every byte.
std::string shown_name(std::string_view bytes, const char* charset, bool is_marked);

/// `path` with each part as a file system takes it: one of more than 255 bytes is cut at a character, before
/// its ending.
std::string fitting_path(std::string_view path);

}  // namespace account

#endif
