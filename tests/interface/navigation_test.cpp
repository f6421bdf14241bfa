#include "callbacks/navigation.h"

#include <unistd.h>

#include <algorithm>

#include "gui.h"
#include "interface/dialogs.h"
#include "interface/windows.h"
#include "process/run/run_note.h"
#include "state/posts.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/system_log.h"

namespace {

class NavigationTest : public GuiTest {
 protected:
  void SetUp() override {
    GuiTest::SetUp();
    build_pages();
    build_dialogs();
    gtk_widget_show(window1);
  }
};

bool visible(GtkWidget* window) { return gtk_widget_get_visible(window); }

std::string captured(int (*callback)(void*)) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(callback(nullptr), 0);
  return testing::internal::GetCapturedStdout();
}

TEST_F(NavigationTest, NextAndBack) {
  press(window1, "next1");
  EXPECT_FALSE(visible(window1));
  EXPECT_TRUE(visible(window2));
  press(window2, "back2");
  EXPECT_TRUE(visible(window1));
  EXPECT_FALSE(visible(window2));
}

TEST_F(NavigationTest, Back3OnlyShowsPage2) {
  gtk_widget_hide(window1);
  gtk_widget_show(window3);
  on_back3_clicked(nullptr, nullptr);
  EXPECT_TRUE(visible(window2));
  EXPECT_TRUE(visible(window3));
}

TEST_F(NavigationTest, CancelAsksAndNoReturnsToTheSamePage) {
  press(window1, "cancel_step1");
  EXPECT_TRUE(visible(quit_dialog));
  EXPECT_EQ(title_of(quit_dialog), shipped_text("createdialog1"));
  EXPECT_EQ(label_text(quit_dialog, "message"), shipped_text("createdialog1-label19"));
  press(quit_dialog, "cancelbutton1");
  EXPECT_FALSE(visible(quit_dialog));
  EXPECT_TRUE(visible(window1));
  press(window1, "next1");
  type(window2, "entry_cdrom", "/media/a.zip");
  press(window2, "bCancelStep2");
  EXPECT_TRUE(visible(quit_dialog));  // the dialog can be used again
  press(quit_dialog, "cancelbutton1");
  EXPECT_TRUE(visible(window2));
  EXPECT_EQ(entry_text(window2, "entry_cdrom"), "/media/a.zip");
}

TEST_F(NavigationTest, ClosingTheQuitDialogMeansNo) {
  press(window1, "cancel_step1");
  close_window(quit_dialog);
  ASSERT_NE(quit_dialog, nullptr);
  EXPECT_FALSE(visible(quit_dialog));
  press(window1, "cancel_step1");
  EXPECT_TRUE(visible(quit_dialog));
}

TEST_F(NavigationTest, YesLeavesTheMainLoop) {
  EXPECT_TRUE(leaves_main_loop([] { press(quit_dialog, "okbutton1"); }));
}

TEST_F(NavigationTest, DoneLeavesTheMainLoop) {
  done_button_bar(nullptr);
  EXPECT_TRUE(leaves_main_loop([] { press(window3, "button_done"); }));
}

TEST_F(NavigationTest, ClosingAPageLeavesTheMainLoopAndDestroysIt) {
  for (GtkWidget* page : {window1, window2, window3}) {
    g_object_ref(page);
    gtk_widget_show(page);
    bool destroyed = false;
    g_signal_connect(page, "destroy",
                     G_CALLBACK(+[](GtkWidget*, gpointer flag) { *static_cast<bool*>(flag) = true; }),
                     &destroyed);
    EXPECT_TRUE(leaves_main_loop([page] { close_window(page); }));
    EXPECT_TRUE(destroyed);
    EXPECT_FALSE(visible(quit_dialog));
  }
}

