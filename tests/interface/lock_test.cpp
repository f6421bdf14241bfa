// GDK's lock: whatever the main loop calls without it takes it, once, and gives it back.
#include <vector>

#include "gui.h"
#include "interface/windows.h"
#include "main/idle.h"
#include "state/posts.h"
#include "state/question.h"
#include "state/state.h"
#include "support/files.h"

namespace {

int taken = 0;
int given_back = 0;
std::vector<std::string> unlocked;  // windows that were shown or changed without it

void take() { ++taken; }
void give_back() { ++given_back; }
bool is_held() { return taken > given_back; }

void note_showing(GtkWidget* window, gpointer /*data*/) {
  if (!is_held()) unlocked.emplace_back(gtk_window_get_title(GTK_WINDOW(window)));
}

void note_change(GObject* widget, GParamSpec* property, gpointer /*data*/) {
  if (!is_held()) unlocked.push_back(std::string(G_OBJECT_TYPE_NAME(widget)) + " " + property->name);
}

class LockTest : public GuiTest {
 protected:
  void SetUp() override {
    gdk_threads_set_lock_functions(take, give_back);
    GuiTest::SetUp();
    build_pages();
    build_dialogs();
    gtk_widget_show(window3);
    settle();
    for (GtkWidget* window : {dialog_done, dialog_multi_user_error, dialog_printer_error})
      g_signal_connect(window, "show", G_CALLBACK(note_showing), nullptr);
    for (const char* name : {"progressbar1", "label_percentage", "label_now", "image_1", "button_done"})
      g_signal_connect(lookup_widget(window3, name), "notify", G_CALLBACK(note_change), nullptr);
  }
  static void expect_once(int (*callback)(void*), void* data, const char* name) {
    const int before = taken;
    ASSERT_EQ(before, given_back) << name;
    callback(data);
    EXPECT_EQ(before + 1, taken) << name;
    EXPECT_EQ(taken, given_back) << name;
    EXPECT_TRUE(unlocked.empty()) << name << ": " << testing::PrintToString(unlocked);
  }
};

TEST_F(LockTest, IsTakenByAllThatIsPosted) {
  static int size = 20'000'000;
  expect_once(draw_posted_mark, new PostedMark{1, 0}, "a mark");
  expect_once(show_posted_beginning, new PostedBeginning{Phase::unpacking, ""}, "what begins");
  expect_once(progress_timeout, &size, "the progress");
  expect_once(done_button_bar, nullptr, "the end");
  expect_once(show_popup_window, nullptr, "the last notice");
  expect_once(show_popup_multi_user_error_window, nullptr, "several users");
  expect_once(show_popup_unpacking_stopped, nullptr, "the stopped unpacking");
  expect_once(show_popup_printer_error_window, nullptr, "the printers' notice");
  expect_once(show_popup_user_error_window, nullptr, "the users' notice");
  expect_once(show_popup_window_select_driver, nullptr, "the driver window");
  expect_once(show_smb_username_password_window, nullptr, "the share's window");
}

}  // namespace
