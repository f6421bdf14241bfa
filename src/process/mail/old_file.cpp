#include "process/mail/old_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "shell/beside.h"
#include "shell/files.h"
#include "shell/replace.h"

namespace {

// For the owner alone, since the old file may be.
int make_private_file(const char* name) {
  const int file = open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  return file < 0 ? file : close(file);
}

// Into a file of our own: nothing of it is to be kept.
bool fill_file(const std::string& path, const std::string& text) {
  File file = open_file(path, "w");
  if (!file) return false;
  write_text(file, text);
  return std::ferror(file.get()) == 0 && std::fflush(file.get()) == 0 && fsync(fileno(file.get())) == 0 &&
         close_file(file);
}

// The file at the end of all links, which need not exist. Links without an end stay.
std::string place_of(const std::string& path) {
  const std::string place = end_of_links(path);
  return place.empty() ? path : place;
}

// What programs of Windows put in front of a text and, long ago, behind it.
std::string without_marks(std::string text) {
  constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
  while (text.ends_with('\x1A')) text.pop_back();
  return text.starts_with(byte_order_mark) ? text.substr(byte_order_mark.size()) : text;
}

std::string without_carriage_returns(const std::string& text) {
  std::string lines;
  for (const char c : text) {
    while (c == '\n' && lines.ends_with('\r')) lines.pop_back();
    lines += c;
  }
  return lines;
}

std::string with_last_line_ended(std::string text) {
  if (!text.empty() && text.back() != '\n') text += '\n';
  return text;
}

}  // namespace

OldFile::OldFile(std::string path, bool is_copy) : path_(std::move(path)) {
  if (lstat(path_.c_str(), &old_) != 0) return;
  if (!is_copy) keep_second_name();
  if (kept_.empty()) safe_ = keep_copy();
  if (!safe_) std::fprintf(stderr, "%s is not replaced: %s\n", path_.c_str(), std::strerror(errno));
}

OldFile OldFile::copy_of(const std::string& path) { return {place_of(path), true}; }

OldFile OldFile::second_name_of(const std::string& path) { return {path, false}; }

OldFile::~OldFile() {
  if (!kept_.empty()) unlink(kept_.c_str());
}

bool OldFile::keep_copy() {
  const std::optional<std::string> text = read_whole(path_);
  if (!text) return false;
  kept_ = make_beside(path_, make_private_file);
  return !kept_.empty() && fill_file(kept_, *text);
}

// A file system without further names leaves none.
void OldFile::keep_second_name() {
  kept_ = make_beside(path_, [&](const char* name) { return link(path_.c_str(), name); });
}

void OldFile::put_back() {
  if (kept_.empty()) {
    unlink(path_.c_str());
    std::fprintf(stderr, "%s could not be written whole and is gone\n", path_.c_str());
    return;
  }
  // In this order: a change of owner takes mode bits away. Of a link only the owner counts.
  static_cast<void>(lchown(kept_.c_str(), old_.st_uid, old_.st_gid));
  if (!S_ISLNK(old_.st_mode)) static_cast<void>(chmod(kept_.c_str(), old_.st_mode & 07777));
  if (std::rename(kept_.c_str(), path_.c_str()) == 0) {
    std::fprintf(stderr, "%s could not be written whole; the old one is back\n", path_.c_str());
    return;
  }
  std::fprintf(stderr, "%s could not be written whole; the old one is %s\n", path_.c_str(), kept_.c_str());
  kept_.clear();
}

bool holds_joined(const std::string& path, const std::vector<std::string>& parts) {
  std::string joined;
  for (const std::string& part : parts) joined += read_whole(part).value_or("");
  return read_whole(path).value_or("") == joined;
}

bool end_last_line(const std::string& path) {
  const std::optional<std::string> text = read_whole(path);
  if (!text || text->empty() || text->back() == '\n') return true;
  return replace_file(path, with_last_line_ended(*text));
}

bool mend_lines(const std::string& path) {
  const std::optional<std::string> text = read_whole(path);
  if (!text) return true;
  const std::string mended = without_carriage_returns(with_last_line_ended(without_marks(*text)));
  return mended == *text || replace_file(path, mended);
}
