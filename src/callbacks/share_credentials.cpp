#include "callbacks/share_credentials.h"

#include "interface/dialogs.h"
#include "interface/parts.h"
#include "interface/printer_windows.h"
#include "interface/windows.h"
#include "state/question.h"
#include "state/state.h"

namespace {

const char* text_of(GtkButton* button, const char* entry) {
  return gtk_entry_get_text(GTK_ENTRY(lookup_widget(GTK_WIDGET(button), entry)));
}

GtkWidget* new_confirmation(const char* title, const char* share, const char* user) {
  GtkWidget* window = create_smb_username_password_window2();
  if (window == nullptr) return nullptr;
  gtk_window_set_title(GTK_WINDOW(window), shown_name(title).c_str());
  gtk_label_set_text(GTK_LABEL(lookup_widget(window, "label_url")), shown_name(share).c_str());
  gtk_label_set_text(GTK_LABEL(lookup_widget(window, "entry_username")), user);
  return window;
}

// Hides the first window when there is a second.
void confirm(GtkWidget* first, GtkWidget* second) {
  if (second == nullptr) return;
  keep_window(smb_username_password_window2, second);
  gtk_widget_hide(first);
  show_over_page(second);
}

// Goes with the window it is about.
void ask_for_both() {
  GtkWidget* notice = create_dialog_specify_username_password();
  if (notice == nullptr) return;
  gtk_window_set_transient_for(GTK_WINDOW(notice), GTK_WINDOW(smb_username_password_window));
  gtk_window_set_destroy_with_parent(GTK_WINDOW(notice), TRUE);
  gtk_widget_show(notice);
}

}  // namespace

void on_smb_username_password_next2_clicked(GtkButton* button, gpointer /*user_data*/) {
  if (smb_username_password_window2 != nullptr) return;  // a screen reader can press what is hidden
  const bool has_user = share_question.keep_answer(share_user, text_of(button, "entry_username"));
  const bool has_password = share_question.keep_answer(share_password, text_of(button, "entry_password"));
  if (!has_user || !has_password) return ask_for_both();
  confirm(smb_username_password_window,
          new_confirmation(share_question.title(), share_question.text(), share_question.answer(share_user)));
}

gboolean on_smb_username_password_window_delete_event(GtkWidget* widget, GdkEvent* /*event*/,
                                                      gpointer /*user_data*/) {
  gtk_widget_destroy(widget);
  share_question.decline();
  return TRUE;
}

void on_smb_username_password_window2_next2_clicked(GtkButton* button, gpointer /*user_data*/) {
  gtk_widget_destroy(smb_username_password_window);
  share_question.close();
  destroy_window_of(GTK_WIDGET(button));
}

void on_smb_username_password_window2_back2_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
  show_over_page(smb_username_password_window);
}

gboolean on_smb_username_password_window2_delete_event(GtkWidget* widget, GdkEvent* /*event*/,
                                                       gpointer /*user_data*/) {
  gtk_widget_destroy(widget);
  show_over_page(smb_username_password_window);
  return TRUE;
}

void on_okbutton2_dialog_specify_username_password_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
}
