// The dialogs of quitting and cancelling under real keys and a real mouse.
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "gui.h"
#include "interface/windows.h"
#include "main/session.h"
#include "process/archive/work_folder.h"
#include "shell/ending.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

bool visible(GtkWidget* window) { return gtk_widget_get_visible(window) != FALSE; }

// ---- the quit dialog ------------------------------------------------------------------------------

class QuitDialogTest : public GuiTest {
 protected:
  void SetUp() override {
    GuiTest::SetUp();
    open_with_keyboard(window1);
  }
  static void open() {
    click(window1, "cancel_step1");
    ASSERT_TRUE(gets_keyboard(quit_dialog));
  }
};

TEST_F(QuitDialogTest, NoHasTheKeyboardEachTimeItOpens) {
  open();
  EXPECT_EQ(focused(quit_dialog), "cancelbutton1");
  press_key("Tab");
  EXPECT_EQ(focused(quit_dialog), "okbutton1");
  press_key("Escape");
  EXPECT_FALSE(visible(quit_dialog));
  open();
  EXPECT_EQ(focused(quit_dialog), "cancelbutton1");
  press_key("Return");
  EXPECT_FALSE(visible(quit_dialog));
  EXPECT_TRUE(visible(window1));
}

TEST_F(QuitDialogTest, EscapeAndTheCloseButtonAreNo) {
  for (const char* key : {"Escape", "alt+F4"}) {
    open();
    EXPECT_FALSE(leaves_main_loop([key] { press_key(key); })) << key;
    EXPECT_FALSE(visible(quit_dialog)) << key;
    EXPECT_TRUE(visible(window1)) << key;
  }
}

TEST_F(QuitDialogTest, YesIsReachedByTheKeyboard) {
  open();
  press_key("Tab");
  EXPECT_TRUE(leaves_main_loop([] { press_key("Return"); }));
}

// ---- the notice of a cancelled run ----------------------------------------------------------------

class CancelNoticeTest : public GuiTest {
 protected:
  void SetUp() override {
    GuiTest::SetUp();
    open_with_keyboard(window3);
    write_file("/tmp/brindabc123/Brindle/file", "x");
    dir_name = const_cast<char*>("/tmp/brindabc123");
    serve_windows_meanwhile();
  }
  void TearDown() override { shell::while_waiting(nullptr); }

  static void put_before_rm(const std::string& script) {
    write_file("/usr/local/bin/rm", "#!/bin/bash\n" + script + "\n");
    shell_quietly("chmod +x /usr/local/bin/rm");
  }

  // Presses Cancel in a main loop, and returns how many seconds that loop went on.
  static double seconds_from_cancel_to_the_end() {
    const auto begin = std::chrono::steady_clock::now();
    g_idle_add([](gpointer) -> gboolean { return click(window3, "button_window3_cancel"), G_SOURCE_REMOVE; },
               nullptr);
    const guint watch = g_timeout_add_seconds(
        30, [](gpointer) -> gboolean { return gtk_main_quit(), G_SOURCE_CONTINUE; }, nullptr);
    gtk_main();
    g_source_remove(watch);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  }

  static GtkWidget* notice() { return visible_window(shipped_text("createdialogcancel")); }

  // The notice's message as it is in a picture of the screen: its size, its place.
  static std::string place_of_message() {
    GtkWidget* message = lookup_widget(notice(), "message");
    GtkAllocation area{};
    gtk_widget_get_allocation(message, &area);
    int left = 0;
    int top = 0;
    gdk_window_get_origin(gtk_widget_get_window(message), &left, &top);
    return std::to_string(area.width) + "x" + std::to_string(area.height) + "+" +
           std::to_string(left + area.x) + "+" + std::to_string(top + area.y);
  }
};

// The program stands still from the first moment of the removal on, so it draws nothing any more.
TEST_F(CancelNoticeTest, IsOnTheScreenBeforeTheRemovalStarts) {
  const std::string program = std::to_string(getpid());
  put_before_rm("kill -STOP " + program + "; import -silent -window root /tmp/then.png; kill -CONT " +
                program + "\n/bin/rm \"$@\"; xdotool key Return");
  EXPECT_GT(20.0, seconds_from_cancel_to_the_end());
  EXPECT_FALSE(exists("/tmp/brindabc123"));
  settle();
  ASSERT_EQ(shell_quietly("import -silent -window root /tmp/now.png"), 0);
  const std::string message = " -crop " + place_of_message() + " +repage ";
  shell_quietly("cd /tmp; for f in then now; do convert $f.png" + message + "$f-message.png; done");
  EXPECT_EQ(output_of("cd /tmp; compare -metric AE then-message.png now-message.png null: 2>&1"), "0");
  EXPECT_LT(10, std::stoi(output_of("convert /tmp/then-message.png -format %k info:")));  // letters
}

TEST_F(CancelNoticeTest, QuitsWhileTheRemovalGoesOn) {
  put_before_rm("xdotool key Return; exec sleep 60");
  EXPECT_GT(10.0, seconds_from_cancel_to_the_end());
  EXPECT_EQ(output_of("pgrep -xf 'sleep 60'"), "");
}

TEST_F(CancelNoticeTest, QuitsWhileUnpackingHasNotStoppedYet) {
  std::atomic<bool> over{false};
  std::thread worker([&over] {
    const Unpacking unpacking;
    while (Unpacking::is_wanted()) usleep(1000);
    shell_quietly("sleep 0.5; xdotool key Return");
    while (!over) usleep(1000);
  });
  EXPECT_GT(8.0, seconds_from_cancel_to_the_end());
  over = true;
  worker.join();
}

}  // namespace
