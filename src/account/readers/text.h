// Texts of any size, line by line, from a file or from an entry of an archive.
#ifndef BRINDLE_ACCOUNT_READERS_TEXT_H
#define BRINDLE_ACCOUNT_READERS_TEXT_H

#include <functional>
#include <span>
#include <string>

namespace account {

/// Gives the next bytes of something, at most as many as fit; 0 at its end.
using Source = std::function<std::size_t(std::span<char>)>;

/// The bytes of the file at `path`; one that cannot be opened is empty.
Source file_source(const std::string& path);

/// Reads lines. Memory: the longest line, or `longest` bytes: a longer line comes as several.
class LineReader {
 public:
  explicit LineReader(Source source, std::size_t longest = static_cast<std::size_t>(-1))
      : source_(std::move(source)), longest_(longest) {}

  /// The next line with its line end, if it has one. False at the end.
  bool next(std::string& line);

 private:
  Source source_;
  std::size_t longest_;
  std::string buffer_;
  std::size_t place_ = 0;
};

}  // namespace account

#endif
