#include "callbacks/share_credentials.h"

#include "interface/dialogs.h"
#include "interface/parts.h"
#include "interface/printer_windows.h"
#include "interface/windows.h"
#include "state/state.h"

namespace {

const char* text_of(GtkButton* button, const char* entry) {
  return gtk_entry_get_text(GTK_ENTRY(lookup_widget(GTK_WIDGET(button), entry)));
}

void show_confirmation() {
  GtkWidget* window = create_smb_username_password_window2();
  if (window == nullptr) return;
  gtk_widget_hide(smb_username_password_window);
  gtk_window_set_title(GTK_WINDOW(window), shown_text(displaylabel).c_str());
  gtk_label_set_text(GTK_LABEL(lookup_widget(window, "label_url")), shown_text(smburl).c_str());
  gtk_label_set_text(GTK_LABEL(lookup_widget(window, "entry_username")), Username);
  show_over_page(window);
}

}  // namespace

void on_smb_username_password_next2_clicked(GtkButton* button, gpointer /*user_data*/) {
  // An answer that does not fit counts as missing: cut, it would be another password.
  assign(Username, text_of(button, "entry_username"));
  assign(Password, text_of(button, "entry_password"));
  if (*Username == '\0' || *Password == '\0') {
    return show_over_page(create_dialog_specify_username_password());
  }
  show_confirmation();
}

gboolean on_smb_username_password_window_delete_event(GtkWidget* /*widget*/, GdkEvent* /*event*/,
                                                      gpointer /*user_data*/) {
  return TRUE;
}

void on_smb_username_password_window2_next2_clicked(GtkButton* button, gpointer /*user_data*/) {
  gtk_widget_destroy(smb_username_password_window);
  isWindowSmbUsernamePasswordOpen = 0;
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
