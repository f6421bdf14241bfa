// Runs the tests of a program one by one, each in a process of its own.
#ifndef BRINDLE_TESTS_SUPPORT_EACH_TEST_H
#define BRINDLE_TESTS_SUPPORT_EACH_TEST_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "support/layer.h"

namespace each_test {

/// Which of the tests there are, as the program's words say: --part=K/N (the Kth of N parts, from 1) and
/// --limit=SECONDS for one test. GoogleTest's words are left to it.
struct Wish {
  int part = 1;
  int parts = 1;
  std::chrono::seconds limit{120};
};

Wish wish_of(const std::vector<std::string>& words);

/// The names of the tests that GoogleTest's filter and the wish leave, in their order. For a program with one
/// thread.
std::vector<std::string> names(const Wish& wish);

/// Runs the test of that name; what it says goes to the file.
using Runner = std::function<std::optional<layer::Ended>(const std::string& name, int output)>;

/// Runs each and prints what the failing ones said, the slowest, and "N passed, N failed, N skipped". Returns
/// 0 when none failed, 1 when some did. No value, after the first, when the runner has none.
std::optional<int> run(const std::vector<std::string>& names, const Runner& runner);

}  // namespace each_test

#endif
