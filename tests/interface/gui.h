// A display, the installed texts and pictures, and hands for the widgets of a test.
#ifndef BRINDLE_TESTS_INTERFACE_GUI_H
#define BRINDLE_TESTS_INTERFACE_GUI_H

#include <gtest/gtest.h>
#include <gtk/gtk.h>

#include <string>
#include <utility>
#include <vector>

/// What the sanitizers must not count against the program, in their suppression format.
extern const char* const toolkit_leaks;
extern const char* const toolkit_races;

/// Puts the texts, the look and the pictures of this build where the program reads them.
void install_interface();

/// Starts Xvfb and sets DISPLAY, once a test program.
void start_display();

/// The file `name` of this build's folder, such as "src/brindle-wizard".
std::string built(const std::string& name);

/// The text that the shipped English file has for `key`, found without the program's own reader.
std::string shipped_text(const std::string& key);

/// A caption without the "_" before its access letter.
std::string plain(std::string caption);

/// Lets the main loop handle all that is waiting.
void settle();

/// Runs the main loop while `action` happens in it. True when the action left the loop by itself.
template <typename Action>
bool leaves_main_loop(Action action);

/// Closes a window as the window manager does.
void close_window(GtkWidget* window);

std::string title_of(GtkWidget* window);
std::string label_text(GtkWidget* window, const char* name);
std::string button_caption(GtkWidget* window, const char* name);
std::string entry_text(GtkWidget* window, const char* name);
void type(GtkWidget* window, const char* name, const std::string& text);
void press(GtkWidget* window, const char* name);

// What people do with keyboard and mouse, as events of the display; the main loop handles what comes of it.
// Windows get the keyboard as on a desktop, so these need start_window_manager() before the first window is
// shown.

/// Starts openbox on the test's display, once a test.
void start_window_manager();

/// Runs the main loop until `window` has the keyboard, for at most 5 seconds. False when it never got it.
bool gets_keyboard(GtkWidget* window);

/// Presses a key or several together, as xdotool calls them: "Tab", "shift+Tab", "Escape", "alt+n".
void press_key(const char* keysym);

/// Where the upper left corner of a widget is on the screen.
std::pair<int, int> corner_of(GtkWidget* window, const char* name);

/// Moves `window` so that the corner of a widget in it comes there.
void move_window(GtkWidget* window, const char* name, std::pair<int, int> corner);

/// Moves the pointer to the middle of a widget.
void point_at(GtkWidget* window, const char* name);

/// Does that and presses the first button, once or twice as fast as people
/// do. The second press of two happens at the same place, whatever stands there by then.
void click(GtkWidget* window, const char* name);
void double_click(GtkWidget* window, const char* name);

/// The name of the widget that keys go to, or "nothing".
std::string focused(GtkWidget* window);

/// Place of a widget on its page.
struct Place {
  int x, y, width, height;
  bool operator==(const Place&) const = default;
};
Place place_of(GtkWidget* window, const char* name);
std::ostream& operator<<(std::ostream& out, const Place& place);

/// Visible windows of this program, by title.
std::vector<std::string> visible_titles();

/// The visible window with this title, or null.
GtkWidget* visible_window(const std::string& title);

/// A test with a display and English texts on a system without detection files.
class GuiTest : public testing::Test {
 protected:
  static void SetUpTestSuite();
  void SetUp() override;
  /// Builds the three pages as main does.
  void build_pages();
  void build_dialogs();
  /// All windows, and `page`, one of main's, on the screen with the keyboard, under a window manager.
  void open_with_keyboard(GtkWidget*& page);
};

// ---------------------------------------------------------------------------------------------------

bool run_main_loop_until(void (*action)(void*), void* data);

template <typename Action>
bool leaves_main_loop(Action action) {
  return run_main_loop_until([](void* data) { (*static_cast<Action*>(data))(); }, &action);
}

#endif
