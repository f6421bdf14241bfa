// Runs the tests inside a private view of the machine: the program starts itself again there, so that
// /root, /home, /etc and /usr can be written and nothing outside changes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace {

[[noreturn]] void start_again_in_view(const std::vector<char*>& own_words) {
  const char* tool = BRINDLE_SOURCE_DIR "/tools/view";
  std::vector<char*> words{const_cast<char*>(tool)};
#ifdef __SANITIZE_THREAD__
  // GLib's own allocator hands memory from thread to thread under locks that the checker does not see.
  words.push_back(const_cast<char*>("--env"));
  words.push_back(const_cast<char*>("G_SLICE=always-malloc"));
#endif
  words.push_back(const_cast<char*>("--"));
  words.insert(words.end(), own_words.begin(), own_words.end());
  execv(tool, words.data());
  std::perror(tool);
  std::exit(77);  // no view, no test: counted as skipped, never as passed
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<char*> words(argv, argv + argc + 1);  // before GoogleTest takes its own out
  testing::InitGoogleMock(&argc, argv);
  if (!GTEST_FLAG_GET(list_tests) && std::getenv("BRINDLE_VIEW") == nullptr) start_again_in_view(words);
  return RUN_ALL_TESTS();
}
