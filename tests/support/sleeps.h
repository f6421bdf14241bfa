// How long the program's fixed waits are in a test (state/sleep.h). Each test begins with short ones.
#ifndef BRINDLE_TESTS_SUPPORT_SLEEPS_H
#define BRINDLE_TESTS_SUPPORT_SLEEPS_H

#include <chrono>
#include <functional>

namespace sleeps {

/// A twentieth of what the program says.
void are_short();

/// Over when `is_over`, which is asked at least once in each, or after 20 seconds.
void end_when(std::function<bool()> is_over);

/// All that the program has meant to sleep since one of these was called, on all threads.
std::chrono::milliseconds meant();

}  // namespace sleeps

#endif
