#include "shell/pieces.h"

#include <algorithm>
#include <cstring>

PieceReader::PieceReader(std::FILE* file, std::size_t limit, std::size_t block)
    : file_(file), limit_(limit), block_(std::max(block, limit)) {}

bool PieceReader::next(std::string_view& piece) {
  if (end_ - begin_ < limit_ && !ended_) refill();
  const std::size_t window = std::min(end_ - begin_, limit_);
  if (window == 0) return false;
  const char* start = block_.data() + begin_;
  const void* newline = std::memchr(start, '\n', window);
  const std::size_t size =
      newline == nullptr ? window : static_cast<std::size_t>(static_cast<const char*>(newline) - start) + 1;
  piece = std::string_view(start, size);
  begin_ += size;
  return true;
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
