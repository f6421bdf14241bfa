// System calls of a test's code, taken at the C library: what comes before each one, and errors that no
// machine at hand gives.
#ifndef BRINDLE_TESTS_PLACE_CALLS_H
#define BRINDLE_TESTS_PLACE_CALLS_H

#include <functional>
#include <string>

/// Before each call of `name` (read, copy_file_range, ioctl, renameat2, linkat, mkdirat, fchownat, mknodat or
/// openat2) `answer` is asked: 0 for the real call, the error it fails with, or `done` when it gives 0
/// without being made.
void answer_calls(const std::string& name, std::function<int()> answer);

inline constexpr int done = -1;

/// Every call is a real one again.
void forget_answers();

#endif
