// Reading a file line by line with a limit on the length: where a long line is cut shows in what migrators
// write.
#ifndef BRINDLE_SHELL_PIECES_H
#define BRINDLE_SHELL_PIECES_H

#include <cstddef>
#include <cstdio>
#include <string_view>
#include <vector>

/// The first piece of `text`, which begins where one does: a line with its newline, or at most `limit` bytes
/// of a longer one.
std::string_view first_piece(std::string_view text, std::size_t limit);

/// Hands out an open file piece by piece: a line with its newline, or at most `limit` bytes of a longer
/// one, whose rest comes as pieces of its own. NUL bytes are kept.
class PieceReader {
 public:
  static constexpr std::size_t usual_block = std::size_t{1} << 13;

  /// Reads on from where `file` is, a block at a time: the file's own position is ahead of the pieces.
  PieceReader(std::FILE* file, std::size_t limit, std::size_t block = usual_block);

  /// The next piece, valid until the next call. False at the end of the file or when it cannot be read.
  bool next(std::string_view& piece);

  /// All the pieces that a block has whole, at least one, as one text. Otherwise like `next`.
  bool next_block(std::string_view& pieces);

 private:
  std::string_view take(std::size_t size);
  void refill();

  std::FILE* file_;
  std::size_t limit_;
  std::vector<char> block_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  bool ended_ = false;
};

#endif
