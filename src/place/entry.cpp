#include "place/entry.h"

#include <fcntl.h>
#include <unistd.h>
#include <xxhash.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <memory>
#include <new>

#include "place/bytes.h"
#include "place/opened.h"

namespace place {

namespace {

// ---- The digest of a file ----

struct FreeState {
  void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
};

struct Read {
  XXH128_hash_t digest;
  std::uint64_t size;
};

void append_hexadecimal(std::string& text, std::uint64_t number) {
  for (int shift = 60; shift >= 0; shift -= 4) text += "0123456789abcdef"[number >> shift & 15];
}

std::string text_of(const Read& read) {
  std::string text;
  text.reserve(48);
  append_hexadecimal(text, read.digest.high64);
  append_hexadecimal(text, read.digest.low64);
  return text + ":" + std::to_string(read.size);
}

// As many bytes as there are, up to `size`; fewer at the end only. No value, with errno set.
std::optional<std::size_t> read_some(int file, char* memory, std::size_t size) {
  std::size_t have = 0;
  while (have < size) {
    const ssize_t more = read(file, memory + have, size - have);
    if (more < 0 && errno == EINTR) continue;
    if (more < 0) return std::nullopt;
    if (more == 0) break;
    have += static_cast<std::size_t>(more);
  }
  return have;
}

std::optional<Read> read_long(int file, std::uint64_t most) {
  std::vector<char>& memory = reading_memory();
  const std::unique_ptr<XXH3_state_t, FreeState> state(XXH3_createState());
  if (!state) throw std::bad_alloc();
  XXH3_128bits_reset(state.get());
  std::uint64_t size = 0;
  while (size < most) {
    const std::size_t wanted = std::min<std::uint64_t>(memory.size(), most - size);
    const std::optional<std::size_t> have = read_some(file, memory.data(), wanted);
    if (!have) return std::nullopt;
    XXH3_128bits_update(state.get(), memory.data(), *have);
    size += *have;
    if (*have < wanted) break;
  }
  return Read{XXH3_128bits_digest(state.get()), size};
}

std::optional<Read> read_short(int file, std::size_t size) {
  std::vector<char>& memory = reading_memory();
  const std::optional<std::size_t> have = read_some(file, memory.data(), size);
  if (!have) return std::nullopt;
  return Read{XXH3_128bits(memory.data(), *have), *have};
}

std::optional<Read> read_without_size(int file) {
  const std::optional<Read> read = read_long(file, most_without_size);
  if (!read || read->size < most_without_size) return read;
  errno = EFBIG;
  return std::nullopt;
}

std::optional<Read> read_all(int file, const struct stat& what) {
  if (what.st_size == 0) return read_without_size(file);
  const auto size = static_cast<std::uint64_t>(what.st_size);
  return size <= reading_memory().size() ? read_short(file, size) : read_long(file, size);
}

// The kernel reads so few bytes at once that nobody writes in between.
bool is_read_at_once(const struct stat& what) { return what.st_size > 0 && what.st_size <= 4096; }

// `what` becomes what the file is when it has been read.
std::optional<std::string> read_unchanged(int file, struct stat& what) {
  for (int reading = 1; reading <= most_readings; ++reading) {
    const std::optional<Read> read = read_all(file, what);
    if (!read) return std::nullopt;
    if (is_read_at_once(what)) return text_of(*read);
    struct stat after {};
    if (fstat(file, &after) != 0) return std::nullopt;
    if (is_unchanged(what, after)) return text_of(*read);
    what = after;
    if (lseek(file, 0, SEEK_SET) != 0) return std::nullopt;
  }
  errno = EBUSY;
  return std::nullopt;
}

// ---- What lies at a spot ----

Type type_of(mode_t mode) {
  if (S_ISREG(mode)) return Type::file;
  if (S_ISDIR(mode)) return Type::folder;
  return S_ISLNK(mode) ? Type::link : Type::other;
}

std::string kind_and_device(const struct stat& what) {
  return std::to_string(std::uint64_t{what.st_rdev} << 4 | (what.st_mode & S_IFMT) >> 12);
}

// No value, with errno set. A file's `what` may become newer.
std::optional<std::string> content_of(int folder, const char* name, struct stat& what, Content content) {
  switch (type_of(what.st_mode)) {
    case Type::link:
      return target_of_link(folder, name);
    case Type::other:
      return kind_and_device(what);
    case Type::file:
      break;
    default:
      return "";
  }
  if (content == Content::not_read) return "";
  const Descriptor file = open_file_in(folder, name, what);
  return file ? read_unchanged(file.number(), what) : std::nullopt;
}

std::optional<Entry> nothing_or_error() {
  return errno == ENOENT || errno == ENOTDIR ? std::optional(Entry()) : std::nullopt;
}

// ---- Its text ----

constexpr std::array<const char*, 5> words = {"nothing", "file", "folder", "link", "other"};

std::optional<Type> type_for(std::string_view word) {
  for (std::size_t number = 0; number < words.size(); ++number)
    if (word == words[number]) return static_cast<Type>(number);
  return std::nullopt;
}

std::string_view cut_to_blank(std::string_view& text) {
  const std::string_view part = text.substr(0, text.find(' '));
  text.remove_prefix(std::min(text.size(), part.size() + 1));
  return part;
}

template <class Number>
bool read_number(std::string_view text, Number& number, int base = 10) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  return error == std::errc() && end == text.data() + text.size();
}

bool read_time(std::string_view text, timespec& time) {
  const std::size_t point = text.find('.');
  return point != std::string_view::npos && read_number(text.substr(0, point), time.tv_sec) &&
         read_number(text.substr(point + 1), time.tv_nsec) && time.tv_nsec >= 0;
}

}  // namespace

