#include "process/mail/folders/mbox.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include "shell/files.h"

namespace {

constexpr std::size_t block_size = std::size_t{1} << 18;

// Deliberate: part of the output. A longer line comes in pieces, and each is judged as a line of its own.
constexpr std::size_t piece_limit = 1023;

constexpr std::string_view separator = "From ";

// Where a text comes next in a block. It is asked for places that grow, so that no byte is looked at twice,
// and looks for the one of its letters that is rare in mail.
class NextOf {
 public:
  NextOf(std::string_view text, char rare)
      : text_(text), rare_(rare), offset_(text.find(rare)), second_(offset_ > 0 ? offset_ - 1 : 1) {}

  void search(std::string_view block) {
    block_ = block;
    at_ = none;
  }
  /// At or behind `begin`; the block's size when there is none.
  std::size_t from(std::size_t begin) {
    if (at_ == none || at_ < begin) at_ = find(begin);
    return at_;
  }
  bool lies_in(std::size_t begin, std::size_t end) { return from(begin) + text_.size() <= end; }

 private:
  static constexpr std::size_t none = std::string_view::npos;

  std::size_t find(std::size_t begin) const {
    if (block_.size() - begin <= offset_) return block_.size();
    const char* const end = block_.data() + block_.size();
    for (const char* at = block_.data() + begin + offset_; at < end; ++at) {
      at = static_cast<const char*>(std::memchr(at, rare_, static_cast<std::size_t>(end - at)));
      if (at == nullptr) break;
      // The letter beside it tells nearly always.
      const char* const start = at - offset_;
      if (start + second_ >= end || start[second_] != text_[second_]) continue;
      if (!std::string_view(start, end).starts_with(text_)) continue;
      return static_cast<std::size_t>(start - block_.data());
    }
    return block_.size();
  }

  std::string_view text_;
  char rare_;
  std::size_t offset_;
  std::size_t second_;
  std::string_view block_;
  std::size_t at_ = none;
};

// Deliberate: part of the output. The rule looks at the fifth character after "From ", not at the first: a
// message after "From - Mon ..." keeps an encoding line at its top.
int removal_after(std::string_view separator_line) {
  const std::string_view text = separator_line.substr(separator.size());
  const std::size_t length = std::min(text.find('\n'), text.size());
  return length < 5 || text[4] == '-' ? 1 : 0;
}

// Judges a mailbox block by block and hands each message on, with its number: 2 for the first one.
class Splitter {
 public:
  explicit Splitter(MessageFiles& messages) : messages_(messages) {}

  /// Takes the pieces that `block` begins with, which stays as it is meanwhile, and returns how many bytes
  /// they are: all but an unfinished last one, or all when `is_last`.
  std::size_t take(std::string_view block, bool is_last);
  /// The number of the last message: 1 before the first one.
  int count() const { return cnt; }

 private:
  void start_message(std::string_view piece);
  bool is_dropped(std::size_t begin, std::size_t end);
  std::size_t next_marker(std::size_t begin);

  MessageFiles& messages_;
  NextOf separator_{separator, 'F'};
  NextOf dashes_{"--", '-'};
  NextOf boundary_{"boundary=\"", '"'};
  NextOf encoding_{"Content-Transfer-Encoding: base64", ':'};
  int cnt = 1;
  /// 1 while a base64 header line is dropped.
  int removeencoding = 1;
};

// The end of the piece at `begin`, or nothing of it when the block ends before the piece is known to.
std::size_t end_of_piece(std::string_view block, std::size_t begin, bool is_last) {
  const std::size_t window = std::min(block.size() - begin, piece_limit);
  const char* start = block.data() + begin;
  const void* newline = std::memchr(start, '\n', window);
  if (newline != nullptr)
    return begin + static_cast<std::size_t>(static_cast<const char*>(newline) - start) + 1;
  return window == piece_limit || is_last ? begin + window : begin;
}

// `begin`, or the start of a later line, when the lines before that are whole and end before `until`.
std::size_t pass_over_lines(std::string_view block, std::size_t begin, std::size_t until) {
  while (begin < until) {
    const char* start = block.data() + begin;
    const void* newline = memrchr(start, '\n', std::min(until - begin, piece_limit));
    if (newline == nullptr) break;
    begin += static_cast<std::size_t>(static_cast<const char*>(newline) - start) + 1;
  }
  return begin;
}

// What is kept goes on in runs as long as they come, not piece by piece. Before the first message it is lost.
std::size_t Splitter::take(std::string_view block, bool is_last) {
  for (NextOf* text : {&separator_, &dashes_, &boundary_, &encoding_}) text->search(block);
  std::size_t run = 0;
  std::size_t begin = 0;
  for (;;) {
    begin = pass_over_lines(block, begin, next_marker(begin));
    const std::size_t end = end_of_piece(block, begin, is_last);
    if (end == begin) break;
    const bool starts = block.substr(begin).starts_with(separator);
    if (starts || is_dropped(begin, end)) {
      messages_.write(block.substr(run, begin - run));
      if (starts) start_message(block.substr(begin, end - begin));
      run = starts ? begin : end;
    }
    begin = end;
  }
  messages_.write(block.substr(run, begin - run));
  messages_.settle();
  return begin;
}

// Where something comes that a piece is judged by; the lines before that all go on.
std::size_t Splitter::next_marker(std::size_t begin) {
  const std::size_t start = separator_.from(begin);
  return removeencoding == 0 ? std::min(start, boundary_.from(begin))
                             : std::min({start, dashes_.from(begin), encoding_.from(begin)});
}

void Splitter::start_message(std::string_view piece) {
  messages_.end();
  ++cnt;
  std::printf("new email.");
  removeencoding = removal_after(piece);
  messages_.begin(cnt);
}

bool Splitter::is_dropped(std::size_t begin, std::size_t end) {
  // In this order: a boundary may hold "--" itself. What would change nothing is not looked for.
  if (removeencoding == 1 && dashes_.lies_in(begin, end)) removeencoding = 0;
  if (removeencoding == 0 && boundary_.lies_in(begin, end)) removeencoding = 1;
  return removeencoding == 1 && encoding_.lies_in(begin, end);
}

void split(std::FILE* mbox, Splitter& splitter) {
  std::vector<char> block(block_size);
  std::size_t held = 0;
  for (bool is_last = false; !is_last;) {
    const std::size_t found = std::fread(block.data() + held, 1, block.size() - held, mbox);
    is_last = found < block.size() - held;
    held += found;
    const std::size_t taken = splitter.take({block.data(), held}, is_last);
    held -= taken;
    std::memmove(block.data(), block.data() + taken, held);
  }
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

bool split_mbox(const std::string& path, const std::string& prefix, EarlierMessages& earlier) {
  std::printf("Filepath::%s\n", path.c_str());
  const File mbox = open_file(path, "r");
  if (!mbox) return failed(path);
  std::printf("File Read");
  MessageFiles messages(prefix, earlier);
  Splitter splitter(messages);
  std::printf("Trying to now get each line.::%d\n", splitter.count());
  split(mbox.get(), splitter);
  const bool read = std::ferror(mbox.get()) == 0 || is_directory(path) || failed(path);
  std::printf("Count::%d\n", splitter.count());
  messages.end();
  std::printf("end");
  return reported(path, messages) && read;
}
