#include "shell/pieces.h"

#include <algorithm>
#include <cstring>

namespace {

// Of `text`, which begins where a piece does and may end within one.
std::size_t size_of_whole_pieces(std::string_view text, std::size_t limit) {
  const void* newline = memrchr(text.data(), '\n', text.size());
  if (newline == nullptr) return text.size() / limit * limit;
  return static_cast<std::size_t>(static_cast<const char*>(newline) - text.data()) + 1;
}

}  // namespace

std::string_view first_piece(std::string_view text, std::size_t limit) {
  const std::string_view window = text.substr(0, limit);
  const std::size_t newline = window.find('\n');
  return newline == std::string_view::npos ? window : window.substr(0, newline + 1);
}

PieceReader::PieceReader(std::FILE* file, std::size_t limit, std::size_t block)
    : file_(file), limit_(limit), block_(std::max(block, limit)) {}

bool PieceReader::next(std::string_view& piece) {
  if (end_ - begin_ < limit_ && !ended_) refill();
  piece = take(first_piece({block_.data() + begin_, end_ - begin_}, limit_).size());
  return !piece.empty();
}

bool PieceReader::next_block(std::string_view& pieces) {
  if (!ended_) refill();
  const std::size_t size = end_ - begin_;
  pieces = take(ended_ ? size : size_of_whole_pieces({block_.data() + begin_, size}, limit_));
  return !pieces.empty();
}

std::string_view PieceReader::take(std::size_t size) {
  const std::string_view taken(block_.data() + begin_, size);
  begin_ += size;
  return taken;
}

void PieceReader::refill() {
  std::memmove(block_.data(), block_.data() + begin_, end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
  const std::size_t wanted = block_.size() - end_;
  const std::size_t found = std::fread(block_.data() + end_, 1, wanted, file_);
  end_ += found;
  ended_ = found < wanted;
}