TEST_F(NavigationTest, DeleteHandlersLetTheWindowGo) {
  EXPECT_TRUE(leaves_main_loop([] { EXPECT_FALSE(on_window1_delete_event(window1, nullptr, nullptr)); }));
  EXPECT_TRUE(leaves_main_loop([] { EXPECT_FALSE(on_window2_delete_event(window2, nullptr, nullptr)); }));
  EXPECT_TRUE(leaves_main_loop([] { EXPECT_FALSE(on_window3_delete_event(window3, nullptr, nullptr)); }));
}

TEST_F(NavigationTest, ButtonsOfTheNoticesAreStockOnes) {
  EXPECT_EQ(button_caption(quit_dialog, "cancelbutton1"), "gtk-no");
  EXPECT_EQ(button_caption(quit_dialog, "okbutton1"), "gtk-yes");
  EXPECT_EQ(button_caption(dialog_done, "okbutton2"), "gtk-ok");
  EXPECT_EQ(button_caption(dialog_multi_user_error, "okbutton2"), "gtk-ok");
  EXPECT_EQ(button_caption(dialog_printer_error, "okbutton2"), "gtk-ok");
  EXPECT_EQ(button_caption(create_dialog_user_error(), "okbutton2"), "gtk-ok");
  EXPECT_EQ(button_caption(create_dialogcancel(), "closebutton_quit"), "gtk-quit");
}

TEST_F(NavigationTest, MessageDialogsShareOneLayout) {
  GtkWidget* dialogs[] = {quit_dialog,
                          dialog_done,
                          dialog_multi_user_error,
                          dialog_printer_error,
                          create_dialog_user_error(),
                          create_dialogcancel(),
                          create_noFileSpecified(),
                          create_noFileFound(),
                          create_notZipFile(),
                          create_notEnoughSpace(),
                          create_errorMountingCdrom(),
                          create_noRemote(),
                          create_dialog_specify_username_password()};
  for (GtkWidget* dialog : dialogs) {
    SCOPED_TRACE(title_of(dialog));
    GtkWidget* label = lookup_widget(dialog, "message");
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(gtk_widget_get_parent(label), gtk_dialog_get_content_area(GTK_DIALOG(dialog)));
    gboolean expand = FALSE;
    gboolean fill = FALSE;
    guint padding = 0;
    GtkPackType pack{};
    gtk_box_query_child_packing(GTK_BOX(gtk_widget_get_parent(label)), label, &expand, &fill, &padding,
                                &pack);
    EXPECT_TRUE(expand);
    EXPECT_TRUE(fill);
    EXPECT_EQ(padding, 6U);
    EXPECT_EQ(gtk_label_get_justify(GTK_LABEL(label)), GTK_JUSTIFY_FILL);
    EXPECT_TRUE(gtk_label_get_line_wrap(GTK_LABEL(label)));
    float x = 0;
    float y = 0;
    gtk_misc_get_alignment(GTK_MISC(label), &x, &y);
    EXPECT_FLOAT_EQ(x, 0.43F);
    EXPECT_FLOAT_EQ(y, 0.54F);
    EXPECT_EQ(gtk_button_box_get_layout(GTK_BUTTON_BOX(gtk_dialog_get_action_area(GTK_DIALOG(dialog)))),
              GTK_BUTTONBOX_END);
    EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(dialog)));
    EXPECT_NE(gtk_window_get_icon(GTK_WINDOW(dialog)), nullptr);
    EXPECT_FALSE(visible(dialog));
  }
}

TEST_F(NavigationTest, NoTextFileNoDialogs) {
  setenv("LANG", "xx_XX", 1);
  for (auto* create :
       {create_fileselection, create_dialog1, create_dialog_done, create_dialog_multi_user_error,
        create_dialog_printer_error, create_dialog_user_error, create_dialogcancel, create_noFileSpecified,
        create_noFileFound, create_notZipFile, create_notEnoughSpace, create_errorMountingCdrom,
        create_noRemote, create_zipPassword, create_dialog_specify_username_password}) {
    EXPECT_EQ(create(), nullptr);
  }
}

// ---- what the worker posts ------------------------------------------------------------------------

