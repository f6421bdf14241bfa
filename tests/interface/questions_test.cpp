// What the worker asks, with the real windows: a worker thread asks, this thread is the GUI's.
#include "state/question.h"

#include <atomic>
#include <functional>
#include <thread>

#include "callbacks/navigation.h"
#include "gui.h"
#include "interface/windows.h"
#include "state/posts.h"
#include "state/state.h"

namespace {

class QuestionsTest : public GuiTest {
 protected:
  void SetUp() override {
    GuiTest::SetUp();
    build_pages();
    build_dialogs();
    gtk_widget_show(window3);
    dir_name = nullptr;
  }

  // Runs the main loop until `condition` holds, which it does within five seconds.
  static void wait_until(const std::function<bool()>& condition) {
    for (int tries = 0; tries < 1000 && !condition(); ++tries) {
      settle();
      g_usleep(5000);
    }
    EXPECT_TRUE(condition());
  }

  // A worker with these lines of work.
  void start_worker(const std::function<void()>& work) {
    worker = std::thread([this, work] {
      work();
      worker_is_done = true;
    });
  }
  void wait_for_worker() {
    wait_until([this] { return worker_is_done == true; });
    worker.join();
  }

  static void cancel() { press(window3, "button_window3_cancel"); }

  std::thread worker;
  std::atomic<bool> worker_is_done{false};
};

bool visible(GtkWidget* window) { return gtk_widget_get_visible(window) != FALSE; }

std::string printed_by(int (*callback)(void*)) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(callback(nullptr), 0);
  return testing::internal::GetCapturedStdout();
}

GtkWidget* confirmation(const std::string& title) {
  GtkWidget* window = visible_window(title);
  return window == smb_username_password_window ? nullptr : window;
}

void sign_in() {
  type(smb_username_password_window, "entry_username", "anna");
  type(smb_username_password_window, "entry_password", "secret");
  press(smb_username_password_window, "next2");
}

// ---- answered -------------------------------------------------------------------------------------

TEST_F(QuestionsTest, AreAnsweredInTheirWindowsOneAfterTheOther) {
  std::string driver;
  std::string user;
  start_worker([&] {
    driver_question.set_title("Brother HL-5250DN series");
    if (driver_question.ask()) driver = driver_question.answer(0);
    share_question.set_title("Office");
    share_question.set_text("//kitchen-pc/Office");
    if (share_question.ask()) user = share_question.answer(share_user);
    share_question.forget_answers();
  });
  wait_until([] { return window_select_driver != nullptr; });
  EXPECT_EQ(title_of(window_select_driver), "Brother HL-5250DN series");
  press(window_select_driver, "deskjet");
  press(window_select_driver, "next2");
  wait_until([] { return smb_username_password_window != nullptr; });
  sign_in();
  ASSERT_NE(confirmation("Office"), nullptr);
  EXPECT_EQ(label_text(confirmation("Office"), "label_url"), "//kitchen-pc/Office");
  press(confirmation("Office"), "next2");
  wait_for_worker();
  EXPECT_EQ(driver, "deskjet.ppd.gz");
  EXPECT_EQ(user, "anna");
  EXPECT_STREQ(Password, "");
}

TEST_F(QuestionsTest, NoticesAreAcknowledged) {
  int acknowledged = 0;
  start_worker([&] {
    acknowledged += printer_notice.ask() ? 1 : 0;
    acknowledged += user_notice.ask() ? 1 : 0;
  });
  wait_until([] { return gtk_widget_get_visible(dialog_printer_error) != FALSE; });
  press(dialog_printer_error, "okbutton2");
  wait_until([] { return dialog_user_error != nullptr; });
  press(dialog_user_error, "okbutton2");
  wait_for_worker();
  EXPECT_EQ(acknowledged, 2);
}

TEST_F(QuestionsTest, AreDeclinedWithoutTheirWindows) {
  int answered = 0;
  setenv("LANG", "xx_XX", 1);
  gtk_widget_destroy(dialog_printer_error);
  assign(Username, "before");
  start_worker([&] {
    for (Question* question : {&printer_notice, &user_notice, &driver_question, &share_question})
      answered += question->ask() ? 1 : 0;
  });
  wait_for_worker();
  EXPECT_EQ(answered, 0);
  EXPECT_STREQ(Username, "");
}

