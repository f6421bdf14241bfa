#include "pack/model/tally.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

namespace pack {

namespace {

[[noreturn]] void fail() {
  throw std::system_error(errno, std::generic_category(), "a temporary file for what is left out");
}

struct Head {
  Kind kind;
  Cause cause;
  std::size_t size;  // of the path behind it, which may hold any byte
};

bool read_path(std::FILE* file, std::size_t size, std::string& path) {
  path.resize(size);
  return std::fread(path.data(), 1, size, file) == size;
}

}  // namespace

Tally::Tally() : remarks_(std::tmpfile()) {
  if (!remarks_) fail();
}

void Tally::packed(Kind kind, std::uint64_t bytes) {
  Count& count = counts_[kind];
  ++count.found;
  ++count.packed;
  count.bytes += bytes;
}

void Tally::remark(Kind kind, Cause cause, std::string_view path, std::uint64_t bytes) {
  if (is_packed(cause)) {
    packed(kind, bytes);
  } else {
    Count& count = counts_[kind];
    ++count.found;
    ++count.left_out;
  }
  note(kind, cause, path);
}

void Tally::note(Kind kind, Cause cause, std::string_view path) {
  ++causes_[{kind, cause}];
  std::FILE* const file = remarks_.get();
  const Head head{.kind = kind, .cause = cause, .size = path.size()};
  if (std::fwrite(&head, sizeof head, 1, file) != 1 ||
      std::fwrite(path.data(), 1, path.size(), file) != path.size())
    fail();
}

Tally::Count Tally::count(Kind kind) const {
  const auto found = counts_.find(kind);
  return found == counts_.end() ? Count{} : found->second;
}

std::uint64_t Tally::count(Kind kind, Cause cause) const {
  const auto found = causes_.find({kind, cause});
  return found == causes_.end() ? 0 : found->second;
}

Tally::Count Tally::total() const {
  Count total;
  for (const auto& [kind, count] : counts_) {
    total.found += count.found;
    total.packed += count.packed;
    total.left_out += count.left_out;
    total.bytes += count.bytes;
  }
  return total;
}

bool Tally::has_losses() const {
  return std::ranges::any_of(causes_, [](const auto& given) { return is_loss(given.first.second); });
}

void Tally::each_remark(const std::function<void(const Remark&)>& take) const {
  std::FILE* const file = remarks_.get();
  if (std::fflush(file) != 0 || std::fseek(file, 0, SEEK_SET) != 0) fail();
  Remark remark{};
  Head head{};
  while (std::fread(&head, sizeof head, 1, file) == 1) {
    remark.kind = head.kind;
    remark.cause = head.cause;
    if (!read_path(file, head.size, remark.path)) fail();
    take(remark);
  }
  if (std::ferror(file) != 0 || std::fseek(file, 0, SEEK_END) != 0) fail();
}

}  // namespace pack
