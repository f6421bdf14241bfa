// Runs the tests inside a private view of the machine: the program starts itself again there, so that
// /root, /home, /etc and /usr can be written and nothing outside changes. Each test finds a fresh machine: a
// layer of its own over the view, or, where the kernel allows no layer over a layer, a view of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "support/each_test.h"
#include "support/layer.h"
#include "support/programs.h"
#include "support/sleeps.h"

#ifdef __SANITIZE_ADDRESS__
// When a process ends, the checker lifts the guards around each global, and gets a page of its own for each
// that it writes. Whoever comes after that, such as the search for leaks, needs none lifted.
extern "C" void __asan_unregister_globals(void* globals, std::size_t number);
extern "C" void __asan_unregister_globals(void* /*globals*/, std::size_t /*number*/) {}
#endif

namespace {

using Words = std::vector<std::string>;

constexpr const char* this_test_alone = "--this-test-alone";
constexpr int no_view = 77;  // no test either: counted as skipped, never as passed
constexpr int no_layers = 75;

[[noreturn]] void become(const Words& words) {
  std::vector<char*> list;
  for (const std::string& word : words) list.push_back(const_cast<char*>(word.c_str()));
  list.push_back(nullptr);
  execv(list[0], list.data());
  std::perror(list[0]);
  _exit(no_view);
}

Words in_view(const Words& own_words) {
  // The lines of the C library's source, where they are installed: a checker would read them in each test in
  // which it passes over something that is not ours.
  Words words{built::source_folder + "/tools/view", "--prepare", "rm -rf /usr/lib/debug"};
#ifdef __SANITIZE_THREAD__
  // GLib's own allocator hands memory from thread to thread under locks that the checker does not see.
  words.insert(words.end(), {"--env", "G_SLICE=always-malloc"});
#endif
  words.push_back("--");
  words.insert(words.end(), own_words.begin(), own_words.end());
  return words;
}

// The exit status; what it says goes to the file `output`, if there is one.
int run(const Words& words, std::optional<int> output = std::nullopt) {
  std::fflush(nullptr);
  const pid_t process = fork();
  if (process == 0) {
    if (output) dup2(*output, STDOUT_FILENO);
    if (output) dup2(*output, STDERR_FILENO);
    become(words);
  }
  int status = 0;
  waitpid(process, &status, 0);
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

int run_here(const std::string& name) {
  sleeps::are_short();
  GTEST_FLAG_SET(filter, name);
  return RUN_ALL_TESTS();
}

int run_each_in_layer(const each_test::Wish& wish) {
  return each_test::run(each_test::names(wish),
                        [&](const std::string& name, int output) {
                          return layer::run([&] { return run_here(name); }, output, wish.limit);
                        })
      .value_or(no_layers);
}

int run_each_in_view(const Words& words, const each_test::Wish& wish) {
  return each_test::run(
             each_test::names(wish),
             [&](const std::string& name, int output) {
               Words alone = {"/usr/bin/timeout", "-k", "5", std::to_string(wish.limit.count())};
               for (const std::string& word : in_view({words[0], this_test_alone, "--gtest_filter=" + name}))
                 alone.push_back(word);
               const int status = run(alone, output);
               return layer::Ended{status, status != 124};
             })
      .value_or(1);
}

int run_outside(const Words& words, const each_test::Wish& wish) {
  const int status = run(in_view(words));
  return status == no_layers ? run_each_in_view(words, wish) : status;
}

}  // namespace

int main(int argc, char** argv) {
  Words words(argv, argv + argc);  // before GoogleTest takes its own out
  words[0] = std::filesystem::absolute(words[0]);
  testing::InitGoogleMock(&argc, argv);
  const each_test::Wish wish = each_test::wish_of(words);
  if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
  if (std::getenv("BRINDLE_VIEW") == nullptr) return run_outside(words, wish);
  if (std::ranges::count(words, this_test_alone) != 0) {
    sleeps::are_short();
    return RUN_ALL_TESTS();
  }
  const int status = run_each_in_layer(wish);
  if (status == no_layers) _exit(status);  // whatever the leak checker thinks of such a view
  return status;
}