TEST_F(NavigationTest, DoneDialogIsDestroyedByItsButtonAndShownOnce) {
  EXPECT_EQ(captured(show_popup_window), "");
  EXPECT_TRUE(visible(dialog_done));
  EXPECT_EQ(title_of(dialog_done), shipped_text("createdialogdone"));
  EXPECT_EQ(label_text(dialog_done, "message"), shipped_text("createdialogdone-label20"));
  press(dialog_done, "okbutton2");
  EXPECT_EQ(dialog_done, nullptr);
  EXPECT_EQ(captured(show_popup_window), "");
  EXPECT_EQ(visible_window(shipped_text("createdialogdone")), nullptr);
}

TEST_F(NavigationTest, ClosingTheDoneDialogIsItsButton) {
  show_popup_window(nullptr);
  close_window(dialog_done);
  EXPECT_EQ(dialog_done, nullptr);
  show_popup_window(nullptr);
}

TEST_F(NavigationTest, MultiUserErrorDialog) {
  EXPECT_EQ(captured(show_popup_multi_user_error_window), "in main::");
  EXPECT_TRUE(visible(dialog_multi_user_error));
  EXPECT_EQ(title_of(dialog_multi_user_error), shipped_text("createdialogmultiusererror"));
  EXPECT_EQ(label_text(dialog_multi_user_error, "message"),
            shipped_text("createdialogmultiusererror-label20"));
  press(dialog_multi_user_error, "okbutton2");
  EXPECT_EQ(dialog_multi_user_error, nullptr);
}

TEST_F(NavigationTest, StoppedUnpackingIsTold) {
  captured(show_popup_unpacking_stopped);
  GtkWidget* dialog = visible_window(shipped_text("unpackingstopped"));
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(label_text(dialog, "message"), shipped_text("unpackingstopped-label23"));
  press(dialog, "closebutton_unpackingStopped");
  EXPECT_EQ(visible_window(shipped_text("unpackingstopped")), nullptr);
}

TEST_F(NavigationTest, StoppedUnpackingIsNotToldInACancelledRun) {
  isKilled = 1;
  EXPECT_EQ(captured(show_popup_unpacking_stopped), "");
  EXPECT_EQ(visible_window(shipped_text("unpackingstopped")), nullptr);
}

TEST_F(NavigationTest, PrinterErrorDialogWakesTheWorker) {
  isPrinterPopupOpen = 1;
  EXPECT_EQ(captured(show_popup_printer_error_window), "in main::");
  EXPECT_TRUE(visible(dialog_printer_error));
  EXPECT_EQ(title_of(dialog_printer_error), shipped_text("createdialogprintererror"));
  EXPECT_EQ(label_text(dialog_printer_error, "message"), shipped_text("createdialogprintererror-label20"));
  EXPECT_EQ(isPrinterPopupOpen, 1);
  press(dialog_printer_error, "okbutton2");
  EXPECT_EQ(isPrinterPopupOpen, 0);
  EXPECT_EQ(dialog_printer_error, nullptr);
}

TEST_F(NavigationTest, ClosingThePrinterErrorDialogWakesTheWorkerToo) {
  isPrinterPopupOpen = 1;
  show_popup_printer_error_window(nullptr);
  close_window(dialog_printer_error);
  EXPECT_EQ(isPrinterPopupOpen, 0);
  EXPECT_EQ(dialog_printer_error, nullptr);
}

TEST_F(NavigationTest, AUsedUpPrinterErrorDialogDoesNotHoldTheWorker) {
  show_popup_printer_error_window(nullptr);
  press(dialog_printer_error, "okbutton2");
  isPrinterPopupOpen = 1;
  show_popup_printer_error_window(nullptr);
  EXPECT_EQ(isPrinterPopupOpen, 0);
}