// ---- the stated order of the handlers --------------------------------------------------------------

void note_flag(GtkWidget* window, const std::atomic<int>& flag, int& at_destroy) {
  struct Note {
    const std::atomic<int>* flag;
    int* at_destroy;
  };
  const auto note = +[](GtkWidget*, gpointer data) {
    const auto* given = static_cast<Note*>(data);
    *given->at_destroy = *given->flag;
  };
  g_signal_connect_data(
      window, "destroy", G_CALLBACK(note), new Note{&flag, &at_destroy},
      [](gpointer data, GClosure*) { delete static_cast<Note*>(data); }, GConnectFlags{});
}

TEST_F(QuestionsTest, TheDriverWindowGoesBeforeItsFlag) {
  isWindowSelectDriverOpen = 1;
  show_popup_window_select_driver(nullptr);
  int flag = -1;
  note_flag(window_select_driver, isWindowSelectDriverOpen, flag);
  static std::string answer;  // when the window goes, the flag is still to fall
  g_signal_connect(window_select_driver, "destroy",
                   G_CALLBACK(+[](GtkWidget*, gpointer) { answer = selecteddriver; }), nullptr);
  press(window_select_driver, "next2");
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(answer, "stphoto.ppd.gz");
  EXPECT_EQ(isWindowSelectDriverOpen, 0);
}

TEST_F(QuestionsTest, TheFlagOfAShareFallsBetweenItsTwoWindows) {
  isWindowSmbUsernamePasswordOpen = 1;
  displaylabel = "Office";
  show_smb_username_password_window(nullptr);
  sign_in();
  int first = -1;
  int second = -1;
  note_flag(smb_username_password_window, isWindowSmbUsernamePasswordOpen, first);
  note_flag(confirmation("Office"), isWindowSmbUsernamePasswordOpen, second);
  press(confirmation("Office"), "next2");
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 0);
}

TEST_F(QuestionsTest, TheFlagsOfTheNoticesFallBeforeTheirWindows) {
  isPrinterPopupOpen = isUserPopupOpen = 1;
  show_popup_printer_error_window(nullptr);
  show_popup_user_error_window(nullptr);
  int printer = -1;
  int user = -1;
  note_flag(dialog_printer_error, isPrinterPopupOpen, printer);
  note_flag(dialog_user_error, isUserPopupOpen, user);
  press(dialog_printer_error, "okbutton2");
  press(dialog_user_error, "okbutton2");
  EXPECT_EQ(printer, 0);
  EXPECT_EQ(user, 0);
}

// ---- cancelled before -----------------------------------------------------------------------------

TEST_F(QuestionsTest, ACancelledRunOnlyTracesTheDriverWindow) {
  isKilled = 1;
  isWindowSelectDriverOpen = 1;
  displaylabel = "HP LaserJet";
  assign(selecteddriver, "before");
  EXPECT_EQ(printed_by(show_popup_window_select_driver), "in main.HP LaserJet\nabout to exit main.");
  EXPECT_EQ(window_select_driver, nullptr);
  EXPECT_EQ(isWindowSelectDriverOpen, 0);
  EXPECT_STREQ(selecteddriver, "");
}

TEST_F(QuestionsTest, ACancelledRunOnlyTracesTheCredentialsWindow) {
  isKilled = 1;
  isWindowSmbUsernamePasswordOpen = 1;
  displaylabel = "Office";
  smburl = "//server/hp";
  assign(Password, "before");
  EXPECT_EQ(printed_by(show_smb_username_password_window),
            "in main.Office\nin main.//server/hp\nabout to exit main.");
  EXPECT_EQ(smb_username_password_window, nullptr);
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 0);
  EXPECT_STREQ(Password, "");
}

