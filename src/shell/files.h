// Files and folders: existence, listing in directory order, line ends.
#ifndef BRINDLE_SHELL_FILES_H
#define BRINDLE_SHELL_FILES_H

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct FileCloser {
  int error = 0;  // of the first write that failed; a later one may meet another or none

  void operator()(std::FILE* file) const { std::fclose(file); }
};

/// An open stream that closes itself. One that was written to is closed with close_file: only that tells
/// whether everything was written.
using File = std::unique_ptr<std::FILE, FileCloser>;

/// fopen with an owner, for the modes "r", "w" and "wx". Empty, with errno set, when the file cannot be
/// opened. A pipe without a writer is an empty file. What is to be written is opened where keep::spot_at_end
/// finds it, and "wx" makes it where keep::spot_of does.
File open_file(const std::string& path, const char* mode);

/// Removes the file or link at `path`, which lies where keep::spot_of finds it. False, with errno set.
bool remove_file(const std::string& path);

/// Makes the folder `path`, which lies where keep::spot_of finds it. False, with errno set.
bool make_folder(const std::string& path);

/// Appends `text`, which may hold anything, to an open stream. A failing disk is told by close_file.
void write_text(File& file, std::string_view text);

/// Closes a stream that was written to; `file` is empty afterwards. False, with errno set, when any byte
/// since it was opened did not reach the file: a full disk, a quota, a server that is gone. What lies there
/// is then cut short, and the caller's to remove. An empty `file` is false as well.
[[nodiscard]] bool close_file(File& file);

/// All bytes of the file at `path`. No value, with errno set, when it cannot be opened or read to its end.
std::optional<std::string> read_whole(const std::string& path);

/// True when both files can be read to their end and hold the same bytes: whether a command has copied a file
/// whole is not seen by its result. Else false, with errno set when one of them cannot be read and 0
/// otherwise.
bool same_content(const std::string& path, const std::string& other);

/// Whether the command that was to copy `path` to `other` has copied it whole, by its exit status: one that
/// has succeeded and left as many bytes has. The bytes are looked at only when it tells of a failure. Else
/// false, with errno as above.
bool is_copied(int status, const std::string& path, const std::string& other);

/// Converts the file's line ends from CR LF to LF in place with dos2unix, which SYSTEM runs: the system log
/// tells of a failure, the caller does not see it. Where dos2unix left carriage returns before a line feed,
/// because it took the file for binary, is missing or failed, they are removed here, and with them a byte
/// order mark in front and DOS's end mark, Ctrl-Z, behind. When that cannot be written, the file stays and
/// standard error says so. True when each line of the file, the last one too, is known to end in LF alone.
bool convert_line_ends(const std::string& path);

/// convert_line_ends with a dos2unix that says nothing itself: only the system log tells of a failure.
bool convert_line_ends_silently(const std::string& path);

/// The entries of a folder without "." and "..", in directory order, as they are at the call: a migrator
/// may add files to the folder while it works. No value, with errno set, when the folder cannot be opened.
std::optional<std::vector<std::string>> list_folder(const std::string& path);

/// perror with `text` after list_folder has failed. Where `path` is there, its name on a line of its own:
/// `text` does not tell whose folder is meant, and somebody may have put another thing in its place.
void tell_unlisted(const char* text, const std::string& path);

/// True when `text` holds `part`.
bool contains(const std::string& text, const char* part);

// ---- Given name and signature ---------------------------------------------------------------------------

/// 1 when DIR_PATH/PATH can be opened for reading, else 0. Despite the name a readable plain file counts
/// as well, and an unreadable folder does not.
int is_folder(const char* dir_path, const char* path);

/// convert_line_ends by a quiet dos2unix: nothing is logged and the result is not looked at.
void dos_to_unix(const char* account_path);

#endif
