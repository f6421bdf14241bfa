// Inputs made of others: the same number makes the same input.
#ifndef BRINDLE_FUZZ_REPLAY_MUTATE_H
#define BRINDLE_FUZZ_REPLAY_MUTATE_H

#include <cstdint>
#include <string>
#include <string_view>

/// `seed` with a few changes, of which `number` decides: bits, numbers, bytes and words that readers take for
/// something, parts cut, moved and said twice.
std::string mutated(std::string_view seed, std::uint64_t number);

/// `seed` again and again, `size` bytes long: what takes a reader long that is slow with long files.
std::string stretched(std::string_view seed, std::size_t size);

#endif
