// Values as an archive from a stranger may hold them.
#ifndef BRINDLE_FUZZ_COMPOSER_HOSTILE_H
#define BRINDLE_FUZZ_COMPOSER_HOSTILE_H

#include <cstdint>
#include <random>
#include <string>

/// Makes the same values for the same seed. Every byte but NUL occurs; those that mean something to a shell,
/// or are part of a character in some encoding, occur most.
class Hostile {
 public:
  explicit Hostile(std::uint64_t seed) : random_(seed) {}

  /// Any text, sometimes empty, sometimes thousands of bytes long.
  std::string value();
  /// The same as the name of a file: without "/", 1 to 200 bytes long, and neither "." nor "..".
  std::string file_name();

  std::size_t below(std::size_t limit);
  bool one_in(std::size_t count) { return below(count) == 0; }

 private:
  std::string piece();

  std::mt19937_64 random_;
};

#endif
