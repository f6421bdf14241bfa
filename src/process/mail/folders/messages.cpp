#include "process/mail/folders/messages.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <optional>

#include "keep/keep.h"
#include "shell/files.h"

namespace {

constexpr std::size_t buffer_size = std::size_t{1} << 16;

// ---- Names -------------------------------------------------------------------------------------------

// "2", or "2:2,S" once KMail has put flags behind it.
bool is_number_of_message(std::string_view text) {
  const std::string_view digits = text.substr(0, text.find(':'));
  return !digits.empty() && std::ranges::all_of(digits, [](unsigned char c) { return std::isdigit(c) != 0; });
}

bool is_message_of(std::string_view name, std::string_view stem) {
  return name.starts_with(stem) && is_number_of_message(name.substr(stem.size()));
}

// ---- Contents ----------------------------------------------------------------------------------------

using Block = std::array<char, buffer_size>;

std::string_view next_block(const File& file, Block& block) {
  return {block.data(), std::fread(block.data(), 1, block.size(), file.get())};
}

bool holds(const std::string& path, std::string_view message) {
  const File file = open_file(path, "r");
  Block block;
  while (file && !message.empty()) {
    const std::string_view part = next_block(file, block);
    if (part.empty() || !message.starts_with(part)) return false;
    message.remove_prefix(part.size());
  }
  return file != nullptr;
}

// Of two files of one size.
bool hold_the_same(const std::string& path, const std::string& other) {
  const File file = open_file(path, "r");
  const File other_file = open_file(other, "r");
  if (!file || !other_file) return false;
  Block block;
  Block other_block;
  for (std::string_view part = next_block(file, block); !part.empty(); part = next_block(file, block)) {
    if (part != next_block(other_file, other_block)) return false;
  }
  return std::ferror(file.get()) == 0;
}

std::size_t hash_of_head(std::string_view message) {
  return std::hash<std::string_view>()(message.substr(0, EarlierMessages::head_size));
}

// The size of a plain file; no value for anything else.
std::optional<std::uintmax_t> size_of(const std::string& path) {
  struct stat entry {};
  if (lstat(path.c_str(), &entry) != 0 || !S_ISREG(entry.st_mode)) return std::nullopt;
  return static_cast<std::uintmax_t>(entry.st_size);
}

bool write_to(const Descriptor& file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(file.number(), bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

}  // namespace

EarlierMessages::EarlierMessages(const std::string& prefix) {
  const std::filesystem::path whole = prefix;
  const std::string folder = whole.parent_path();
  const std::string stem = whole.filename();
  for (const std::string& name : list_folder(folder).value_or(std::vector<std::string>())) {
    if (is_message_of(name, stem)) add(folder + "/" + name);
  }
}

void EarlierMessages::add(const std::string& path) {
  const std::optional<std::uintmax_t> size = size_of(path);
  const File file = size ? open_file(path, "r") : File();
  if (!file) return;
  std::array<char, head_size> head;
  const std::size_t found = std::fread(head.data(), 1, head.size(), file.get());
  paths_.emplace(Key(*size, hash_of_head({head.data(), found})), path);
}

template <typename Same>
bool EarlierMessages::take(const Key& key, Same same) {
  const auto [first, last] = paths_.equal_range(key);
  const auto taken = std::find_if(first, last, [&](const auto& row) { return same(row.second); });
  if (taken == last) return false;
  paths_.erase(taken);
  return true;
}

bool EarlierMessages::take(std::string_view message) {
  if (paths_.empty()) return false;  // the usual case, without a look at the message
  return take({message.size(), hash_of_head(message)},
              [&](const std::string& path) { return holds(path, message); });
}

bool EarlierMessages::take_copy_of(const std::string& path, std::string_view head, std::uintmax_t size) {
  return take({size, hash_of_head(head)},
              [&](const std::string& earlier) { return hold_the_same(earlier, path); });
}

MessageFiles::MessageFiles(const std::string& prefix, EarlierMessages& earlier)
    : folder_(std::filesystem::path(prefix).parent_path()), spot_(keep::spot_of(prefix)), earlier_(earlier) {
  buffer_.reserve(buffer_size);
}

void MessageFiles::begin(int number) {
  free_ = std::max(free_, number);
  buffer_.clear();
  borrowed_ = {};
  name_.clear();
  spilled_ = 0;
  begun_ = true;
  failed_ = false;
}

void MessageFiles::write(std::string_view piece) {
  if (!begun_ || failed_ || piece.empty()) return;
  const bool goes_on = !borrowed_.empty() && borrowed_.data() + borrowed_.size() == piece.data();
  if (goes_on) {
    borrowed_ = {borrowed_.data(), borrowed_.size() + piece.size()};
  } else {
    settle();
    borrowed_ = piece;
  }
}

void MessageFiles::settle() {
  if (begun_ && !failed_ && !gather()) fail();
}

void MessageFiles::end() {
  if (begun_ && !failed_ && !store()) fail();
  begun_ = false;
}

// Into the buffer, or all of it into the file when it does not fit.
bool MessageFiles::gather() {
  if (buffer_.size() + borrowed_.size() > buffer_size) return spill();
  buffer_ += borrowed_;
  borrowed_ = {};
  return true;
}

// To the file, which is made when it is not there.
bool MessageFiles::spill() {
  if (!file_) {
    if (!create()) return false;
    head_ = buffer_.substr(0, EarlierMessages::head_size);
    head_ += borrowed_.substr(0, EarlierMessages::head_size - head_.size());
  }
  if (!write_to(file_, buffer_) || !write_to(file_, borrowed_)) return false;
  spilled_ += buffer_.size() + borrowed_.size();
  buffer_.clear();
  borrowed_ = {};
  return true;
}

// Opened so that no file that is there is written to.
bool MessageFiles::create() {
  if (!is_open(spot_)) return false;
  constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  do {
    name_ = spot_.name + std::to_string(free_);
    file_ = Descriptor(openat(spot_.folder.number(), name_.c_str(), flags, 0666));
  } while (!file_ && errno == EEXIST && ++free_ > 0);
  if (!file_) name_.clear();
  return static_cast<bool>(file_);
}

bool MessageFiles::store() {
  if (!file_ && !buffer_.empty() && !gather()) return false;
  const bool is_in_file = static_cast<bool>(file_);
  if (!is_in_file && earlier_.take(buffer_.empty() ? borrowed_ : buffer_)) return true;
  if (!spill() || !file_.close()) return false;
  if (is_in_file && earlier_.take_copy_of(folder_ + "/" + name_, head_, spilled_)) remove();
  return true;
}

void MessageFiles::remove() {
  if (!name_.empty()) unlinkat(spot_.folder.number(), name_.c_str(), 0);
}

void MessageFiles::fail() {
  error_ = errno;
  file_ = Descriptor();
  remove();
  failed_ = true;
  ++lost_;
}
