// What the worker posts to the GUI thread. The callbacks run from the main loop without GDK's lock, so each
// takes it around its own GTK calls.
#include "main/idle.h"

#include <gtk/gtk.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "interface/dialogs.h"
#include "interface/marks.h"
#include "interface/now.h"
#include "interface/parts.h"
#include "interface/printer_windows.h"
#include "interface/windows.h"
#include "state/posts.h"
#include "state/question.h"
#include "state/state.h"
#include "system/capabilities.h"
#include "system/marks.h"
#include "system/system.h"

namespace {

class GdkLock {
 public:
  GdkLock() { gdk_threads_enter(); }
  ~GdkLock() { gdk_threads_leave(); }
  GdkLock(const GdkLock&) = delete;
  GdkLock& operator=(const GdkLock&) = delete;
};

void set_progress(GtkWidget* page, double fraction, const char* text) {
  GtkWidget* bar = lookup_widget(page, "progressbar1");
  GtkWidget* label = lookup_widget(page, "label_percentage");
  if (bar == nullptr || label == nullptr) return;
  gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(bar), fraction);
  gtk_label_set_text(GTK_LABEL(label), text);
}

double shown_progress(GtkWidget* page) {
  GtkWidget* bar = lookup_widget(page, "progressbar1");
  return bar != nullptr ? gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(bar)) : 0.0;
}

void set_sensitive(GtkWidget* page, const char* button, gboolean sensitive) {
  GtkWidget* widget = lookup_widget(page, button);
  if (widget != nullptr) gtk_widget_set_sensitive(widget, sensitive);
}

void focus(GtkWidget* page, const char* button) {
  GtkWidget* widget = lookup_widget(page, button);
  if (widget != nullptr) gtk_widget_grab_focus(widget);
}

// The step of one tick: the larger the archive, the smaller. Deliberate: both divisions are whole, so below
// ten million bytes the step is infinite, the timeout ends at its first tick and the bar stands still until
// the end of the run.
double step_for(int size) {
  const int tens_of_megabytes = (size / 1000000) / 10;
  return 0.05 / static_cast<double>(tens_of_megabytes);
}

GtkWidget* new_driver_window(const char* windows_driver, const char* printer) {
  GtkWidget* window = create_window_select_driver();
  if (window == nullptr) return nullptr;
  const std::string title = shown_name(windows_driver);
  gtk_window_set_title(GTK_WINDOW(window), title.c_str());
  name_printer(window, shown_name(printer), title);
  return window;
}

GtkWidget* new_credentials_window(const char* title, const char* share) {
  GtkWidget* window = create_smb_username_password_window();
  if (window == nullptr) return nullptr;
  gtk_window_set_title(GTK_WINDOW(window), shown_name(title).c_str());
  gtk_label_set_text(GTK_LABEL(lookup_widget(window, "label_url")), shown_name(share).c_str());
  return window;
}

GtkWidget* kept(GtkWidget*& place, GtkWidget* built) {
  keep_window(place, built);
  return built;
}

// Above the notice of a cancelled run no other one is shown, which would keep its Quit from working. The
// worker posts none then, but may have done so a moment before.
void show_unless_cancelled(GtkWidget* dialog) {
  if (isKilled == 0) show_over_page(dialog);
}

// Without a window nobody can answer: it was used up, could not be built, or is not shown in a cancelled run.
void wait_or_decline(Question& question, const GtkWidget* window) {
  window != nullptr ? question.window_shown() : question.decline();
}

}  // namespace

int draw_posted_mark(void* data) {
  take_hand_over();
  const std::unique_ptr<PostedMark> posted(static_cast<PostedMark*>(data));
  auto* record = static_cast<Image_Result*>(std::malloc(sizeof(Image_Result)));
  if (record == nullptr) return 0;
  const std::string image = image_name(static_cast<Mark>(posted->number));
  *record = {lookup_widget(window3, image.c_str()), posted->result};
  return draw(record);
}

int draw(Image_Result* data) {
  const GdkLock lock;
  show_mark(data->image, data->result);
  std::free(data);
  return 0;
}

int show_posted_beginning(void* data) {
  take_hand_over();
  const std::unique_ptr<PostedBeginning> begun(static_cast<PostedBeginning*>(data));
  const GdkLock lock;
  if (isKilled == 0) show_beginning(window3, *begun);
  return 0;
}

int progress_timeout(void* data) {
  const int size = *static_cast<const int*>(data);
  if (!capabilities(detected_system()).progress_moves || size == 0) return 1;
  const GdkLock lock;
  const double value = shown_progress(window3) + step_for(size);
  if (value > 1.0) return 0;
  char text[32];
  std::snprintf(text, sizeof text, "%d%%", static_cast<int>(value * 100.0));
  set_progress(window3, value, text);
  return 1;
}

int done_button_bar(void* /*data*/) {
  take_hand_over();
  const GdkLock lock;
  set_progress(window3, 1.0, "100%");
  set_sensitive(window3, "button_done", TRUE);
  focus(window3, "button_done");
  set_sensitive(window3, "button_window3_cancel", FALSE);
  if (isKilled == 0) show_end_of_run(window3);
  return 0;
}

int show_popup_window(void* /*data*/) {
  take_hand_over();
  const GdkLock lock;
  show_unless_cancelled(dialog_done);
  return 0;
}

int show_popup_multi_user_error_window(void* /*data*/) {
  take_hand_over();
  std::printf("in main::");
  const GdkLock lock;
  show_unless_cancelled(dialog_multi_user_error);
  return 0;
}

int show_popup_unpacking_stopped(void* /*data*/) {
  take_hand_over();
  const GdkLock lock;
  if (isKilled == 0) show_over_page(create_unpackingStopped());
  return 0;
}

int show_popup_printer_error_window(void* /*data*/) {
  take_hand_over();
  std::printf("in main::");
  const GdkLock lock;
  GtkWidget* dialog = isKilled == 0 ? dialog_printer_error : nullptr;
  show_over_page(dialog);
  wait_or_decline(printer_notice, dialog);
  return 0;
}

int show_popup_user_error_window(void* /*data*/) {
  take_hand_over();
  std::printf("in main::");
  const GdkLock lock;
  GtkWidget* dialog = isKilled == 0 ? kept(dialog_user_error, create_dialog_user_error()) : nullptr;
  show_over_page(dialog);
  wait_or_decline(user_notice, dialog);
  return 0;
}

int show_popup_window_select_driver(void* /*data*/) {
  take_hand_over();
  std::printf("in main.%s\n", driver_question.title());
  const GdkLock lock;
  GtkWidget* window = nullptr;
  if (isKilled == 0) {
    window = kept(window_select_driver, new_driver_window(driver_question.title(), driver_question.text()));
  }
  show_over_page(window);
  std::printf("about to exit main.");
  wait_or_decline(driver_question, window);
  return 0;
}

int show_smb_username_password_window(void* /*data*/) {
  take_hand_over();
  std::printf("in main.%s\n", share_question.title());
  std::printf("in main.%s\n", share_question.text());
  const GdkLock lock;
  GtkWidget* window = nullptr;
  if (isKilled == 0) {
    window = kept(smb_username_password_window,
                  new_credentials_window(share_question.title(), share_question.text()));
  }
  show_over_page(window);
  std::printf("about to exit main.");
  wait_or_decline(share_question, window);
  return 0;
}
