// Looking for the few places of a long text at which anything is to be done.
#ifndef BRINDLE_SHELL_PAIR_FINDER_H
#define BRINDLE_SHELL_PAIR_FINDER_H

#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <vector>

/// Finds pairs of bytes in a text from its beginning to its end. Much faster than looking in each line for
/// each of the texts that the pairs are a part of, above all when the first byte of a pair is rare.
class PairFinder {
 public:
  /// Each of `pairs` has two bytes.
  PairFinder(std::initializer_list<std::string_view> pairs);

  /// From now on looks in `text`, which stays where it is until the last call of `next`.
  void look_in(std::string_view text);

  /// Where in the text the first pair at or behind `from` begins; npos when there is none. `from` does not
  /// become less from call to call.
  std::size_t next(std::size_t from);

 private:
  struct Pair {
    std::string_view bytes;
    std::size_t found;  // where it stands next
  };

  std::vector<Pair> pairs_;
  std::string_view text_;
};

#endif
