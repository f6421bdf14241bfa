// Opening what lies in an open folder: never over a link, and nothing but files and folders.
#ifndef BRINDLE_PLACE_OPENED_H
#define BRINDLE_PLACE_OPENED_H

#include <sys/stat.h>

#include <optional>
#include <string>
#include <vector>

#include "place/descriptor.h"

namespace place {

/// Opens the file `name` in `folder` for reading; `found` receives what it is. Its time of access stays,
/// where we may say so. False, with errno set; EBUSY when something else lies there, which is left alone.
Descriptor open_file_in(int folder, const char* name, struct stat& found);

/// Opens the folder `name` in `folder` for reading. False, with errno set.
Descriptor open_folder_in(int folder, const char* name);

/// The names in a folder that is open for reading, sorted. No value, with errno set.
std::optional<std::vector<std::string>> names_in(int folder);

/// What the link `name` in `folder` says, whatever is there. No value, with errno set.
std::optional<std::string> target_of_link(int folder, const char* name);

/// Whether a file has neither grown nor been written between two looks at it.
bool is_unchanged(const struct stat& before, const struct stat& after);

/// As often a file that somebody writes at the same time is read, until it stays the same meanwhile.
inline constexpr int most_readings = 3;

/// The way to what is open under `number`, whatever name it has by now; for calls that take no open file.
std::string path_of_open(int number);

}  // namespace place

#endif
