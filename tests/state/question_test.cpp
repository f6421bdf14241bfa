#include "state/question.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "state/gui_thread.h"
#include "state/state.h"

namespace {

using testing::Each;

struct Asked {
  const char* name;
  Question& question;
  std::atomic<int>& flag;
};

void PrintTo(const Asked& asked, std::ostream* out) { *out << asked.name; }

class EachQuestion : public testing::TestWithParam<Asked> {
 protected:
  EachQuestion() : question(GetParam().question), flag(GetParam().flag) {}
  Question& question;
  std::atomic<int>& flag;
  GuiThread gui;
};

INSTANTIATE_TEST_SUITE_P(Four, EachQuestion,
                         testing::Values(Asked{"printer", printer_notice, isPrinterPopupOpen},
                                         Asked{"user", user_notice, isUserPopupOpen},
                                         Asked{"driver", driver_question, isWindowSelectDriverOpen},
                                         Asked{"share", share_question, isWindowSmbUsernamePasswordOpen}));

TEST_P(EachQuestion, HasItsFlagSetFromTheStart) { EXPECT_EQ(flag, 1); }

TEST_P(EachQuestion, IsOpenWhenItsCallbackRunsAndClosedAfterTheAnswer) {
  flag = 0;
  int seen = -1;
  GuiThread::when_asked([&] {
    seen = flag;
    question.close();
  });
  EXPECT_TRUE(question.ask());
  EXPECT_EQ(seen, 1);
  EXPECT_EQ(flag, 0);
}

TEST_P(EachQuestion, LeavesTheFlagsOfTheOthersAlone) {
  GuiThread::when_asked([&] { question.decline(); });
  question.ask();
  const int sum =
      isPrinterPopupOpen + isUserPopupOpen + isWindowSelectDriverOpen + isWindowSmbUsernamePasswordOpen;
  EXPECT_EQ(sum, 3);
}

TEST_P(EachQuestion, IsWaitedForInWholeSeconds) {
  GuiThread::when_asked([&] { question.window_shown(); });
  GuiThread::before_sleep([&] {
    EXPECT_EQ(flag, 1);
    if (GuiThread::seconds_slept() == 5) GuiThread::run([&] { question.close(); });
  });
  EXPECT_TRUE(question.ask());
  EXPECT_EQ(GuiThread::seconds_slept(), 6);
}

TEST_P(EachQuestion, IsAnsweredByWhoeverClearsTheFlag) {
  GuiThread::when_asked([&] { flag = 0; });
  EXPECT_TRUE(question.ask());
}

TEST_P(EachQuestion, IsAnsweredByAnyOtherValueOfTheFlag) {
  for (const int other : {2, -1}) {
    GuiThread::when_asked([&] { flag = other; });
    GuiThread::before_sleep([&] {
      if (GuiThread::seconds_slept() > 500) flag = 0;  // who has waited so long waits for that alone
    });
    EXPECT_TRUE(question.ask());
    EXPECT_EQ(flag, other);
  }
}

TEST_P(EachQuestion, CanBeDeclinedAndAskedAgain) {
  GuiThread::when_asked([&] { question.decline(); });
  EXPECT_FALSE(question.ask());
  EXPECT_EQ(flag, 0);
  GuiThread::when_asked([&] { question.close(); });
  EXPECT_TRUE(question.ask());
}

// ---- cancelling -----------------------------------------------------------------------------------

TEST_P(EachQuestion, IsDeclinedByACancelWhileItsWindowIsThere) {
  GuiThread::when_asked([&] { question.window_shown(); });
  GuiThread::before_sleep([] {
    if (GuiThread::seconds_slept() == 3) GuiThread::run(decline_open_questions);
  });
  EXPECT_FALSE(question.ask());
  EXPECT_EQ(flag, 0);
  EXPECT_FALSE(question.has_window());
}

// The worker must not go on before the callback has read the texts; the callback declines by itself.
TEST_P(EachQuestion, IsLeftToItsCallbackByACancelThatComesFirst) {
  std::thread worker;
  bool answered = true;
  GuiThread::run([&] {
    worker = std::thread([&] { answered = question.ask(); });
    while (GuiThread::seconds_slept() == 0) usleep(1000);
    decline_open_questions();
    EXPECT_EQ(flag, 1);
    GuiThread::when_asked([&] { question.decline(); });
  });
  worker.join();
  EXPECT_FALSE(answered);
}

TEST_P(EachQuestion, IsNotTouchedByACancelWhenNobodyHasAsked) {
  assign(selecteddriver, "kept");
  assign(Username, "kept");
  decline_open_questions();
  EXPECT_EQ(flag, 1);
  EXPECT_STREQ(selecteddriver, "kept");
  EXPECT_STREQ(Username, "kept");
}

TEST_P(EachQuestion, KeepsAnAnswerThatCameBeforeTheCancel) {
  GuiThread::when_asked([&] {
    question.window_shown();
    question.close();
    decline_open_questions();
  });
  EXPECT_TRUE(question.ask());
}

// At the end of the program nobody shows a window any more, so one that is on its way goes as well.
TEST_P(EachQuestion, IsDeclinedAtTheEndWhileItIsOpen) {
  for (const bool has_window : {false, true}) {
    std::thread worker;
    bool answered = true;
    flag = 0;
    GuiThread::run([&] {
      const int slept = GuiThread::seconds_slept();
      worker = std::thread([&] { answered = question.ask(); });
      while (GuiThread::seconds_slept() == slept) usleep(1000);
      if (has_window) question.window_shown();
      decline_all_questions();
      EXPECT_EQ(flag, 0);
      question.decline();  // whatever has become of it: the worker waits
    });
    worker.join();
    EXPECT_FALSE(answered);
    EXPECT_EQ(flag, 0);
    EXPECT_FALSE(question.has_window());
  }
}

TEST_P(EachQuestion, KeepsItsAnswerAtTheEndWhenItIsClosed) {
  flag = 0;
  assign(selecteddriver, "kept");
  assign(Username, "kept");
  assign(Password, "kept");
  isPrinterPopupOpen = isUserPopupOpen = isWindowSelectDriverOpen = isWindowSmbUsernamePasswordOpen = 0;
  decline_all_questions();
  EXPECT_STREQ(selecteddriver, "kept");
  EXPECT_STREQ(Username, "kept");
  EXPECT_STREQ(Password, "kept");
}

class QuestionWithAnswers : public EachQuestion {};

INSTANTIATE_TEST_SUITE_P(Two, QuestionWithAnswers,
                         testing::Values(Asked{"driver", driver_question, isWindowSelectDriverOpen},
                                         Asked{"share", share_question, isWindowSmbUsernamePasswordOpen}));

TEST_P(QuestionWithAnswers, IsSkippedAtOnceInACancelledRun) {
  assign(selecteddriver, "before");
  assign(Username, "before");
  assign(Password, "before");
  isKilled = 1;
  GuiThread::when_asked([&] {
    ADD_FAILURE() << "nobody is there to answer";
    question.decline();
  });
  EXPECT_FALSE(question.ask());
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(GuiThread::seconds_slept(), 0);
  const bool of_driver = &question == &driver_question;
  EXPECT_STREQ(selecteddriver, of_driver ? "" : "before");
  EXPECT_STREQ(Username, of_driver ? "before" : "");
  EXPECT_STREQ(Password, of_driver ? "before" : "");
}

TEST(Notices, AreShownInACancelledRunToo) {
  const GuiThread gui;
  isKilled = 1;
  for (Question* notice : {&printer_notice, &user_notice}) {
    bool is_shown = false;
    GuiThread::when_asked([&] {
      is_shown = true;
      notice->close();
    });
    EXPECT_TRUE(notice->ask());
    EXPECT_TRUE(is_shown);
  }
}

TEST_P(QuestionWithAnswers, IsSkippedForEveryPrinterBehindTheOneThatWasCancelled) {
  GuiThread::when_asked([&] { question.window_shown(); });
  GuiThread::before_sleep([] {
    if (GuiThread::seconds_slept() != 1) return;
    GuiThread::run([] {
      isKilled = 1;
      decline_open_questions();
    });
  });
  for (int printer = 0; printer < 3; ++printer) EXPECT_FALSE(question.ask());
  EXPECT_EQ(GuiThread::seconds_slept(), 2);
}

// ---- answers --------------------------------------------------------------------------------------

class Answers : public testing::Test {
 protected:
  GuiThread gui;
};

TEST_F(Answers, LieInTheirGlobals) {
  GuiThread::when_asked([] {
    EXPECT_TRUE(share_question.keep_answer(share_user, "anna"));
    EXPECT_TRUE(share_question.keep_answer(share_password, "secret"));
    share_question.close();
  });
  EXPECT_TRUE(share_question.ask());
  EXPECT_STREQ(Username, "anna");
  EXPECT_STREQ(Password, "secret");
  EXPECT_EQ(share_question.answer(share_user), Username);
  EXPECT_EQ(share_question.answer(share_password), Password);
  GuiThread::when_asked([] {
    EXPECT_TRUE(driver_question.keep_answer(0, "deskjet.ppd.gz"));
    driver_question.close();
  });
  EXPECT_TRUE(driver_question.ask());
  EXPECT_STREQ(selecteddriver, "deskjet.ppd.gz");
  EXPECT_EQ(driver_question.answer(0), selecteddriver);
}

TEST_F(Answers, AreNotForNotices) { EXPECT_THROW(printer_notice.keep_answer(0, "x"), std::out_of_range); }

TEST_F(Answers, ThatDoNotFitAreEmptyAndNeverCut) {
  EXPECT_TRUE(share_question.keep_answer(share_password, std::string(255, 'x').c_str()));
  EXPECT_EQ(std::string(255, 'x'), Password);
  EXPECT_FALSE(share_question.keep_answer(share_password, std::string(256, 'x').c_str()));
  EXPECT_STREQ(Password, "");
  EXPECT_TRUE(driver_question.keep_answer(0, std::string(1023, 'x').c_str()));
  EXPECT_FALSE(driver_question.keep_answer(0, std::string(1024, 'x').c_str()));
  EXPECT_STREQ(selecteddriver, "");
}

TEST_F(Answers, MayBeEmptyAllTheSame) {
  GuiThread::when_asked([] {
    EXPECT_FALSE(driver_question.keep_answer(0, ""));
    driver_question.close();
  });
  EXPECT_TRUE(driver_question.ask());
}

TEST_F(Answers, AreGoneAfterADeclineToTheLastByte) {
  GuiThread::when_asked([] {
    share_question.keep_answer(share_user, std::string(255, 'u').c_str());
    share_question.keep_answer(share_password, std::string(255, 'p').c_str());
    share_question.decline();
  });
  EXPECT_FALSE(share_question.ask());
  EXPECT_THAT(Username, Each('\0'));
  EXPECT_THAT(Password, Each('\0'));
}

TEST_F(Answers, AreForgottenToTheLastByteAndNoOthersWithThem) {
  assign(selecteddriver, "kept");
  std::memset(Username, 'u', sizeof Username);
  std::memset(Password, 'p', sizeof Password);
  share_question.forget_answers();
  EXPECT_THAT(Username, Each('\0'));
  EXPECT_THAT(Password, Each('\0'));
  EXPECT_STREQ(selecteddriver, "kept");
}

TEST_F(Answers, AreThereAsSoonAsTheFlagIsSeen) {
  std::string want;
  for (int round = 0; round < 200; ++round) {
    want = std::string(1000, static_cast<char>('a' + round % 26));
    GuiThread::when_asked([&] {
      driver_question.keep_answer(0, want.c_str());
      driver_question.close();
    });
    ASSERT_TRUE(driver_question.ask());
    ASSERT_EQ(want, driver_question.answer(0));
  }
}

// An answer on a page of its own that tells when it is written to.
class Order : public testing::Test {
 protected:
  static constexpr std::size_t page_size = 4096;
  static inline char* page = nullptr;
  static inline std::atomic<int> flag{0};
  static inline volatile sig_atomic_t flag_at_first_write = -1;

