// System calls of a test's code, taken at the C library: what comes before each one, and errors that no
// machine at hand gives.
#ifndef BRINDLE_TESTS_PLACE_CALLS_H
#define BRINDLE_TESTS_PLACE_CALLS_H

#include <functional>
#include <string>

/// Before each call of `name` `answer` is asked: 0 for the real call, the error it fails with, or `done` when
/// it gives 0 without being made. The names are read, pread, pwrite, lseek, flock, fstat, copy_file_range,
/// ioctl, openat, openat2, unlinkat, renameat, renameat2, linkat, mkdirat, mknodat, fchown and fchownat.
void answer_calls(const std::string& name, std::function<int()> answer);

inline constexpr int done = -1;

/// Every call is a real one again.
void forget_answers();

#endif
