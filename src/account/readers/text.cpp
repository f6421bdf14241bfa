#include "account/readers/text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace account {
namespace {

constexpr std::size_t block_size = std::size_t{1} << 16;

// A file that is open for reading, or nothing. A pipe in a file's place must not hold us up.
class OpenFile {
 public:
  explicit OpenFile(const std::string& path) : file_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat status;
    if (file_ >= 0 && (fstat(file_, &status) != 0 || !S_ISREG(status.st_mode))) shut();
  }
  ~OpenFile() { shut(); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  std::size_t read(std::span<char> buffer) const {
    const ssize_t got = file_ < 0 ? 0 : ::read(file_, buffer.data(), buffer.size());
    return got < 0 ? 0 : static_cast<std::size_t>(got);
  }

 private:
  void shut() {
    if (file_ >= 0) close(file_);
    file_ = -1;
  }

  int file_;
};

}  // namespace

Source file_source(const std::string& path) {
  return [file = std::make_shared<OpenFile>(path)](std::span<char> buffer) { return file->read(buffer); };
}

Source text_source(std::string_view text) {
  return [text](std::span<char> buffer) mutable {
    const std::size_t size = text.copy(buffer.data(), buffer.size());
    text.remove_prefix(size);
    return size;
  };
}

bool LineReader::next(std::string& line) {
  line.clear();
  for (;;) {
    const std::size_t end = buffer_.find('\n', place_);
    const std::size_t stop = end == std::string::npos ? buffer_.size() : end + 1;
    line.append(buffer_, place_, stop - place_);
    place_ = stop;
    if (end != std::string::npos || line.size() >= longest_) return true;
    buffer_.resize(block_size);
    buffer_.resize(source_(buffer_));
    place_ = 0;
    if (buffer_.empty()) return !line.empty();
  }
}

PieceReader::PieceReader(Source source, std::size_t limit)
    : source_(std::move(source)), limit_(limit), block_(std::max(block_size, 2 * limit), '\0') {}

bool PieceReader::next(std::string_view& piece) {
  if (end_ - begin_ < limit_ && !ended_) refill();
  const std::size_t window = std::min(end_ - begin_, limit_);
  if (window == 0) return false;
  piece = std::string_view(block_).substr(begin_, window);
  if (const std::size_t end = piece.find('\n'); end != std::string_view::npos)
    piece = piece.substr(0, end + 1);
  begin_ += piece.size();
  begins_line_ = line_ended_;
  line_ended_ = piece.ends_with('\n');
  return true;
}

void PieceReader::refill() {
  std::memmove(block_.data(), block_.data() + begin_, end_ - begin_);
  end_ -= begin_;
  begin_ = 0;
  while (end_ < limit_ && !ended_) {
    const std::size_t got = source_(std::span(block_).subspan(end_));
    end_ += got;
    ended_ = got == 0;
  }
}

}  // namespace account
