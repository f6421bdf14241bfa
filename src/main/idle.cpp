// What the worker posts to the GUI thread. The callbacks run from the main loop without GDK's lock, so each
// takes it around its own GTK calls.
#include "main/idle.h"

#include <gtk/gtk.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "interface/dialogs.h"
#include "interface/marks.h"
#include "interface/parts.h"
#include "interface/printer_windows.h"
#include "interface/windows.h"
#include "state/posts.h"
#include "state/state.h"
#include "system/marks.h"

namespace {

class GdkLock {
 public:
  GdkLock() { gdk_threads_enter(); }
  ~GdkLock() { gdk_threads_leave(); }
  GdkLock(const GdkLock&) = delete;
  GdkLock& operator=(const GdkLock&) = delete;
};

void set_progress(double fraction, const char* text) {
  GtkWidget* bar = lookup_widget(window3, "progressbar1");
  GtkWidget* label = lookup_widget(window3, "label_percentage");
  if (bar == nullptr || label == nullptr) return;
  gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(bar), fraction);
  gtk_label_set_text(GTK_LABEL(label), text);
}

double shown_progress() {
  GtkWidget* bar = lookup_widget(window3, "progressbar1");
  return bar != nullptr ? gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(bar)) : 0.0;
}

void set_sensitive(const char* button, gboolean sensitive) {
  GtkWidget* widget = lookup_widget(window3, button);
  if (widget != nullptr) gtk_widget_set_sensitive(widget, sensitive);
}

// The step of one tick: the larger the archive, the smaller. Infinite below ten million bytes: both
// divisions are whole, so the divisor is 0 there and the timeout ends at its first tick.
double step_for(int size) {
  const int tens_of_megabytes = (size / 1000000) / 10;
  return 0.05 / static_cast<double>(tens_of_megabytes);
}

// For a dialog that could not be built (or was used up): nobody will press its button.
void release_if_absent(const GtkWidget* dialog, std::atomic<int>& flag) {
  if (dialog == nullptr) flag = 0;
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

int progress_timeout(void* data) {
  const int size = *static_cast<const int*>(data);
  // Linspire's bar waits for the end of the run.
  if (std::strcmp(OSName, "Linspire") == 0 || size == 0) return 1;
  const GdkLock lock;
  const double value = shown_progress() + step_for(size);
  if (value > 1.0) return 0;
  char text[32];
  std::snprintf(text, sizeof text, "%d%%", static_cast<int>(value * 100.0));
  set_progress(value, text);
  return 1;
}

int done_button_bar(void* /*data*/) {
  take_hand_over();
  const GdkLock lock;
  set_progress(1.0, "100%");
  set_sensitive("button_done", TRUE);
  set_sensitive("button_window3_cancel", FALSE);
  return 0;
}

int show_popup_window(void* /*data*/) {
  take_hand_over();
  const GdkLock lock;
  show_over_page(dialog_done);
  return 0;
}

int show_popup_multi_user_error_window(void* /*data*/) {
  take_hand_over();
  std::printf("in main::");
  const GdkLock lock;
  show_over_page(dialog_multi_user_error);
  return 0;
}

int show_popup_printer_error_window(void* /*data*/) {
  take_hand_over();
  std::printf("in main::");
  const GdkLock lock;
  show_over_page(dialog_printer_error);
  release_if_absent(dialog_printer_error, isPrinterPopupOpen);
  return 0;
}

int show_popup_user_error_window(void* /*data*/) {
  take_hand_over();
  std::printf("in main::");
  const GdkLock lock;
  keep_window(dialog_user_error, create_dialog_user_error());
  show_over_page(dialog_user_error);
  release_if_absent(dialog_user_error, isUserPopupOpen);
  return 0;
}

int show_popup_window_select_driver(void* /*data*/) {
  take_hand_over();
  const std::string title = shown_text(displaylabel);
  std::printf("in main.%s\n", displaylabel != nullptr ? displaylabel : "");
  const GdkLock lock;
  keep_window(window_select_driver, create_window_select_driver());
  if (window_select_driver != nullptr) {
    gtk_window_set_title(GTK_WINDOW(window_select_driver), title.c_str());
    show_over_page(window_select_driver);
  } else {
    assign(selecteddriver, "");
  }
  std::printf("about to exit main.");
  release_if_absent(window_select_driver, isWindowSelectDriverOpen);
  return 0;
}

int show_smb_username_password_window(void* /*data*/) {
  take_hand_over();
  std::printf("in main.%s\n", displaylabel != nullptr ? displaylabel : "");
  std::printf("in main.%s\n", smburl != nullptr ? smburl : "");
  const GdkLock lock;
  keep_window(smb_username_password_window, create_smb_username_password_window());
  if (smb_username_password_window != nullptr) {
    gtk_window_set_title(GTK_WINDOW(smb_username_password_window), shown_text(displaylabel).c_str());
    GtkWidget* url = lookup_widget(smb_username_password_window, "label_url");
    gtk_label_set_text(GTK_LABEL(url), shown_text(smburl).c_str());
    show_over_page(smb_username_password_window);
  }
  std::printf("about to exit main.");
  release_if_absent(smb_username_password_window, isWindowSmbUsernamePasswordOpen);
  return 0;
}