  static char* new_page() {
    void* made = mmap(nullptr, page_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return page = static_cast<char*>(made);
  }

  static void note_and_allow(int signal) {
    flag_at_first_write = flag;
    mprotect(page, page_size, PROT_READ | PROT_WRITE);
    std::signal(signal, SIG_DFL);
  }

  static void watch() {
    std::signal(SIGSEGV, note_and_allow);
    mprotect(page, page_size, PROT_READ);
  }

  Question question{{.open = flag, .answers = {std::span<char>(new_page(), page_size)}},
                    [](void*) { return 0; }};
};

TEST_F(Order, OfADeclineIsAnswersFirstAndFlagLast) {
  std::strcpy(page, "before");
  flag = 1;
  watch();
  question.decline();
  EXPECT_EQ(flag_at_first_write, 1);
  EXPECT_EQ(flag, 0);
  EXPECT_STREQ(page, "");
}

TEST_F(Order, OfAnAnswerIsAnswersFirstAndFlagLast) {
  flag = 1;
  watch();
  question.keep_answer(0, "an answer");
  EXPECT_EQ(flag_at_first_write, 1);
  EXPECT_EQ(flag, 1);
  question.close();
  EXPECT_EQ(flag, 0);
  EXPECT_STREQ(page, "an answer");
}

// ---- texts ----------------------------------------------------------------------------------------

class Texts : public testing::Test {
 protected:
  GuiThread gui;
};

TEST_F(Texts, LieInTheirGlobals) {
  driver_question.set_title("HP LaserJet");
  EXPECT_STREQ(displaylabel, "HP LaserJet");
  EXPECT_STREQ(driver_question.title(), "HP LaserJet");
  share_question.set_title("Office");
  share_question.set_text("//server/hp");
  EXPECT_STREQ(displaylabel, "Office");
  EXPECT_STREQ(smburl, "//server/hp");
  EXPECT_STREQ(share_question.title(), "Office");
  EXPECT_STREQ(share_question.text(), "//server/hp");
}

TEST_F(Texts, OfTheDriverQuestionAreItsOwn) {
  smburl = "//server/hp";
  driver_question.set_text("Office");
  driver_question.set_title("HP LaserJet");
  EXPECT_STREQ(driver_question.text(), "Office");
  EXPECT_STREQ(driver_question.title(), "HP LaserJet");
  EXPECT_STREQ(smburl, "//server/hp");
  EXPECT_STREQ(share_question.text(), "//server/hp");
}

TEST_F(Texts, AreEmptyWithoutAny) {
  displaylabel = nullptr;
  EXPECT_STREQ(driver_question.title(), "");
  EXPECT_STREQ(driver_question.text(), "");
  EXPECT_STREQ(printer_notice.title(), "");
}

TEST_F(Texts, OutliveWhatTheyWereSetFrom) {
  {
    std::string name = "a name that is too long to lie within the text object itself";
    driver_question.set_title(name);
    name.assign(name.size(), 'x');
  }
  EXPECT_STREQ(displaylabel, "a name that is too long to lie within the text object itself");
}

// What the thread checker watches: each thread reads what the other wrote, with nothing but the question
// between.
TEST_F(Texts, AreReadByTheCallbackWhileTheWorkerWaitsAndChangedWhenItGoesOn) {
  for (int round = 0; round < 100; ++round) {
    const std::string name = "printer " + std::to_string(round);
    std::string shown;
    share_question.set_title(name);
    share_question.set_text("//server/" + name);
    driver_question.set_text(name);
    GuiThread::when_asked([&] {
      EXPECT_EQ(driver_question.text(), name);
      shown = share_question.title() + std::string(" ") + share_question.text();
      if (round % 2 == 0) return share_question.decline();
      share_question.keep_answer(share_user, shown.c_str());
      share_question.close();
    });
    EXPECT_EQ(share_question.ask(), round % 2 != 0);
    EXPECT_EQ(shown, name + " //server/" + name);
    EXPECT_EQ(share_question.answer(share_user), round % 2 == 0 ? "" : shown);
  }
}

}  // namespace
