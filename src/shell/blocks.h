// Reading a file of any size in a memory that does not grow with it.
#ifndef BRINDLE_SHELL_BLOCKS_H
#define BRINDLE_SHELL_BLOCKS_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "shell/files.h"

/// Hands out a file block by block, each as long as it was asked for but at the end.
class BlockReader {
 public:
  static constexpr std::size_t block_size = std::size_t{1} << 16;

  explicit BlockReader(const std::string& path);

  /// False, with errno set by the constructor, when the file cannot be opened.
  bool is_open() const { return file_ != nullptr; }

  /// The next bytes, at most `most` or block_size of them, valid until the next call. Empty at the end, when
  /// the file is not open, and when it cannot be read.
  std::string_view next(std::size_t most = block_size);

  /// True, with errno set by `next`, when it could not be read to its end.
  bool has_failed() const;

 private:
  File file_;
  std::vector<char> block_;
};

/// What is to be mended in a text whose lines another system has ended.
struct LineEnds {
  bool has_mark = false;     ///< a byte order mark in front
  bool has_returns = false;  ///< a carriage return before a line feed
  char last = '\n';          ///< the last byte; of an empty text this one
};

/// Those of the file at `path`. No value when it cannot be opened or read to its end.
std::optional<LineEnds> line_ends_of(const std::string& path);

/// `text` without the carriage returns before line feeds, however many.
std::string without_carriage_returns(std::string_view text);

#endif
