#include "account/readers/digest.h"

#include <xxhash.h>

#include <algorithm>
#include <new>

namespace account {

TextDigest::TextDigest() : state_(XXH3_createState()) {
  if (state_ == nullptr) throw std::bad_alloc();
  XXH3_128bits_reset(state_);
}

TextDigest::TextDigest(const TextDigest& other) : TextDigest() { *this = other; }

TextDigest& TextDigest::operator=(const TextDigest& other) {
  if (this != &other) XXH3_copyState(state_, other.state_);
  held_ = other.held_;
  return *this;
}

TextDigest::~TextDigest() { XXH3_freeState(state_); }

void TextDigest::add(std::string_view part) {
  while (!part.empty()) {
    if (held_ && part.front() != '\n') XXH3_128bits_update(state_, "\r", 1);
    const std::size_t end = part.find('\r');
    XXH3_128bits_update(state_, part.data(), std::min(end, part.size()));
    held_ = end != std::string_view::npos;
    part.remove_prefix(held_ ? end + 1 : part.size());
  }
}

Digest TextDigest::finish() {
  if (held_) XXH3_128bits_update(state_, "\r", 1);
  held_ = false;
  const XXH128_hash_t digest = XXH3_128bits_digest(state_);
  XXH3_128bits_reset(state_);
  return {digest.high64, digest.low64};
}

void DigestPool::close() {
  std::ranges::sort(digests_);
  taken_.assign(digests_.size(), false);
}

// Of equal digests the first ones are taken first, so the next one is found by halving.
bool DigestPool::take(const Digest& digest) {
  const auto [first, last] = std::ranges::equal_range(digests_, digest);
  auto place = taken_.begin() + (first - digests_.begin());
  const auto end = place + (last - first);
  place = std::partition_point(place, end, [](bool taken) { return taken; });
  if (place == end) return false;
  *place = true;
  return true;
}

}  // namespace account
