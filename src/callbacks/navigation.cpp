#include "callbacks/navigation.h"

#include "interface/dialogs.h"
#include "interface/now.h"
#include "interface/windows.h"
#include "process/archive/work_folder.h"
#include "process/run/run_note.h"
#include "shell/run.h"
#include "state/posts.h"
#include "state/question.h"
#include "state/state.h"

namespace {

void hide(GtkWidget* window) {
  if (window != nullptr) gtk_widget_hide(window);
}

void show(GtkWidget* window) {
  if (window != nullptr) gtk_widget_show(window);
}

void open_support_page(int nld) {
  const char* page = "http://" BRINDLE_SUPPORT_HOST "/brindle/support.jsp?version=3.0.0";
  shell::run_unlogged(nld == 1 ? compose("firefox %s &", page) : compose("mozilla %s &", page));
}

}  // namespace

void on_next_clicked(GtkButton* /*button*/, gpointer /*user_data*/) {
  hide(window1);
  show(window2);
}

void on_back2_clicked(GtkButton* /*button*/, gpointer /*user_data*/) {
  hide(window2);
  show(window1);
}

void on_back3_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { show(window2); }

void on_cancel_step1_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { show_over_page(quit_dialog); }

void on_bCancelStep2_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { show_over_page(quit_dialog); }

void on_button_window3_cancel_clicked(GtkButton* /*button*/, gpointer /*user_data*/) {
  if (isKilled == 1) return;  // pressed again while the folder is being removed
  GtkWidget* notice = create_dialogcancel();
  isKilled = 1;
  clear_now_line(window3);
  cancel_run_note();
  destroy_question_windows();
  decline_open_questions();
  remove_progress_timeout(timer);
  show_drawn_over_page(notice);
  // An unzip that goes on would make the directory anew, for everybody to read.
  stop_unpacking();
  // Null before the worker has made it, or when it could not: then there is nothing to remove.
  if (const char* temporary = dir_name) shell::run_unlogged(compose("rm -rf %s", temporary));
}

void on_bHelpStep1_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { open_support_page(isNLD); }

void on_bHelpStep2_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { open_support_page(isNLD); }

void on_bHelpStep3_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { open_support_page(isNLD); }

gboolean on_window1_delete_event(GtkWidget* /*widget*/, GdkEvent* /*event*/, gpointer /*user_data*/) {
  gtk_main_quit();
  return FALSE;
}

gboolean on_window2_delete_event(GtkWidget* /*widget*/, GdkEvent* /*event*/, gpointer /*user_data*/) {
  gtk_main_quit();
  return FALSE;
}

gboolean on_window3_delete_event(GtkWidget* /*widget*/, GdkEvent* /*event*/, gpointer /*user_data*/) {
  cancel_run_note();
  gtk_main_quit();
  return FALSE;
}

void on_button_done_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { gtk_main_quit(); }

void on_okbutton1_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { gtk_main_quit(); }

void on_closebutton_quit_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { gtk_main_quit(); }

void on_cancelbutton1_clicked(GtkButton* button, gpointer /*user_data*/) {
  gtk_widget_hide(gtk_widget_get_toplevel(GTK_WIDGET(button)));
}

void on_okbutton2_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
}

void on_okbutton2_multiusererror_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
}

void on_okbutton2_printer_clicked(GtkButton* button, gpointer /*user_data*/) {
  printer_notice.close();
  destroy_window_of(GTK_WIDGET(button));
}

void on_okbutton2_user_clicked(GtkButton* button, gpointer /*user_data*/) {
  user_notice.close();
  destroy_window_of(GTK_WIDGET(button));
}
