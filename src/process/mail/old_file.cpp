#include "process/mail/old_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "keep/keep.h"
#include "place/opened.h"
#include "shell/beside.h"
#include "shell/blocks.h"
#include "shell/files.h"
#include "shell/replace.h"

namespace {

bool write_at_end(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(file, text.data(), text.size());
    if (written < 0 && errno != EINTR) return false;
    if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

// Into a file of our own: nothing of it is to be kept.
bool fill_file(Descriptor& file, BlockReader& from) {
  for (std::string_view block = from.next(); !block.empty(); block = from.next())
    if (!write_at_end(file.number(), block)) return false;
  return !from.has_failed() && fsync(file.number()) == 0 && file.close();
}

Descriptor opened_at(const place::Spot& spot) {
  return Descriptor(
      openat(spot.folder.number(), spot.name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
}

std::optional<std::uintmax_t> size_of_all(const std::vector<std::string>& files) {
  std::uintmax_t size = 0;
  std::error_code unknown;
  for (const std::string& file : files) {
    size += std::filesystem::file_size(file, unknown);
    if (unknown) return std::nullopt;
  }
  return size;
}

// What programs of Windows put in front of a text and, long ago, behind it.
std::string without_marks(std::string text) {
  constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
  while (text.ends_with('\x1A')) text.pop_back();
  return text.starts_with(byte_order_mark) ? text.substr(byte_order_mark.size()) : text;
}

std::string with_last_line_ended(std::string text) {
  if (!text.empty() && text.back() != '\n') text += '\n';
  return text;
}

}  // namespace

OldFile::OldFile(std::string path, place::Spot spot, bool is_copy)
    : path_(std::move(path)), spot_(std::move(spot)) {
  if (fstatat(spot_.folder.number(), spot_.name.c_str(), &old_, AT_SYMLINK_NOFOLLOW) != 0) return;
  if (!is_copy) keep_second_name();
  if (kept_.empty()) safe_ = keep_copy();
  if (!safe_) std::fprintf(stderr, "%s is not replaced: %s\n", path_.c_str(), std::strerror(errno));
}

// Links without an end stay.
OldFile OldFile::copy_of(const std::string& path) {
  const std::string end = place::end_of_links(path);
  return {end.empty() ? path : end, end.empty() ? keep::spot_of(path) : keep::spot_at_end(path), true};
}

OldFile OldFile::second_name_of(const std::string& path) { return {path, keep::spot_of(path), false}; }

OldFile::~OldFile() {
  if (!kept_.empty()) unlinkat(spot_.folder.number(), kept_.c_str(), 0);
}

// For the owner alone, since the old file may be.
bool OldFile::keep_copy() {
  const Descriptor old = opened_at(spot_);
  if (!old) return false;
  BlockReader reader(place::path_of_open(old.number()));
  if (!reader.is_open()) return false;
  Descriptor copy;
  kept_ = make_beside(spot_, [&](const char* name) {
    copy = Descriptor(
        openat(spot_.folder.number(), name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    return copy.number();
  });
  return !kept_.empty() && fill_file(copy, reader);
}

// A file system without further names leaves none.
void OldFile::keep_second_name() {
  const int folder = spot_.folder.number();
  kept_ = make_beside(spot_,
                      [&](const char* name) { return linkat(folder, spot_.name.c_str(), folder, name, 0); });
}

bool OldFile::move_back() const {
  const int folder = spot_.folder.number();
  const Descriptor kept(openat(folder, kept_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  // In this order: a change of owner takes mode bits away. Of a link only the owner counts.
  if (kept) {
    static_cast<void>(fchown(kept.number(), old_.st_uid, old_.st_gid));
    static_cast<void>(fchmod(kept.number(), old_.st_mode & 07777));
  } else if (S_ISLNK(old_.st_mode)) {
    static_cast<void>(fchownat(folder, kept_.c_str(), old_.st_uid, old_.st_gid, AT_SYMLINK_NOFOLLOW));
  }
  return renameat(folder, kept_.c_str(), folder, spot_.name.c_str()) == 0;
}

void OldFile::put_back() {
  if (kept_.empty()) {
    static_cast<void>(remove_file(path_));  // the commands may have made its folder
    std::fprintf(stderr, "%s could not be written whole and is gone\n", path_.c_str());
    return;
  }
  if (move_back()) {
    std::fprintf(stderr, "%s could not be written whole; the old one is back\n", path_.c_str());
    return;
  }
  const std::string kept = std::filesystem::path(path_).parent_path() / kept_;
  std::fprintf(stderr, "%s could not be written whole; the old one is %s\n", path_.c_str(), kept.c_str());
  kept_.clear();
}

bool holds_joined(const std::string& path, const std::vector<std::string>& parts) {
  BlockReader joined(path);
  bool is_empty = true;
  for (const std::string& part : parts) {
    BlockReader file(part);
    bool has_any = false;
    for (std::string_view block = file.next(); !block.empty(); block = file.next()) {
      if (joined.next(block.size()) != block) return false;
      has_any = true;
    }
    if (has_any && file.has_failed()) return false;
    is_empty = is_empty && !has_any;
  }
  return joined.next().empty() && (is_empty || !joined.has_failed());
}

bool is_joined(int status, const std::string& path, const std::vector<std::string>& parts) {
  if (status == 0)
    if (const auto size = size_of_all(parts); size && size == size_of_all({path})) return true;
  return holds_joined(path, parts);
}

bool end_last_line(const std::string& path) {
  const std::optional<LineEnds> ends = line_ends_of(path);
  if (ends && ends->last == '\n') return true;
  const std::optional<std::string> text = read_whole(path);
  if (!text || text->empty() || text->back() == '\n') return true;
  return replace_file(path, with_last_line_ended(*text));
}

bool mend_lines(const std::string& path) {
  const std::optional<LineEnds> ends = line_ends_of(path);
  if (!ends || (!ends->has_mark && !ends->has_returns && ends->last == '\n')) return true;
  const std::optional<std::string> text = read_whole(path);
  if (!text) return true;
  const std::string mended = without_carriage_returns(with_last_line_ended(without_marks(*text)));
  return mended == *text || replace_file(path, mended);
}

bool convert_and_mend_lines(const std::string& path) { return convert_line_ends(path) || mend_lines(path); }
