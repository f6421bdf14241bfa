#include <gtest/gtest.h>

#include "composer/fuzz.h"

// A short run of fuzz/composer: real shells, programs that write down what they got, and a seed that makes
// the same commands every time.

namespace {

class Shells : public testing::TestWithParam<Shell> {
 protected:
  void TearDown() override {
    for (const std::string& breach : fuzz_.tally().breaches) ADD_FAILURE() << breach;
    EXPECT_GT(fuzz_.tally().ran, 0u);
  }

  Trial trial_;
  Fuzz fuzz_{trial_, {GetParam()}, 2005};
};

TEST_P(Shells, GiveEveryProgramTheValueWordForWord) {
  for (int turn = 0; turn < 200; ++turn) fuzz_.try_shape();
}

TEST_P(Shells, ReadACommandInACommandTwice) {
  for (int turn = 0; turn < 60; ++turn) fuzz_.try_inner_command();
}

TEST_P(Shells, TakeNumbersAndWordsWithTheirOwnQuotes) {
  for (int turn = 0; turn < 20; ++turn) fuzz_.try_number();
  for (int turn = 0; turn < 40; ++turn) fuzz_.try_quoted_word();
}

TEST_P(Shells, ReadMadeUpTemplatesAsTheReaderDoes) {
  while (fuzz_.tally().templates < 60) fuzz_.try_made_up_template();
}

std::string name_of(const testing::TestParamInfo<Shell>& shell) {
  return shell.param.file == "/bin/dash" ? "dash" : shell.param.language == "C" ? "bash_in_C" : "bash";
}

INSTANTIATE_TEST_SUITE_P(Real, Shells,
                         testing::Values(Shell{"/bin/dash", "C.UTF-8"}, Shell{"/bin/bash", "C.UTF-8"},
                                         Shell{"/bin/bash", "C"}),
                         name_of);

TEST(ComposerInBig5, GivesBashTheValueWordForWord) {
  const Trial trial;
  const auto language = trial.make_language("BIG5");
  ASSERT_TRUE(language);
  Fuzz fuzz(trial, {{"/bin/bash", *language, true}}, 2005);
  for (int turn = 0; turn < 150; ++turn) fuzz.try_shape();
  for (int turn = 0; turn < 50; ++turn) fuzz.try_inner_command();
  for (const std::string& breach : fuzz.tally().breaches) ADD_FAILURE() << breach;
  EXPECT_EQ(0u, fuzz.tally().refused_halves);
  EXPECT_GT(fuzz.tally().ran, 100u);
}

}  // namespace
