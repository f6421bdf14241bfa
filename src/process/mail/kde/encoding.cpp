#include "process/mail/kde/encoding.h"

#include <iconv.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "shell/blocks.h"
#include "shell/run.h"

namespace {

struct ConverterCloser {
  using pointer = iconv_t;
  void operator()(iconv_t converter) const { iconv_close(converter); }
};

/// What the command makes of a text that comes block by block: it leaves what does not convert, and a half
/// character at the end.
class Conversion {
 public:
  Conversion() : converter_(opened()) {}

  bool is_possible() const { return converter_ != nullptr; }

  /// ASCII that comes now stays as it is.
  bool is_between_characters() const { return rest_.empty() && !has_stopped_; }

  /// What `block` and what was left of the one before come to.
  std::string next(std::string_view block) {
    std::string result;
    rest_ += block;
    char* from = rest_.data();
    std::size_t left = rest_.size();
    while (left > 0 && !has_stopped_) {
      const std::size_t before = left;
      const std::size_t size = result.size();
      if (!step(from, left, result)) break;
      has_stopped_ = left == before && result.size() == size;
    }
    rest_.erase(0, has_stopped_ ? rest_.size() : rest_.size() - left);
    return result;
  }

 private:
  static iconv_t opened() {
    const iconv_t converter = iconv_open("UTF-8//IGNORE", "GB2312");
    return converter == reinterpret_cast<iconv_t>(-1) ? nullptr : converter;
  }

  // False when half a character is left.
  bool step(char*& from, std::size_t& left, std::string& result) {
    std::array<char, 4096> block;
    char* to = block.data();
    std::size_t room = block.size();
    const bool is_half =
        iconv(converter_.get(), &from, &left, &to, &room) == static_cast<std::size_t>(-1) && errno == EINVAL;
    result.append(block.data(), block.size() - room);
    return !is_half;
  }

  std::unique_ptr<iconv_t, ConverterCloser> converter_;
  std::string rest_;
  bool has_stopped_ = false;  // at something that goes neither in nor out
};

// Eight bytes at a time.
bool is_ascii(std::string_view text) {
  constexpr std::uint64_t high_bits = 0x8080808080808080;
  std::uint64_t all = 0;
  for (; text.size() >= sizeof all; text.remove_prefix(sizeof all)) {
    std::uint64_t some = 0;
    std::memcpy(&some, text.data(), sizeof some);
    all |= some;
  }
  for (const char c : text) all |= static_cast<unsigned char>(c);
  return (all & high_bits) == 0;
}

bool is_ascii_file(const std::string& path) {
  BlockReader file(path);
  for (std::string_view block = file.next(); !block.empty(); block = file.next())
    if (!is_ascii(block)) return false;
  return file.is_open() && !file.has_failed();
}

enum class Held { all, a_part, another };

// What of `text` comes next in `file`.
Held next_holds(BlockReader& file, std::string_view text) {
  while (!text.empty()) {
    const std::string_view part = file.next(text.size());
    if (!text.starts_with(part)) return Held::another;
    if (part.empty()) return Held::a_part;
    text.remove_prefix(part.size());
  }
  return Held::all;
}

// The command's own result does not tell: what it drops counts as a failure too. A file that is another is
// not cut off. What is ASCII in front is the same in both.
bool is_whole(const std::string& path, const std::string& from) {
  BlockReader source(from);
  BlockReader found(path);
  Conversion conversion;
  if (!conversion.is_possible()) return true;
  for (std::string_view block = source.next(); !block.empty(); block = source.next()) {
    const bool is_same = conversion.is_between_characters() && is_ascii(block);
    const Held held = next_holds(found, is_same ? block : conversion.next(block));
    if (held != Held::all) return held == Held::another;
  }
  return true;
}

}  // namespace

// Deliberate: part of the output. GB2312 whatever the KDE system and the archive.
bool convert_to_utf8(const std::string& from, const std::string& to) {
  const int status = shell::run_for_status(compose("iconv -c -f GB2312 -t utf-8 %s -o %s", from, to));
  return (status == 0 && is_ascii_file(from) && is_copied(status, from, to)) || is_whole(to, from);
}
