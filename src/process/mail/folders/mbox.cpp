#include "process/mail/folders/mbox.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "shell/pieces.h"

namespace {

constexpr std::size_t block_size = std::size_t{1} << 18;
constexpr std::size_t message_buffer_size = std::size_t{1} << 16;

// Deliberate: part of the output. A longer line comes in pieces, and each is judged as a line of its own.
constexpr std::size_t piece_limit = 1023;

constexpr std::string_view separator = "From ";

bool holds(std::string_view piece, std::string_view part) {
  return piece.find(part) != std::string_view::npos;
}

// Deliberate: part of the output. The rule looks at the fifth character after "From ", not at the first: a
// message after "From - Mon ..." keeps an encoding line at its top.
int removal_after(std::string_view separator_line) {
  const std::string_view text = separator_line.substr(separator.size());
  const std::size_t length = std::min(text.find('\n'), text.size());
  return length < 5 || text[4] == '-' ? 1 : 0;
}

}  // namespace

MboxSplitter::MboxSplitter(std::string prefix) : prefix_(std::move(prefix)), buffer_(message_buffer_size) {}

void MboxSplitter::take(std::string_view piece) {
  if (piece.starts_with(separator)) {
    start_message(piece);
  } else {
    continue_message(piece);
  }
}

void MboxSplitter::finish() {
  if (iswriteopen) message_.reset();
  iswriteopen = false;
}

void MboxSplitter::start_message(std::string_view piece) {
  if (cnt > 1) finish();
  ++cnt;
  std::printf("new email.");
  removeencoding = removal_after(piece);
  message_ = open_file(prefix_ + std::to_string(cnt), "w");
  iswriteopen = message_ != nullptr;
  if (iswriteopen) std::setvbuf(message_.get(), buffer_.data(), _IOFBF, buffer_.size());
  write(piece);
}

void MboxSplitter::continue_message(std::string_view piece) {
  // In this order: a boundary may hold "--" itself.
  if (holds(piece, "--")) removeencoding = 0;
  if (holds(piece, "boundary=\"")) removeencoding = 1;
  const bool dropped = removeencoding == 1 && holds(piece, "Content-Transfer-Encoding: base64");
  if (!dropped) write(piece);
}

// Without an open message, before the first one, the piece is lost.
void MboxSplitter::write(std::string_view piece) {
  if (iswriteopen) fwrite_unlocked(piece.data(), 1, piece.size(), message_.get());
}

void split_mbox(const std::string& path, const std::string& prefix) {
  std::printf("Filepath::%s\n", path.c_str());
  const File mbox = open_file(path, "r");
  if (!mbox) return;
  std::printf("File Read");
  MboxSplitter splitter(prefix);
  std::printf("Trying to now get each line.::%d\n", splitter.count());
  PieceReader reader(mbox.get(), piece_limit, block_size);
  std::string_view piece;
  while (reader.next(piece)) splitter.take(piece);
  std::printf("Count::%d\n", splitter.count());
  splitter.finish();
  std::printf("end");
}