TEST_F(QuestionsTest, ACancelledRunOnlyTracesTheNotices) {
  isKilled = 1;
  isPrinterPopupOpen = isUserPopupOpen = 1;
  EXPECT_EQ(printed_by(show_popup_printer_error_window), "in main::");
  EXPECT_EQ(printed_by(show_popup_user_error_window), "in main::");
  EXPECT_FALSE(gtk_widget_get_visible(dialog_printer_error));
  EXPECT_EQ(dialog_user_error, nullptr);
  EXPECT_EQ(isPrinterPopupOpen, 0);
  EXPECT_EQ(isUserPopupOpen, 0);
}

// Posted by a worker that looked for a cancel just before there was one.
TEST_F(QuestionsTest, ACancelledRunShowsNoFinalNotice) {
  isKilled = 1;
  EXPECT_EQ(printed_by(show_popup_multi_user_error_window), "in main::");
  EXPECT_EQ(printed_by(show_popup_window), "");
  EXPECT_FALSE(visible(dialog_multi_user_error));
  EXPECT_FALSE(visible(dialog_done));
}

TEST_F(QuestionsTest, AreDeclinedWhenAskedAfterACancel) {
  cancel();
  int answered = 0;
  start_worker([&] {
    for (Question* question : {&printer_notice, &user_notice, &driver_question, &share_question})
      answered += question->ask() ? 1 : 0;
  });
  wait_for_worker();
  EXPECT_EQ(answered, 0);
}

// ---- cancelled during -----------------------------------------------------------------------------

// Gone with its widgets; a worker that waits for the answer goes on.
struct Gone {
  explicit Gone(GtkWidget* window) {
    g_signal_connect(window, "destroy",
                     G_CALLBACK(+[](GtkWidget*, gpointer gone) { *static_cast<bool*>(gone) = true; }),
                     &is_gone);
  }
  bool is_gone = false;
};

// The worker goes on with other printers; the thread checker watches the texts.
TEST_F(QuestionsTest, ACancelDeclinesTheDriverWindowAndThoseThatWouldCome) {
  int answered = 0;
  std::atomic<int> asked{0};
  start_worker([&] {
    for (const char* name : {"A", "B", "C"}) {
      driver_question.set_title(name);
      driver_question.set_text(name);
      ++asked;
      answered += driver_question.ask() ? 1 : 0;
    }
  });
  wait_until([] { return window_select_driver != nullptr; });
  const Gone window(window_select_driver);
  press(window_select_driver, "deskjet");
  cancel();
  EXPECT_TRUE(window.is_gone);
  EXPECT_EQ(window_select_driver, nullptr);
  EXPECT_EQ(isWindowSelectDriverOpen, 0);
  wait_for_worker();
  EXPECT_EQ(asked, 3);
  EXPECT_EQ(answered, 0);
  EXPECT_STREQ(selecteddriver, "");
  EXPECT_EQ(window_select_driver, nullptr);
}

TEST_F(QuestionsTest, ACancelDeclinesTheCredentialsWindowAndThoseThatWouldCome) {
  int answered = 0;
  std::atomic<int> asked{0};
  start_worker([&] {
    for (const char* name : {"A", "B"}) {
      share_question.set_title(name);
      share_question.set_text(std::string("//server/") + name);
      ++asked;
      answered += share_question.ask() ? 1 : 0;
    }
  });
  wait_until([] { return smb_username_password_window != nullptr; });
  const Gone window(smb_username_password_window);
  type(smb_username_password_window, "entry_username", "anna");
  press(smb_username_password_window, "next2");
  cancel();
  EXPECT_TRUE(window.is_gone);
  EXPECT_EQ(visible_window(shipped_text("dialog_specify_username_password")), nullptr);
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 0);
  wait_for_worker();
  EXPECT_EQ(asked, 2);
  EXPECT_EQ(answered, 0);
  EXPECT_STREQ(Username, "");
  EXPECT_STREQ(Password, "");
  EXPECT_EQ(smb_username_password_window, nullptr);
}

TEST_F(QuestionsTest, ACancelDeclinesTheConfirmationTooAndWipesWhatWasTyped) {
  bool answered = true;
  start_worker([&] {
    share_question.set_title("Office");
    answered = share_question.ask();
  });
  wait_until([] { return smb_username_password_window != nullptr; });
  sign_in();
  const Gone first(smb_username_password_window);
  const Gone second(confirmation("Office"));
  cancel();
  EXPECT_TRUE(first.is_gone);
  EXPECT_TRUE(second.is_gone);
  EXPECT_STREQ(Username, "");
  EXPECT_STREQ(Password, "");
  wait_for_worker();
  EXPECT_FALSE(answered);
}

