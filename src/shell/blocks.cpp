#include "shell/blocks.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

}  // namespace

BlockReader::BlockReader(const std::string& path) : file_(open_file(path, "r")), block_(block_size) {}

std::string_view BlockReader::next(std::size_t most) {
  if (!file_) return {};
  return {block_.data(), std::fread(block_.data(), 1, std::min(most, block_.size()), file_.get())};
}

bool BlockReader::has_failed() const { return file_ && std::ferror(file_.get()) != 0; }

std::optional<LineEnds> line_ends_of(const std::string& path) {
  BlockReader file(path);
  if (!file.is_open()) return std::nullopt;
  LineEnds ends;
  bool is_first = true;
  for (std::string_view block = file.next(); !block.empty(); block = file.next()) {
    const bool is_joined = !is_first && ends.last == '\r' && block.front() == '\n';
    ends.has_mark = ends.has_mark || (is_first && block.starts_with(byte_order_mark));
    ends.has_returns = ends.has_returns || is_joined || block.find("\r\n") != std::string_view::npos;
    ends.last = block.back();
    is_first = false;
  }
  return file.has_failed() ? std::nullopt : std::optional(ends);
}

std::string without_carriage_returns(std::string_view text) {
  std::string plain;
  plain.reserve(text.size());
  for (std::size_t end = 0; (end = text.find("\r\n")) != text.npos; text.remove_prefix(end + 1)) {
    plain += text.substr(0, end);
    while (plain.ends_with('\r')) plain.pop_back();
  }
  return plain += text;
}
