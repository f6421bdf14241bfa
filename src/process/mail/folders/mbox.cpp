#include "process/mail/folders/mbox.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "shell/files.h"
#include "shell/pieces.h"

namespace {

constexpr std::size_t block_size = std::size_t{1} << 18;

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

bool failed(const std::string& path) {
  std::perror(path.c_str());
  return false;
}

bool is_directory(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_directory(path, error);
}

bool reported(const std::string& path, const MessageFiles& messages) {
  if (messages.lost() == 0) return true;
  std::fprintf(stderr, "%s: %d of its messages cannot be written: %s\n", path.c_str(), messages.lost(),
               std::strerror(messages.error()));
  return false;
}

}  // namespace

void MboxSplitter::take(std::string_view piece) {
  if (piece.starts_with(separator)) {
    start_message(piece);
  } else {
    continue_message(piece);
  }
}

void MboxSplitter::start_message(std::string_view piece) {
  finish();
  ++cnt;
  std::printf("new email.");
  removeencoding = removal_after(piece);
  messages_.begin(cnt);
  messages_.write(piece);
}

// Before the first message the piece is lost.
void MboxSplitter::continue_message(std::string_view piece) {
  // In this order: a boundary may hold "--" itself.
  if (holds(piece, "--")) removeencoding = 0;
  if (holds(piece, "boundary=\"")) removeencoding = 1;
  const bool dropped = removeencoding == 1 && holds(piece, "Content-Transfer-Encoding: base64");
  if (!dropped) messages_.write(piece);
}

bool split_mbox(const std::string& path, const std::string& prefix, EarlierMessages& earlier) {
  std::printf("Filepath::%s\n", path.c_str());
  const File mbox = open_file(path, "r");
  if (!mbox) return failed(path);
  std::printf("File Read");
  MessageFiles messages(prefix, earlier);
  MboxSplitter splitter(messages);
  std::printf("Trying to now get each line.::%d\n", splitter.count());
  PieceReader reader(mbox.get(), piece_limit, block_size);
  std::string_view piece;
  while (reader.next(piece)) splitter.take(piece);
  const bool read = std::ferror(mbox.get()) == 0 || is_directory(path) || failed(path);
  std::printf("Count::%d\n", splitter.count());
  splitter.finish();
  std::printf("end");
  return reported(path, messages) && read;
}
