#include "process/mail/kde/encoding.h"

#include <iconv.h>

#include <array>
#include <cerrno>
#include <memory>
#include <optional>

#include "shell/files.h"
#include "shell/run.h"

namespace {

struct ConverterCloser {
  using pointer = iconv_t;
  void operator()(iconv_t converter) const { iconv_close(converter); }
};

// What the command makes of `text`: it leaves what does not convert, and a half character at the end.
std::optional<std::string> converted(std::string text) {
  const iconv_t opened = iconv_open("UTF-8//IGNORE", "GB2312");
  if (opened == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  const std::unique_ptr<iconv_t, ConverterCloser> converter(opened);
  std::string result;
  std::array<char, 4096> block;
  char* from = text.data();
  std::size_t left = text.size();
  while (left > 0) {
    char* to = block.data();
    std::size_t room = block.size();
    const std::size_t before = left;
    const bool stopped =
        iconv(opened, &from, &left, &to, &room) == static_cast<std::size_t>(-1) && errno == EINVAL;
    result.append(block.data(), block.size() - room);
    if (stopped || (left == before && room == block.size())) break;
  }
  return result;
}

// The command's own result does not tell: what it drops counts as a failure too.
bool is_whole(const std::string& path, const std::string& from) {
  const std::optional<std::string> text = read_whole(from);
  const std::optional<std::string> whole = text ? converted(*text) : std::nullopt;
  if (!whole) return true;
  const std::string found = read_whole(path).value_or("");
  return found.size() >= whole->size() || !whole->starts_with(found);
}

}  // namespace

// Deliberate: part of the output. GB2312 whatever the KDE system and the archive.
bool convert_to_utf8(const std::string& from, const std::string& to) {
  SYSTEM(compose("iconv -c -f GB2312 -t utf-8 %s -o %s", from, to));
  return is_whole(to, from);
}
