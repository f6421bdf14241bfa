// The pages under real keys and a real mouse.
#include "callbacks/source.h"
#include "gui.h"
#include "interface/windows.h"
#include "state/posts.h"
#include "state/state.h"

namespace {

class KeysTest : public GuiTest {
 protected:
  void SetUp() override {
    GuiTest::SetUp();
    open_with_keyboard(window1);
  }
};

bool visible(GtkWidget* window) { return gtk_widget_get_visible(window); }

void go_to(GtkWidget* page) {
  for (GtkWidget* each : {window1, window2, window3}) {
    if (each != page) gtk_widget_hide(each);
  }
  gtk_widget_show(page);
  ASSERT_TRUE(gets_keyboard(page));
}

std::vector<std::string> tab_stops(GtkWidget* page, int count) {
  std::vector<std::string> stops = {focused(page)};
  while (static_cast<int>(stops.size()) < count) {
    press_key("Tab");
    stops.push_back(focused(page));
  }
  return stops;
}

TEST_F(KeysTest, NextByItsKeyAndBackByTheMouse) {
  EXPECT_EQ(focused(window1), "next1");
  press_key("Return");
  EXPECT_FALSE(visible(window1));
  EXPECT_TRUE(visible(window2));
  click(window2, "back2");
  EXPECT_TRUE(visible(window1));
  EXPECT_FALSE(visible(window2));
}

// ---- the way of the Tab key -----------------------------------------------------------------------

TEST_F(KeysTest, TabGoesThroughTheRowOfTheDiscAndThenTheFoot) {
  go_to(window2);
  EXPECT_EQ(tab_stops(window2, 9),
            (std::vector<std::string>{"cdrom", "entry_cdrom", "bCdrom", "entry_local", "bHelpStep2", "back2",
                                      "next2", "bCancelStep2", "cdrom"}));
}

TEST_F(KeysTest, TabGoesThroughTheRowOfTheDriveOnceItIsChosen) {
  go_to(window2);
  press_key("Down");
  EXPECT_EQ(selection, LOCAL);
  EXPECT_EQ(tab_stops(window2, 4),
            (std::vector<std::string>{"local", "entry_local", "bLocal", "bHelpStep2"}));
}

TEST_F(KeysTest, TabGoesBackByShift) {
  go_to(window2);
  press_key("Tab");
  press_key("Tab");
  EXPECT_EQ(focused(window2), "bCdrom");
  press_key("shift+Tab");
  EXPECT_EQ(focused(window2), "entry_cdrom");
}

// ---- page 3 ---------------------------------------------------------------------------------------

TEST_F(KeysTest, TheRunStartsOnCancelAndEndsOnDone) {
  go_to(window3);
  EXPECT_EQ(focused(window3), "button_window3_cancel");
  done_button_bar(nullptr);
  EXPECT_EQ(focused(window3), "button_done");
  EXPECT_TRUE(leaves_main_loop([] { press_key("Return"); }));
}

TEST_F(KeysTest, DoneTakesTheKeyboardFromHelpToo) {
  go_to(window3);
  press_key("shift+Tab");
  EXPECT_EQ(focused(window3), "bHelpStep3");
  done_button_bar(nullptr);
  EXPECT_EQ(focused(window3), "button_done");
}

TEST_F(KeysTest, EscapeCancelsNoRun) {
  go_to(window3);
  press_key("Escape");
  EXPECT_EQ(isKilled, 0);
  EXPECT_FALSE(visible(quit_dialog));
}

// ---- Escape ---------------------------------------------------------------------------------------

TEST_F(KeysTest, EscapeIsCancelOnTheFirstTwoPages) {
  press_key("Escape");
  EXPECT_TRUE(visible(quit_dialog));
  press(quit_dialog, "cancelbutton1");
  EXPECT_TRUE(visible(window1));
  go_to(window2);
  click(window2, "entry_cdrom");
  press_key("a");
  press_key("Escape");
  EXPECT_TRUE(visible(quit_dialog));
  EXPECT_EQ(entry_text(window2, "entry_cdrom"), "a");
}

// ---- one press is one press -----------------------------------------------------------------------

TEST_F(KeysTest, ADoubleClickOnNextPressesOnlyThatNext) {
  double_click(window1, "next1");
  EXPECT_TRUE(visible(window2));
  EXPECT_EQ(visible_window(shipped_text("nofilespecified")), nullptr);
  EXPECT_EQ(focused(window2), "cdrom");
}

TEST_F(KeysTest, ALaterClickAtTheSamePlaceCounts) {
  click(window1, "next1");
  ASSERT_TRUE(visible(window2));
  g_usleep(900000);
  click(window2, "next2");
  EXPECT_NE(visible_window(shipped_text("nofilespecified")), nullptr);
}

TEST_F(KeysTest, AClickAtAnotherPlaceCountsAtOnce) {
  click(window1, "next1");
  click(window2, "back2");
  EXPECT_TRUE(visible(window1));
}

// Where page 1 has a wider Next, it stands where Back was.
TEST_F(KeysTest, ADoubleClickOnBackPressesNothingOfPage1) {
  go_to(window2);
  gtk_button_set_label(GTK_BUTTON(lookup_widget(window1, "next1")), "To the next page of this wizard");
  double_click(window2, "back2");
  EXPECT_TRUE(visible(window1));
  EXPECT_FALSE(visible(window2));
}

// Held or pressed twice, the key that starts the run must not cancel it.
TEST_F(KeysTest, TheKeyThatBroughtAPageDoesNotPressItsButtons) {
  go_to(window2);
  g_signal_handlers_disconnect_matched(lookup_widget(window2, "next2"), G_SIGNAL_MATCH_FUNC, 0, 0, nullptr,
                                       reinterpret_cast<gpointer>(on_next2_clicked), nullptr);
  g_signal_connect(lookup_widget(window2, "next2"), "clicked", G_CALLBACK(+[] {
                     gtk_widget_hide(window2);
                     gtk_widget_show(window3);
                   }),
                   nullptr);
  click(window2, "entry_cdrom");
  press_key("Return");
  ASSERT_TRUE(gets_keyboard(window3));
  EXPECT_EQ(focused(window3), "button_window3_cancel");
  press_key("Return");
  press_key("Return");
  g_usleep(300000);
  settle();
  EXPECT_EQ(isKilled, 0);
  g_usleep(900000);
  press_key("Return");
  EXPECT_EQ(isKilled, 1);
}

// ---- a press that closes what stands above a page ---------------------------------------------------

TEST_F(KeysTest, TheKeyThatClosesANoticeDoesNotCancelTheRun) {
  go_to(window3);
  show_popup_multi_user_error_window(nullptr);
  ASSERT_TRUE(gets_keyboard(dialog_multi_user_error));
  press_key("Return");
  ASSERT_EQ(dialog_multi_user_error, nullptr);
  ASSERT_TRUE(gets_keyboard(window3));
  ASSERT_EQ(focused(window3), "button_window3_cancel");
  press_key("Return");
  g_usleep(300000);
  settle();
  EXPECT_EQ(isKilled, 0);
  g_usleep(900000);
  press_key("Return");
  EXPECT_EQ(isKilled, 1);
}

TEST_F(KeysTest, TheKeyThatAnswersAQuestionDoesNotCancelTheRun) {
  go_to(window3);
  displaylabel = "Brother HL-5250DN series";
  show_popup_window_select_driver(nullptr);
  ASSERT_TRUE(gets_keyboard(window_select_driver));
  g_usleep(900000);
  press_key("Return");
  ASSERT_EQ(window_select_driver, nullptr);
  ASSERT_TRUE(gets_keyboard(window3));
  press_key("Return");
  g_usleep(300000);
  settle();
  EXPECT_EQ(isKilled, 0);
}

TEST_F(KeysTest, ADoubleClickOnTheButtonOfANoticePressesNothingBelow) {
  go_to(window3);
  show_popup_multi_user_error_window(nullptr);
  ASSERT_TRUE(gets_keyboard(dialog_multi_user_error));
  move_window(dialog_multi_user_error, "okbutton2", corner_of(window3, "button_window3_cancel"));
  double_click(dialog_multi_user_error, "okbutton2");
  ASSERT_EQ(dialog_multi_user_error, nullptr);
  EXPECT_EQ(isKilled, 0);
}

}  // namespace