TEST_F(NavigationTest, UserErrorDialogIsBuiltAnewEachTime) {
  for (int time = 0; time < 2; ++time) {
    isUserPopupOpen = 1;
    testing::internal::CaptureStdout();
    EXPECT_EQ(show_popup_user_error_window(nullptr), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout().rfind("in main::", 0), 0U);
    ASSERT_NE(dialog_user_error, nullptr);
    EXPECT_TRUE(visible(dialog_user_error));
    EXPECT_EQ(title_of(dialog_user_error), shipped_text("createdialogusererror"));
    EXPECT_EQ(label_text(dialog_user_error, "message"), shipped_text("createdialogusererror-label20"));
    EXPECT_EQ(isUserPopupOpen, 1);
    press(dialog_user_error, "okbutton2");
    EXPECT_EQ(isUserPopupOpen, 0);
    EXPECT_EQ(dialog_user_error, nullptr);
  }
}

TEST_F(NavigationTest, ClosingTheUserErrorDialogWakesTheWorkerToo) {
  isUserPopupOpen = 1;
  show_popup_user_error_window(nullptr);
  close_window(dialog_user_error);
  EXPECT_EQ(isUserPopupOpen, 0);
}

TEST_F(NavigationTest, AUserErrorWithoutTextsDoesNotHoldTheWorker) {
  setenv("LANG", "xx_XX", 1);
  isUserPopupOpen = 1;
  show_popup_user_error_window(nullptr);
  EXPECT_EQ(isUserPopupOpen, 0);
}

TEST_F(NavigationTest, FlagsAtTheStart) {
  EXPECT_EQ(isPrinterPopupOpen, 1);
  EXPECT_EQ(isUserPopupOpen, 1);
  EXPECT_EQ(isWindowSelectDriverOpen, 1);
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 1);
  EXPECT_EQ(isKilled, 0);
}

// ---- cancelling and help --------------------------------------------------------------------------

int never(void*) { return 1; }

TEST_F(NavigationTest, CancelShowsTheNoticeAndRemovesTheTemporaryFolder) {
  write_file("/tmp/brindabc123/Brindle/file", "x");
  dir_name = const_cast<char*>("/tmp/brindabc123");
  gtk_widget_hide(window1);
  gtk_widget_show(window3);
  timer = static_cast<int>(g_timeout_add(200, never, nullptr));
  forget_commands();
  int killed_at_removal = 0;
  when_command("rm -rf ", [&killed_at_removal] { killed_at_removal = isKilled; });
  press(window3, "button_window3_cancel");
  EXPECT_EQ(killed_at_removal, 1);  // what the worker begins meanwhile knows of it
  EXPECT_EQ(isKilled, 1);
  EXPECT_EQ(g_main_context_find_source_by_id(nullptr, static_cast<guint>(timer)), nullptr);
  EXPECT_EQ(commands_run(), std::vector<std::string>{"rm -rf /tmp/brindabc123"});
  EXPECT_FALSE(exists("/tmp/brindabc123"));
  EXPECT_FALSE(visible(quit_dialog));
  GtkWidget* notice = visible_window(shipped_text("createdialogcancel"));
  ASSERT_NE(notice, nullptr);
  EXPECT_EQ(label_text(notice, "message"), shipped_text("createdialogcancel-label18"));
  EXPECT_TRUE(leaves_main_loop([notice] { press(notice, "closebutton_quit"); }));
}

TEST_F(NavigationTest, CancelPressedOnceMoreDoesNothing) {
  dir_name = const_cast<char*>("/tmp/brindabc123");
  gtk_widget_hide(window1);
  gtk_widget_show(window3);
  forget_commands();
  press(window3, "button_window3_cancel");
  press(window3, "button_window3_cancel");
  EXPECT_EQ(commands_run(), std::vector<std::string>{"rm -rf /tmp/brindabc123"});
  EXPECT_EQ(std::ranges::count(visible_titles(), shipped_text("createdialogcancel")), 1);
}

TEST_F(NavigationTest, CancelTellsTheSystemLogOfNoCommand) {
  dir_name = const_cast<char*>("/tmp/brindabc123");
  gtk_widget_hide(window1);
  gtk_widget_show(window3);
  EXPECT_FALSE(is_failure_logged("rm -rf ", [] { press(window3, "button_window3_cancel"); }));
}

