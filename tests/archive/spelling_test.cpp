#include "process/archive/spelling.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "process/archive/checks.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

TEST(Spelling, LeavesHarmlessNamesAlone) {
  for (const char* name : {"/tmp/a.zip", "a.zip", "/tmp/my archive's \"best\".zip", "/tmp/a\\b.zip",
                           "]{}^!.zip", "/tmp/a-b.zip", "/tmp/-x/a.zip"}) {
    EXPECT_EQ(name, as_file(name));
    EXPECT_EQ(name, as_archive(name));
  }
}

TEST(Spelling, OfADashAndOfPatterns) {
  EXPECT_EQ("./-a.zip", as_file("-a.zip"));
  EXPECT_EQ("./-a.zip", as_archive("-a.zip"));
  EXPECT_EQ("./-a[[]1].zip", as_archive("-a[1].zip"));
  EXPECT_EQ("/d[1]/a[?]b[*]\\\\.zip", as_archive("/d[1]/a?b*\\.zip"));
}

// Each name lies beside others that unzip would rather take: the pattern's other matches, and those that a
// backslash more or less would name.
TEST(Spelling, MakesUnzipOpenTheChosenArchiveAndNoOther) {
  const char* const names[] = {
      "B[1].zip",       "B1.zip",       "a*b.zip",       "aXb.zip",     "q?.zip",
      "qq.zip",         "bs\\.zip",     "bs\\[1].zip",   "bs\\1.zip",   "bs1.zip",
      "d[1]/x.zip",     "d1/x.zip",     "d[1]/B[1].zip", "d[1]/B1.zip", "d1/B[1].zip",
      "d[1]/bs\\n.zip", "d[1]/bsn.zip", "-x.zip",        "x.zip",       "a!b^.zip",
      "[!a].zip",       "[^a].zip",     "b].zip",        "*.zip",       "é[1].zip"};
  shell_quietly("mkdir -p /tmp/z/d1 '/tmp/z/d[1]'");
  ASSERT_EQ(0, chdir("/tmp/z"));
  for (std::size_t at = 0; at < std::size(names); ++at) {
    write_file("/tmp/z/member", std::string(at + 1, 'x'));
    shell_quietly("rm -f t.zip; zip -q t.zip member; rm member");
    write_file(std::string("/tmp/z/") + names[at], read_file("/tmp/z/t.zip"));
  }
  for (std::size_t at = 0; at < std::size(names); ++at) {
    EXPECT_EQ(at + 1, zipSize(names[at])) << names[at];
    EXPECT_EQ(0, isEncrypted(names[at])) << names[at];
    EXPECT_EQ(1, isZipfile(names[at])) << names[at];
    EXPECT_LT(100, tarsize(names[at])) << names[at];
    EXPECT_EQ(at + 1, zipSize((std::string("/tmp/z/") + names[at]).c_str())) << names[at];
  }
}

}  // namespace
