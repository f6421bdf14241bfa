#include "things/program.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

namespace {

using testing::HasSubstr;
using things::run_program;
using things::run_program_for;

/// Why a shell with this script has failed; empty when it has not.
std::string reason(const std::string& script, const std::string& input = "") {
  std::string error;
  return run_program({"sh", "-c", script}, input, error) ? "" : "failed: " + error;
}

TEST(Programs, SucceedByTheirStatusAlone) {
  EXPECT_EQ("", reason("echo no error >&2"));
  EXPECT_EQ("failed: sh failed", reason("exit 3"));
  EXPECT_EQ("failed: what it says", reason("echo what it says >&2; exit 1"));
  EXPECT_EQ("failed: sh failed", reason("kill -9 $$"));
}

TEST(Programs, GetTheirInput) {
  EXPECT_EQ("", reason("[ \"$(cat)\" = 'two words' ]", "two words"));
  EXPECT_EQ("", reason("[ -z \"$(cat)\" ]"));
}

TEST(Programs, AreThoseOfTheSystemAndSpeakEnglish) {
  setenv("LC_ALL", "de_DE.UTF-8", 1);
  EXPECT_EQ("", reason("[ \"$PATH $LC_ALL ${HOME-none}\" = '/usr/sbin:/usr/bin:/sbin:/bin C none' ]"));
}

TEST(Programs, ThatAreMissingAreNamed) {
  std::string error;
  EXPECT_FALSE(run_program({"no-such-program"}, "", error));
  EXPECT_THAT(error, HasSubstr("no-such-program"));
}

TEST(Programs, SayAKilobyteAtMost) {
  const std::string said = reason("head -c 3000 /dev/zero | tr '\\0' x; exit 1");
  EXPECT_EQ("failed: " + std::string(1024, 'x'), said);
}

TEST(Programs, WriteWhatIsAskedForWithoutTheirErrors) {
  std::string error;
  std::string output;
  EXPECT_TRUE(run_program_for(output, {"sh", "-c", "echo one; echo error >&2; echo two"}, error));
  EXPECT_EQ("one\ntwo\n", output);
  EXPECT_FALSE(run_program_for(output, {"sh", "-c", "echo three; echo error >&2; exit 1"}, error));
  EXPECT_EQ("error", error);
  EXPECT_EQ("one\ntwo\n", output);
}

}  // namespace