std::optional<Entry> look_in(int folder, const char* name, Content content) {
  struct stat what {};
  if (fstatat(folder, name, &what, AT_SYMLINK_NOFOLLOW) != 0) return nothing_or_error();
  std::optional<std::string> said = content_of(folder, name, what, content);
  if (!said) return errno == ENOENT ? std::optional(Entry()) : std::nullopt;  // it has just gone
  Entry entry;
  entry.type = type_of(what.st_mode);
  entry.mode = what.st_mode & 07777;
  entry.uid = what.st_uid;
  entry.gid = what.st_gid;
  entry.modified = what.st_mtim;
  if (entry.type == Type::file && what.st_nlink > 1) entry.inode = what.st_ino;
  entry.content = std::move(*said);
  return entry;
}

std::optional<Entry> look_at(const Spot& spot, Content content) {
  return is_open(spot) ? look_in(spot.folder.number(), spot.name.c_str(), content) : nothing_or_error();
}

std::optional<Entry> look_beneath(int top, const std::string& path, Content content) {
  if (path.empty()) return look_at({open_beneath(top, path, O_RDONLY | O_DIRECTORY), "."}, content);
  return look_at(spot_beneath(top, path), content);
}

std::string text_of(const Entry& entry) {
  const char* word = words.at(static_cast<std::size_t>(entry.type));
  if (entry.type == Type::nothing) return word;
  std::array<char, 128> text;
  std::snprintf(text.data(), text.size(), "%s %04o %u %u %lld.%09ld %llu", word, entry.mode, entry.uid,
                entry.gid, static_cast<long long>(entry.modified.tv_sec),
                static_cast<long>(entry.modified.tv_nsec), static_cast<unsigned long long>(entry.inode));
  return entry.content.empty() ? text.data() : std::string(text.data()) + " " + entry.content;
}

// Written again it must be the same text, so that there is one text for each entry.
std::optional<Entry> entry_from(std::string_view text) {
  std::string_view rest = text;
  const std::optional<Type> type = type_for(cut_to_blank(rest));
  if (!type) return std::nullopt;
  Entry entry;
  entry.type = *type;
  const bool has_numbers =
      *type == Type::nothing ||
      (read_number(cut_to_blank(rest), entry.mode, 8) && read_number(cut_to_blank(rest), entry.uid) &&
       read_number(cut_to_blank(rest), entry.gid) && read_time(cut_to_blank(rest), entry.modified) &&
       read_number(cut_to_blank(rest), entry.inode));
  entry.content = rest;
  return has_numbers && text_of(entry) == text ? std::optional(std::move(entry)) : std::nullopt;
}

bool is_same_thing(const Entry& one, const Entry& other) {
  return one.type == other.type && one.content == other.content;
}

bool has_same_attributes(const Entry& one, const Entry& other) {
  const bool same_time =
      one.modified.tv_sec == other.modified.tv_sec && one.modified.tv_nsec == other.modified.tv_nsec;
  return one.mode == other.mode && one.uid == other.uid && one.gid == other.gid &&
         (same_time || one.type == Type::link);
}

std::optional<std::vector<std::string>> names_beneath(int top, const std::string& path) {
  const Descriptor folder = open_beneath(top, path, O_RDONLY | O_DIRECTORY);
  return folder ? names_in(folder.number()) : std::nullopt;
}

}  // namespace place