TEST_F(QuestionsTest, ACancelDeclinesTheNoticesToo) {
  for (const bool of_printers : {true, false}) {
    isKilled = 0;
    worker_is_done = false;
    Question& notice = of_printers ? printer_notice : user_notice;
    bool answered = true;
    start_worker([&] { answered = notice.ask(); });
    GtkWidget*& dialog = of_printers ? dialog_printer_error : dialog_user_error;
    wait_until([&dialog] { return dialog != nullptr && gtk_widget_get_visible(dialog) != FALSE; });
    const Gone window(dialog);
    cancel();
    EXPECT_TRUE(window.is_gone);
    EXPECT_EQ(dialog, nullptr);
    wait_for_worker();
    EXPECT_FALSE(answered);
  }
}

TEST_F(QuestionsTest, ACancelLeavesNothingAboveItsNotice) {
  isWindowSelectDriverOpen = isWindowSmbUsernamePasswordOpen = 1;
  show_popup_window_select_driver(nullptr);
  show_smb_username_password_window(nullptr);
  cancel();
  gtk_widget_hide(window3);
  EXPECT_EQ(visible_titles(), std::vector<std::string>{shipped_text("createdialogcancel")});
}

// ---- real keys and clicks -------------------------------------------------------------------------

class QuestionKeysTest : public QuestionsTest {
 protected:
  void SetUp() override {
    GuiTest::SetUp();
    open_with_keyboard(window3);
    dir_name = nullptr;
  }

  // A worker asks about one printer after the other; empty: it was skipped.
  void ask_for_drivers(const std::vector<const char*>& names) {
    start_worker([this, names] {
      for (const char* name : names) {
        driver_question.set_title(name);
        answers.emplace_back(driver_question.ask() ? driver_question.answer(0) : "");
      }
    });
  }
  void ask_for_credentials() {
    start_worker([this] {
      share_question.set_title("Office");
      share_question.set_text("//kitchen-pc/Office");
      answers.emplace_back(share_question.ask() ? share_question.answer(share_user) : "");
    });
  }
  static void wait_for_window(GtkWidget* const& window) {
    wait_until([&window] { return window != nullptr; });
    ASSERT_TRUE(gets_keyboard(window));
  }
  static void type_keys(const std::string& letters) {
    for (const char letter : letters) press_key(std::string(1, letter).c_str());
  }

  std::vector<std::string> answers;
};

// A window that the worker has asked in before is not taken for the next one.
void wait_for_title(const std::string& title) {
  for (int tries = 0; tries < 1000 && visible_window(title) == nullptr; ++tries) {
    settle();
    g_usleep(5000);
  }
  ASSERT_NE(visible_window(title), nullptr);
  ASSERT_TRUE(gets_keyboard(visible_window(title)));
}

TEST_F(QuestionKeysTest, EscapeAndTheCloseButtonSkipThePrinterAndReturnIsNext) {
  ask_for_drivers({"A", "B", "C"});
  wait_for_title("A");
  press_key("Escape");
  wait_for_title("B");
  press_key("alt+F4");
  wait_for_title("C");
  press_key("Return");
  wait_for_worker();
  EXPECT_EQ(answers, (std::vector<std::string>{"", "", "stphoto.ppd.gz"}));
  EXPECT_TRUE(gtk_widget_get_visible(window3));
  EXPECT_EQ(isKilled, 0);
}

