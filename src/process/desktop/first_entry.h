// The one entry of a folder that counts.
#ifndef BRINDLE_PROCESS_DESKTOP_FIRST_ENTRY_H
#define BRINDLE_PROCESS_DESKTOP_FIRST_ENTRY_H

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

/// The first entry of `folder`, in directory order, that is none of `others`; whether it is a file or a
/// folder does not matter. No value after a line on standard error: `cannot_open` with the system error when
/// the folder cannot be opened (tell_unlisted), else "No WANTED in FOLDER".
std::optional<std::string> first_entry(const std::string& folder,
                                       std::initializer_list<std::string_view> others,
                                       const char* cannot_open, const char* wanted);

#endif
