// Texts of any size, line by line or piece by piece, from a file or from an entry of an archive.
#ifndef BRINDLE_ACCOUNT_READERS_TEXT_H
#define BRINDLE_ACCOUNT_READERS_TEXT_H

#include <functional>
#include <span>
#include <string>
#include <string_view>

namespace account {

/// Gives the next bytes of something, at most as many as fit; 0 at its end.
using Source = std::function<std::size_t(std::span<char>)>;

/// The bytes of the file at `path`; one that cannot be opened, and anything but a file, is empty.
Source file_source(const std::string& path);

/// The bytes of `text`, which must live as long as the source.
Source text_source(std::string_view text);

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

/// Reads lines in pieces: a line with its line end, or at most `limit` bytes of a longer one, whose rest
/// comes as pieces of its own. Memory: one block.
class PieceReader {
 public:
  PieceReader(Source source, std::size_t limit);

  /// The next piece, valid until the next call. False at the end.
  bool next(std::string_view& piece);

  /// True when the last piece is the beginning of a line.
  bool begins_line() const { return begins_line_; }

 private:
  void refill();

  Source source_;
  std::size_t limit_;
  std::string block_;
  std::size_t begin_ = 0, end_ = 0;  // of what is left in the block
  bool ended_ = false;
  bool begins_line_ = false, line_ended_ = true;
};

}  // namespace account

#endif
