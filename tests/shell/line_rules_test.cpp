#include "shell/line_rules.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "shell/pair_finder.h"

namespace {

constexpr std::size_t none = std::string_view::npos;

TEST(PairFinder, FindsThePairsInTheirOrder) {
  PairFinder finder{"xy", "ab"};
  finder.look_in("..ab.xyab.a");
  EXPECT_EQ(2U, finder.next(0));
  EXPECT_EQ(2U, finder.next(2));
  EXPECT_EQ(5U, finder.next(3));
  EXPECT_EQ(7U, finder.next(6));
  EXPECT_EQ(none, finder.next(8));
  EXPECT_EQ(none, finder.next(11));
}

TEST(PairFinder, FindsPairsInEachOther) {
  PairFinder finder{"ab", "bc"};
  finder.look_in("abc");
  EXPECT_EQ(0U, finder.next(0));
  EXPECT_EQ(1U, finder.next(1));
  EXPECT_EQ(none, finder.next(2));
}

TEST(PairFinder, BeginsAnewInAnotherText) {
  PairFinder finder{"ab"};
  finder.look_in("....ab");
  EXPECT_EQ(4U, finder.next(0));
  finder.look_in("ab");
  EXPECT_EQ(0U, finder.next(0));
  finder.look_in("");
  EXPECT_EQ(none, finder.next(0));
  finder.look_in("a");
  EXPECT_EQ(none, finder.next(0));
}

// "two" takes the next line along.
LineRules rules(std::string_view trace) {
  return {.trace = trace,
          .marks = {"on", "tw"},
          .rewrite = [takes_next = false](std::string_view line, std::string& out) mutable {
            std::printf("<%zu>", line.size());
            out.append("[").append(line).append("]");
            takes_next = !takes_next && line.find("two") != std::string_view::npos;
            return takes_next;
          }};
}

std::string rewritten(std::initializer_list<std::string_view> blocks, std::string_view trace = {}) {
  LineRewriter rewriter(rules(trace), 8);
  std::string text;
  for (const std::string_view block : blocks) text += rewriter.rewrite(block);
  return text;
}

struct Rewriting : testing::Test {
  Rewriting() { testing::internal::CaptureStdout(); }
  ~Rewriting() override {
    if (!taken_) testing::internal::GetCapturedStdout();
  }
  std::string traces() {
    taken_ = true;
    return testing::internal::GetCapturedStdout();
  }

 private:
  bool taken_ = false;
};

TEST_F(Rewriting, LeavesLinesWithoutAMark) {
  EXPECT_EQ("a\nb\n\n[one\n]c", rewritten({"a\nb\n\none\nc"}));
  EXPECT_EQ("", rewritten({}));
  EXPECT_EQ("", rewritten({""}));
  EXPECT_EQ("[one]", rewritten({"one"}));
  EXPECT_EQ("o\nn\n", rewritten({"o\nn\n"}));
}

TEST_F(Rewriting, HandsOutEachLineOnce) { EXPECT_EQ("[one on\n][on\n]", rewritten({"one on\non\n"})); }

TEST_F(Rewriting, CutsLongLinesAnywhereAboveTheirLimit) {
  EXPECT_EQ("aaaaaaaabbbbbbbb[ccone\n]", rewritten({"aaaaaaaabbbbbbbbccone\n"}));
  EXPECT_EQ("aaaaaaaa[bbonbbbb]cc\n", rewritten({"aaaaaaaabbonbbbbcc\n"}));
  EXPECT_EQ("x\n[aaaaaaao]ne\n", rewritten({"x\naaaaaaaone\n"}));  // a mark across two pieces
}

TEST_F(Rewriting, TakesTheNextLineAlong) {
  EXPECT_EQ("[two\n][x\n]y\n", rewritten({"two\nx\ny\n"}));
  EXPECT_EQ("[two\n][two\n]y\n", rewritten({"two\ntwo\ny\n"}));
  EXPECT_EQ("[two\n]", rewritten({"two\n"}));
}

TEST_F(Rewriting, TakesTheNextLineAlongFromTheNextBlock) {
  EXPECT_EQ("a\n[two\n][x\n]y\n[one\n]", rewritten({"a\ntwo\n", "x\ny\none\n"}));
}

TEST_F(Rewriting, TracesEachLineInItsPlace) {
  rewritten({"a\nb\none\n", "two\nx\nlast"}, "Line::");
  EXPECT_EQ("Line::a\nLine::b\nLine::one\n<4>Line::two\n<4><2>Line::last", traces());
}

TEST_F(Rewriting, TracesPiecesOfALongLine) {
  rewritten({"aaaaaaaabb\n"}, "L:");
  EXPECT_EQ("L:aaaaaaaaL:bb\n", traces());
}

TEST_F(Rewriting, EndsATraceAtAZeroByte) {
  EXPECT_EQ(std::string("a\0b\n[on\0e\n]c", 12), rewritten({std::string_view("a\0b\non\0e\nc", 10)}, "L:"));
  EXPECT_EQ("L:aL:on<5>L:c", traces());
}

TEST_F(Rewriting, TracesNothingWithoutAWord) {
  rewritten({"a\none\n"});
  EXPECT_EQ("<4>", traces());
}

}  // namespace
