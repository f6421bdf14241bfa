#include "late/library.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <string>

#include "support/files.h"

// Seen by the loader: this program exports its functions.
extern "C" __attribute__((visibility("default"))) int brindle_length_of(const char* text) {
  return static_cast<int>(std::string(text).size());
}
extern "C" __attribute__((visibility("default"))) void brindle_count(int* number) { ++*number; }

namespace {

constexpr late::Library libbz2("libbz2.so.1.0");
constexpr late::Library no_library("libbrindle-has-none.so.1");
const late::Call<const char*()> version(libbz2, "BZ2_bzlibVersion");
const late::Call<int(const char*)> own(libbz2, "brindle_length_of");
constinit const late::Call<void(int*)> count(libbz2, "brindle_count");
const late::Call<void()> no_function(libbz2, "brindle_has_none");
const late::Call<void()> of_no_library(no_library, "brindle_has_none");

bool is_loaded() { return read_file("/proc/self/maps").find("libbz2.so") != std::string::npos; }

TEST(LateLibrary, IsLoadedWithTheFirstCall) {
  EXPECT_FALSE(is_loaded());
  EXPECT_EQ('1', *version());
  EXPECT_TRUE(is_loaded());
  EXPECT_EQ('1', *version());
}

TEST(LateLibrary, CanBeLoadedBefore) {
  EXPECT_TRUE(libbz2.load());
  EXPECT_TRUE(is_loaded());
}

TEST(LateLibrary, SaysThatItCannotBeLoaded) {
  EXPECT_FALSE(no_library.load());
  EXPECT_FALSE(no_library.load());
}

TEST(LateLibrary, AFunctionOfTheProgramComesFirst) {
  EXPECT_EQ(4, own("four"));
  EXPECT_FALSE(is_loaded());
}

TEST(LateLibrary, KeepsItsFunctionsFromOthers) {
  ASSERT_TRUE(libbz2.load());
  EXPECT_EQ(nullptr, dlsym(RTLD_DEFAULT, "BZ2_bzlibVersion"));
}

TEST(LateLibrary, ACallMayFreeWhatAnotherHasMade) {
  int freed = 0;
  { const std::unique_ptr<int, late::FreedBy<count>> one(&freed); }
  EXPECT_EQ(1, freed);
}

TEST(LateLibraryDeathTest, EndsTheProgramWhenItCannotBeLoaded) {
  EXPECT_EXIT(of_no_library(), testing::KilledBySignal(SIGABRT),
              "brindle: libbrindle-has-none.so.1: .*cannot open shared object file");
}

TEST(LateLibraryDeathTest, EndsTheProgramWhenItHasNoSuchFunction) {
  EXPECT_EXIT(no_function(), testing::KilledBySignal(SIGABRT), "brindle: libbz2.so.1.0: .*brindle_has_none");
}

}  // namespace
