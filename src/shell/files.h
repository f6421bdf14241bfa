// Files and folders: existence, listing in directory order, reading in pieces, line ends.
#ifndef BRINDLE_SHELL_FILES_H
#define BRINDLE_SHELL_FILES_H

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

/// An open stream that closes itself.
using File = std::unique_ptr<std::FILE, FileCloser>;

/// fopen with an owner. Empty, with errno set, when the file cannot be opened.
File open_file(const std::string& path, const char* mode);

/// Appends `text`, which may hold anything, to an open stream. A failing disk is not told.
void write_text(const File& file, const std::string& text);

/// Replaces the file at `path` by `text`. False, with errno set, when it cannot be opened.
bool replace_file(const std::string& path, const std::string& text);

/// 1 when DIR_PATH/PATH can be opened for reading, else 0. Despite the name a readable plain file counts
/// as well, and an unreadable folder does not.
int is_folder(const char* dir_path, const char* path);

/// Converts the file's line ends from CR LF to LF in place with dos2unix. Nothing is logged and the
/// result is not looked at.
void dos_to_unix(const char* account_path);

/// The same for a file whose conversion people find in the system log when it fails: by a logged command.
void convert_line_ends(const std::string& path);

/// The entries of a folder without "." and "..", in directory order, as they are at the call: a migrator
/// may add files to the folder while it works. No value, with errno set, when the folder cannot be opened.
std::optional<std::vector<std::string>> list_folder(const std::string& path);

/// Reads the next line into `piece`, newline included, but at most `limit` characters of it: the rest of
/// a longer line comes as pieces of its own. NUL bytes are kept. False at the end of the file.
bool read_piece(std::FILE* file, std::size_t limit, std::string& piece);

/// True when `text` holds `part`.
bool contains(const std::string& text, const char* part);

#endif
