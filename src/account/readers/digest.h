// Contents by their digests: two texts are held for the same when 128 bits of XXH3 agree.
#ifndef BRINDLE_ACCOUNT_READERS_DIGEST_H
#define BRINDLE_ACCOUNT_READERS_DIGEST_H

#include <compare>
#include <cstdint>
#include <deque>
#include <memory>
#include <string_view>
#include <vector>

struct XXH3_state_s;

namespace account {

struct Digest {
  std::uint64_t high, low;
  auto operator<=>(const Digest&) const = default;
};

/// The digest of a text that comes in parts. A carriage return before a line feed does not count.
class TextDigest {
 public:
  TextDigest();
  TextDigest(const TextDigest& other);
  TextDigest& operator=(const TextDigest& other);
  ~TextDigest();

  void add(std::string_view part);

  /// Of all parts since the last call; the next part begins another text.
  Digest finish();

 private:
  XXH3_state_s* state_;
  bool held_ = false;  // a carriage return at the end of the last part
};

/// Digests of which each can be taken once. Memory: about 16 bytes a digest.
class DigestPool {
 public:
  void add(const Digest& digest) { digests_.push_back(digest); }

  /// Ends the adding.
  void close();

  /// Takes one of `digest`; false when there is none left.
  bool take(const Digest& digest);

 private:
  std::deque<Digest> digests_;  // not a vector, which needs room twice while it grows
  std::vector<bool> taken_;
};

}  // namespace account

#endif
