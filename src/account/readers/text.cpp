#include "account/readers/text.h"

#include <cstdio>
#include <memory>

namespace account {

Source file_source(const std::string& path) {
  const std::shared_ptr<std::FILE> file(std::fopen(path.c_str(), "rbe"), [](std::FILE* open) {
    if (open != nullptr) std::fclose(open);
  });
  return [file](std::span<char> buffer) {
    return file == nullptr ? 0 : std::fread(buffer.data(), 1, buffer.size(), file.get());
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
    buffer_.resize(1 << 16);
    buffer_.resize(source_(buffer_));
    place_ = 0;
    if (buffer_.empty()) return !line.empty();
  }
}

}  // namespace account
