// Files of a test: writing them, reading them back, comparing them byte for byte.
#ifndef BRINDLE_TESTS_SUPPORT_FILES_H
#define BRINDLE_TESTS_SUPPORT_FILES_H

#include <gtest/gtest.h>

#include <string>

/// Writes `bytes` to `path`, making its folders. Ends the test program when that fails.
void write_file(const std::string& path, const std::string& bytes);

/// All bytes of `path`; fails the test when it cannot be read.
std::string read_file(const std::string& path);

/// True when something, a dangling link included, lies at `path`.
bool exists(const std::string& path);

/// EXPECT_TRUE(same_bytes(expected, actual)): shows the first difference with its line and surroundings.
testing::AssertionResult same_bytes(const std::string& expected, const std::string& actual);

/// Holds the file at `path` against a hand-written one, tests/expected/NAME.
testing::AssertionResult matches_expected(const std::string& path, const std::string& name);

/// Absolute path of a file of the tests folder as it is seen inside the view.
std::string test_data(const std::string& name);

#endif