TEST_F(NavigationTest, ClosingTheCancelNoticeEndsTheProgramToo) {
  press(window3, "button_window3_cancel");
  GtkWidget* notice = visible_window(shipped_text("createdialogcancel"));
  EXPECT_TRUE(leaves_main_loop([notice] { close_window(notice); }));
}

TEST_F(NavigationTest, CancelBeforeTheTemporaryFolderRemovesNothing) {
  dir_name = nullptr;
  forget_commands();
  press(window3, "button_window3_cancel");
  EXPECT_EQ(isKilled, 1);
  EXPECT_TRUE(commands_run().empty());
}

TEST_F(NavigationTest, CancelAfterTheTimeoutHasEndedItself) {
  timer = static_cast<int>(g_timeout_add(200, never, nullptr));
  g_source_remove(static_cast<guint>(timer));
  press(window3, "button_window3_cancel");  // must not complain about an unknown source
  EXPECT_EQ(isKilled, 1);
}

// What the note of a run says of its end.
std::string noted_end() { return output_of("sed -n 's/^ending=//p' /root/.brindle_run"); }

TEST_F(NavigationTest, CancelAndClosingAreNoted) {
  begin_run_note("/a.zip");
  EXPECT_EQ(noted_end(), "begun\n");
  press(window3, "button_window3_cancel");
  EXPECT_EQ(noted_end(), "cancelled\n");
  isKilled = 0;
  begin_run_note("/a.zip");
  EXPECT_EQ(noted_end(), "begun\n");
  EXPECT_TRUE(leaves_main_loop([] { EXPECT_FALSE(on_window3_delete_event(window3, nullptr, nullptr)); }));
  EXPECT_EQ(noted_end(), "cancelled\n");
}

TEST_F(NavigationTest, ClosingAfterTheRunIsNoCancelling) {
  begin_run_note("/a.zip");
  end_run_note(RunEnd::ended);
  EXPECT_TRUE(leaves_main_loop([] { EXPECT_FALSE(on_window3_delete_event(window3, nullptr, nullptr)); }));
  EXPECT_EQ(noted_end(), "ended\n");
}

constexpr const char* page = " 'http://support.brindle.example/brindle/support.jsp?version=3.0.0' &";

TEST_F(NavigationTest, HelpOpensMozilla) {
  forget_commands();
  press(window1, "bHelpStep1");
  press(window2, "bHelpStep2");
  press(window3, "bHelpStep3");
  const std::string command = std::string("mozilla") + page;
  EXPECT_EQ(commands_run(), (std::vector<std::string>{command, command, command}));
}

TEST_F(NavigationTest, HelpOpensFirefoxOnTheNovellLayout) {
  isNLD = 1;
  forget_commands();
  press(window1, "bHelpStep1");
  EXPECT_EQ(commands_run(), std::vector<std::string>{std::string("firefox") + page});
}

TEST_F(NavigationTest, HelpTellsTheSystemLogOfNoCommand) {
  EXPECT_FALSE(is_failure_logged("mozilla ", [] { press(window1, "bHelpStep1"); }));
  isNLD = 1;
  EXPECT_FALSE(is_failure_logged("firefox ", [] { press(window2, "bHelpStep2"); }));
}

TEST_F(NavigationTest, TheBrowserGetsTheAddressAsOneWord) {
  write_file("/usr/local/bin/mozilla", "#!/bin/sh\nprintf '%s\\n' \"$#\" \"$@\" > /tmp/arguments\n");
  shell_quietly("chmod +x /usr/local/bin/mozilla; mkdir -p 'http:'");
  press(window1, "bHelpStep1");
  for (int tries = 0; tries < 50 && !exists("/tmp/arguments"); ++tries) usleep(20000);
  usleep(50000);
  EXPECT_EQ(read_file("/tmp/arguments"),
            "1\nhttp://support.brindle.example/brindle/support.jsp?version=3.0.0\n");
}

}  // namespace
