#include "pack/report.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "pack/progress.h"

namespace {

using testing::HasSubstr;

std::string report_on(const std::string& path) {
  std::vector<pack::Packed> people(1);
  people.front().person.shown = "Ann";
  people.front().person.login = "ann";
  people.front().tally.remark(pack::Kind::documents, pack::Cause::unreadable, path);
  std::ostringstream out;
  pack::write_report(out, people);
  return out.str();
}

TEST(ReportedNames, GiveATerminalNoOrders) {
  const std::pair<const char*, const char*> cases[] = {
      {"a\x1b[2Jb", "a?[2Jb"},
      {"a\x7F", "a?"},
      {"a\xC2\x9B"
       "2Jb",
       "a?2Jb"},  // the second set of control characters
      {"a\x9B"
       "2Jb",
       "a?2Jb"},  // the same as a byte
      {"a\xE2\x80\xAE"
       "gpj.b",
       "a?gpj.b"},  // what follows runs from right to left
      {"a\xE2\x81\xA6"
       "b",
       "a?b"},
      {"a\xD8\x9C"
       "b",
       "a?b"},
      {"a\xE2\x80\x8F"
       "b",
       "a?b"},
      {"a\xE2\x80\xA8"
       "b",
       "a?b"},
      {"half\xED\xA0\x80", "half???"},
      {"cut\xE6\x97", "cut??"},
  };
  for (const auto& [path, shown] : cases)
    EXPECT_THAT(report_on(path), HasSubstr(std::string("\n    ") + shown + "\n")) << shown;
}

TEST(ReportedNames, OfAllLanguagesAreShown) {
  for (const char* name : {"Grüße", "日本語", "שלום", "مرحبا", "😀",
                           "a\xC2\xA0"
                           "b",
                           "a\xE2\x80\x8D"
                           "b"})
    EXPECT_THAT(report_on(name), HasSubstr(std::string("\n    ") + name + "\n"));
}

// The second one may be of the same program, and even of the same file.
TEST(ReportedCauses, TellOfWhatCameTwiceWhereverThatWas) {
  std::vector<pack::Packed> people(1);
  people.front().person.login = "ann";
  people.front().tally.packed(pack::Kind::mail, 1);
  for (int i = 0; i < 2; ++i)
    people.front().tally.remark(pack::Kind::mail, pack::Cause::there_already, "Inbox");
  std::ostringstream out;
  pack::write_report(out, people);
  EXPECT_THAT(out.str(),
              HasSubstr("2 things, each of which was found more than once, and is packed once.\n"));
}

TEST(Progress, SaysWhatIsLeft) {
  EXPECT_EQ(pack::time_left(10, 0, 100), "?");
  EXPECT_EQ(pack::time_left(10, 50, 100), "0:10");
  EXPECT_EQ(pack::time_left(10, 1, 14), "2:10");
  EXPECT_EQ(pack::time_left(100, 1, 38), "1:01:40");
  EXPECT_EQ(pack::time_left(100, 7, 7), "0:00");
}

}  // namespace
