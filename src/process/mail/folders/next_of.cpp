#include "process/mail/folders/next_of.h"

#include <algorithm>
#include <experimental/simd>

namespace {

constexpr std::size_t none = std::string_view::npos;

// As many as the processor compares at once.
using Letters = std::experimental::native_simd<char>;

constexpr std::size_t step = Letters::size();
constexpr std::size_t stride = 4 * step;

Letters::mask_type are(char letter, const char* start) {
  return Letters(start, std::experimental::element_aligned) == letter;
}

}  // namespace

void NextOf::search(std::string_view block) {
  block_ = block;
  at_ = none;
}

std::size_t NextOf::from(std::size_t begin) {
  if (at_ == none || at_ < begin) at_ = find(begin);
  return at_;
}

bool NextOf::lies_in(std::size_t begin, std::size_t end) { return from(begin) + text_.size() <= end; }

std::size_t NextOf::find(std::size_t begin) const {
  for (; begin + stride + text_.size() <= block_.size(); begin += stride) {
    if (!can_begin_from(block_.data() + begin)) continue;
    const std::size_t found = block_.substr(begin, stride + text_.size() - 1).find(text_);
    if (found != none) return begin + found;
  }
  return std::min(block_.find(text_, begin), block_.size());
}

// At one of `stride` places.
bool NextOf::can_begin_from(const char* start) const {
  const auto can_begin = [&](std::size_t at) {
    return are(text_[one_], start + at + one_) & are(text_[other_], start + at + other_);
  };
  return any_of((can_begin(0) | can_begin(step)) | (can_begin(2 * step) | can_begin(3 * step)));
}