TEST_F(QuestionKeysTest, AClickOnTheFirstButtonCountsAlthoughItIsActive) {
  ask_for_drivers({"A", "B", "C"});
  wait_for_title("A");
  click(window_select_driver, "deskjet");
  EXPECT_EQ(label_text(window_select_driver, "label_next_uses"), "Next uses: HP DeskJet");
  click(window_select_driver, "next2");
  wait_for_title("B");
  EXPECT_EQ(label_text(window_select_driver, "label_next_uses"), "Next uses: HP DeskJet");
  click(window_select_driver, "stphoto");
  EXPECT_EQ(label_text(window_select_driver, "label_next_uses"), "Next uses: Epson Stylus Photo");
  press_key("Return");
  wait_for_title("C");
  EXPECT_EQ(focused(window_select_driver), "stphoto");
  press_key("Down");
  press_key("space");
  EXPECT_EQ(label_text(window_select_driver, "label_next_uses"), "Next uses: Epson Stylus Color");
  press_key("alt+n");
  wait_for_worker();
  EXPECT_EQ(answers, (std::vector<std::string>{"deskjet.ppd.gz", "stphoto.ppd.gz", "stcolor.ppd.gz"}));
}

TEST_F(QuestionKeysTest, TheSpaceBarOnTheFirstButtonCountsToo) {
  driverselection = LASERJET;
  ask_for_drivers({"A"});
  wait_for_title("A");
  EXPECT_EQ(focused(window_select_driver), "stphoto");
  EXPECT_EQ(label_text(window_select_driver, "label_next_uses"), "Next uses: HP LaserJet");
  press_key("space");
  EXPECT_EQ(label_text(window_select_driver, "label_next_uses"), "Next uses: Epson Stylus Photo");
  press_key("Return");
  wait_for_worker();
  EXPECT_EQ(answers, std::vector<std::string>{"stphoto.ppd.gz"});
}

TEST_F(QuestionKeysTest, EscapeInTheEntrySkipsThePrinterOfAShare) {
  ask_for_credentials();
  wait_for_window(smb_username_password_window);
  EXPECT_EQ(focused(smb_username_password_window), "entry_username");
  type_keys("anna");
  press_key("Escape");
  wait_for_worker();
  EXPECT_EQ(answers, std::vector<std::string>{""});
  EXPECT_EQ(smb_username_password_window, nullptr);
}

TEST_F(QuestionKeysTest, ReturnAnswersTheWindowInFront) {
  ask_for_credentials();
  wait_for_window(smb_username_password_window);
  type_keys("anna");
  press_key("Return");
  wait_for_title(shipped_text("dialog_specify_username_password"));
  press_key("Return");
  EXPECT_EQ(visible_window(shipped_text("dialog_specify_username_password")), nullptr);
  ASSERT_TRUE(gets_keyboard(smb_username_password_window));
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 1);
  press_key("Tab");
  EXPECT_EQ(focused(smb_username_password_window), "entry_password");
  type_keys("word");
  press_key("Return");
  wait_for_window(smb_username_password_window2);
  EXPECT_EQ(focused(smb_username_password_window2), "next2");
  press_key("Escape");
  EXPECT_EQ(smb_username_password_window2, nullptr);
  ASSERT_TRUE(gets_keyboard(smb_username_password_window));
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 1);
  press_key("Return");
  wait_for_window(smb_username_password_window2);
  press_key("Return");  // the rest of the press that has brought it
  g_usleep(900000);
  settle();
  ASSERT_NE(smb_username_password_window2, nullptr);
  press_key("Return");
  wait_for_worker();
  EXPECT_EQ(answers, std::vector<std::string>{"anna"});
}

TEST_F(QuestionKeysTest, ADoubleClickDoesNotConfirm) {
  ask_for_credentials();
  wait_for_window(smb_username_password_window);
  type(smb_username_password_window, "entry_username", "anna");
  type(smb_username_password_window, "entry_password", "word");
  press(smb_username_password_window, "next2");
  wait_for_window(smb_username_password_window2);
  const auto corner = corner_of(smb_username_password_window2, "next2");
  press(smb_username_password_window2, "back2");
  ASSERT_TRUE(gets_keyboard(smb_username_password_window));
  move_window(smb_username_password_window, "next2", corner);
  double_click(smb_username_password_window, "next2");
  wait_for_window(smb_username_password_window2);
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 1);
  g_usleep(900000);
  click(smb_username_password_window2, "next2");
  wait_for_worker();
  EXPECT_EQ(answers, std::vector<std::string>{"anna"});
}

}  // namespace
