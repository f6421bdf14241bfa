#include "shell/files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "keep/keep.h"
#include "place/beneath.h"
#include "shell/blocks.h"
#include "shell/replace.h"
#include "shell/run.h"

namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
constexpr char end_of_text = '\x1A';  // Ctrl-Z, the last character of a text for DOS

// What dos2unix makes of a text, without the end that DOS marks.
std::string with_plain_line_ends(std::string_view text) {
  if (text.starts_with(byte_order_mark)) text.remove_prefix(byte_order_mark.size());
  return without_carriage_returns(text.substr(0, text.find_last_not_of(end_of_text) + 1));
}

// dos2unix passes over a file that it takes for binary, as it does with one that holds a control character,
// and says nothing of it. Like dos2unix this leaves alone what is no plain file. Most have nothing to mend,
// which is seen without holding the text. True when nothing is left for anybody to mend, either.
bool finish_line_ends(const std::string& path) {
  std::error_code unknown;
  if (!std::filesystem::is_regular_file(std::filesystem::symlink_status(path, unknown))) return false;
  const std::optional<LineEnds> ends = line_ends_of(path);
  if (!ends) return false;
  if (!ends->has_mark && !ends->has_returns && ends->last != end_of_text) return ends->last == '\n';
  const std::optional<std::string> text = read_whole(path);
  const std::string plain = with_plain_line_ends(text.value_or(""));
  if (text && plain != *text && !replace_file(path, plain)) std::perror(path.c_str());
  return false;
}

bool has_size_of(const std::string& path, const std::string& other) {
  std::error_code unknown;
  const std::uintmax_t size = std::filesystem::file_size(path, unknown);
  if (unknown) return false;
  const std::uintmax_t other_size = std::filesystem::file_size(other, unknown);
  return !unknown && size == other_size;
}

// Somebody may have put a pipe there to keep us waiting.
Descriptor open_to_read(const std::string& path) {
  return Descriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

Descriptor open_to_write(const std::string& path, bool is_new) {
  const place::Spot spot = is_new ? keep::spot_of(path) : keep::spot_at_end(path);
  if (!is_open(spot)) return Descriptor();
  const int flags = O_WRONLY | O_CREAT | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC | (is_new ? O_EXCL : O_TRUNC);
  return Descriptor(openat(spot.folder.number(), spot.name.c_str(), flags, 0666));
}

}  // namespace

File open_file(const std::string& path, const char* mode) {
  const bool is_read = mode[0] == 'r';
  Descriptor file = is_read ? open_to_read(path) : open_to_write(path, mode[1] == 'x');
  File opened(file ? fdopen(file.number(), is_read ? "r" : "w") : nullptr);
  if (opened) static_cast<void>(file.release());
  return opened;
}

bool remove_file(const std::string& path) {
  const place::Spot spot = keep::spot_of(path);
  return is_open(spot) && unlinkat(spot.folder.number(), spot.name.c_str(), 0) == 0;
}

bool make_folder(const std::string& path) {
  const place::Spot spot = keep::spot_of(path);
  return is_open(spot) && mkdirat(spot.folder.number(), spot.name.c_str(), 0777) == 0;
}

void write_text(File& file, std::string_view text) {
  const bool is_written = std::fwrite(text.data(), 1, text.size(), file.get()) == text.size();
  int& first_error = file.get_deleter().error;
  if (!is_written && first_error == 0) first_error = errno;
}

bool close_file(File& file) {
  if (!file) return false;
  // An error that an earlier write met, with errno long overwritten, shows here only.
  const bool failed_before = std::ferror(file.get()) != 0;
  const int first_error = file.get_deleter().error;
  errno = 0;
  const bool closed = std::fclose(file.release()) == 0;
  if (closed && !failed_before) return true;
  if (first_error != 0) errno = first_error;
  if (errno == 0) errno = EIO;
  return false;
}

std::optional<std::string> read_whole(const std::string& path) {
  const File file = open_file(path, "r");
  if (!file) return std::nullopt;
  std::string text;
  std::array<char, 1 << 16> block;
  while (const std::size_t found = std::fread(block.data(), 1, block.size(), file.get()))
    text.append(block.data(), found);
  if (std::ferror(file.get()) != 0) return std::nullopt;
  return text;
}

bool same_content(const std::string& path, const std::string& other) {
  BlockReader file(path);
  if (!file.is_open()) return false;
  BlockReader other_file(other);
  if (!other_file.is_open()) return false;
  for (;;) {
    const std::string_view block = file.next();
    if (file.has_failed()) return false;
    const std::string_view other_block = other_file.next();
    if (other_file.has_failed()) return false;
    errno = 0;
    if (block != other_block) return false;
    if (block.empty()) return true;
  }
}

bool is_copied(int status, const std::string& path, const std::string& other) {
  return (status == 0 && has_size_of(path, other)) || same_content(path, other);
}

bool convert_line_ends(const std::string& path) {
  SYSTEM(compose("dos2unix %s", path));
  return finish_line_ends(path);
}

bool convert_line_ends_silently(const std::string& path) {
  SYSTEM(compose("dos2unix -q %s", path));
  return finish_line_ends(path);
}

std::optional<std::vector<std::string>> list_folder(const std::string& path) {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.c_str()), closedir);
  if (!folder) return std::nullopt;
  std::vector<std::string> names;
  while (const dirent* entry = readdir(folder.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return names;
}

void tell_unlisted(const char* text, const std::string& path) {
  const int error = errno;
  std::perror(text);
  if (error == ENOENT) return;
  errno = error;
  std::perror(path.c_str());
}

bool contains(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

int is_folder(const char* dir_path, const char* path) {
  const std::string whole = std::string(dir_path) + "/" + path;
  return open_file(whole, "r") ? 1 : 0;
}

void dos_to_unix(const char* account_path) {
  shell::run_unlogged(compose("dos2unix -q \"%s\"", account_path));
  finish_line_ends(account_path);
}
