#include "support/each_test.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <sstream>
#include <utility>

#include "place/descriptor.h"

namespace each_test {

namespace {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

enum class Outcome { passed, failed, skipped };

std::string all_of(int file) {
  std::string text(static_cast<std::size_t>(lseek(file, 0, SEEK_END)), '\0');
  text.resize(static_cast<std::size_t>(std::max<ssize_t>(0, pread(file, text.data(), text.size(), 0))));
  return text;
}

// "Suite.", and below each its tests: "  Name  # GetParam() = 1".
std::vector<std::string> names_in(const std::string& list) {
  std::vector<std::string> found;
  std::istringstream lines(list);
  std::string suite;
  for (std::string line; std::getline(lines, line);) {
    const std::string word = line.substr(0, line.find("  #"));
    if (!word.starts_with("  ")) {
      suite = word;
    } else {
      found.push_back(suite + word.substr(2));
    }
  }
  return found;
}

// GoogleTest can only print it.
std::string list_of_tests() {
  const Descriptor list(memfd_create("tests", MFD_CLOEXEC));
  std::fflush(nullptr);
  const pid_t process = fork();
  if (process == 0) {
    dup2(list.number(), STDOUT_FILENO);
    GTEST_FLAG_SET(list_tests, true);
    const int status = RUN_ALL_TESTS();
    std::fflush(nullptr);
    _exit(status);
  }
  waitpid(process, nullptr, 0);
  return all_of(list.number());
}

Outcome outcome_of(const layer::Ended& ended, const std::string& said) {
  if (!ended.in_time || ended.status != 0) return Outcome::failed;
  // A test that was not found has not passed.
  if (said.find("[  SKIPPED ]") != said.npos) return Outcome::skipped;
  return said.find("[  PASSED  ] 1 test.") != said.npos ? Outcome::passed : Outcome::failed;
}

void tell_of_failure(const std::string& name, const layer::Ended& ended, const std::string& said) {
  std::printf("%s\nFAILED: %s, %s %d\n\n", said.c_str(), name.c_str(),
              ended.in_time ? "exit status" : "ended after its time, exit status", ended.status);
  std::fflush(stdout);
}

void tell_of_slowest(std::vector<std::pair<double, std::string>>& times) {
  std::ranges::sort(times, std::greater());
  for (std::size_t at = 0; at < std::min<std::size_t>(times.size(), 3); ++at)
    std::printf("%6.1f s  %s\n", times[at].first, times[at].second.c_str());
}

}  // namespace

Wish wish_of(const std::vector<std::string>& words) {
  Wish wish;
  int seconds = 0;
  for (const std::string& word : words) {
    std::sscanf(word.c_str(), "--part=%d/%d", &wish.part, &wish.parts);
    if (std::sscanf(word.c_str(), "--limit=%d", &seconds) == 1) wish.limit = std::chrono::seconds(seconds);
  }
  return wish;
}

std::vector<std::string> names(const Wish& wish) {
  std::vector<std::string> left;
  int number = 0;
  for (const std::string& name : names_in(list_of_tests())) {
    const bool is_off = name.find("DISABLED_") != name.npos && !GTEST_FLAG_GET(also_run_disabled_tests);
    if (!is_off && number++ % wish.parts == wish.part - 1) left.push_back(name);
  }
  return left;
}

std::optional<int> run(const std::vector<std::string>& names, const Runner& runner) {
  int passed = 0, failed = 0, skipped = 0;
  std::vector<std::pair<double, std::string>> times;
  for (const std::string& name : names) {
    const Descriptor output(memfd_create("output", MFD_CLOEXEC));
    const auto begin = Clock::now();
    const std::optional<layer::Ended> ended = runner(name, output.number());
    if (!ended) return std::nullopt;
    times.emplace_back(Seconds(Clock::now() - begin).count(), name);
    const std::string said = all_of(output.number());
    switch (outcome_of(*ended, said)) {
      case Outcome::passed:
        ++passed;
        break;
      case Outcome::skipped:
        ++skipped;
        break;
      case Outcome::failed:
        ++failed;
        tell_of_failure(name, *ended, said);
    }
  }
  tell_of_slowest(times);
  std::printf("%d passed, %d failed, %d skipped\n", passed, failed, skipped);
  return failed == 0 ? 0 : 1;
}

}  // namespace each_test
