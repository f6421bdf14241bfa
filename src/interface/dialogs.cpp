#include "interface/dialogs.h"

#include "callbacks/navigation.h"
#include "callbacks/share_credentials.h"
#include "callbacks/source.h"
#include "interface/parts.h"
#include "interface/press_guard.h"
#include "interface/wrapping.h"
#include "state/state.h"

namespace {

constexpr int message_width = 340;

gboolean press_instead(GtkWidget* /*dialog*/, GdkEvent* /*event*/, gpointer button) {
  gtk_button_clicked(GTK_BUTTON(button));
  return TRUE;
}

GtkWidget* new_dialog(const std::string& title) {
  GtkWidget* dialog = gtk_dialog_new();
  gtk_widget_set_name(dialog, "brindle_dialog");
  gtk_window_set_title(GTK_WINDOW(dialog), title.c_str());
  gtk_window_set_modal(GTK_WINDOW(dialog), TRUE);
  gtk_window_set_position(GTK_WINDOW(dialog), GTK_WIN_POS_CENTER_ON_PARENT);
  gtk_dialog_set_has_separator(GTK_DIALOG(dialog), FALSE);
  gtk_container_set_border_width(GTK_CONTAINER(dialog), 8);
  guard_page_behind(dialog);
  GtkWidget* buttons = gtk_dialog_get_action_area(GTK_DIALOG(dialog));
  gtk_button_box_set_layout(GTK_BUTTON_BOX(buttons), GTK_BUTTONBOX_END);
  return dialog;
}

void add_message(GtkWidget* dialog, const std::string& text) {
  GtkWidget* message = gtk_label_new(text.c_str());
  gtk_label_set_justify(GTK_LABEL(message), GTK_JUSTIFY_FILL);
  gtk_misc_set_alignment(GTK_MISC(message), 0.43F, 0.54F);
  wrap_label(message, message_width);
  gtk_widget_show(message);
  gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(dialog))), message, TRUE, TRUE, 6);
  name_widget(dialog, message, "message");
}

GtkWidget* add_button(GtkWidget* dialog, const char* name, const char* stock, int response,
                      GCallback on_clicked) {
  GtkWidget* button = new_stock_button(stock, on_clicked);
  gtk_widget_set_can_default(button, TRUE);
  gtk_widget_show(button);
  gtk_dialog_add_action_widget(GTK_DIALOG(dialog), button, response);
  name_widget(dialog, button, name);
  return button;
}

void focus(GtkWidget* /*dialog*/, gpointer button) { gtk_widget_grab_focus(GTK_WIDGET(button)); }

void closing_presses(GtkWidget* dialog, GtkWidget* button) {
  g_signal_connect(dialog, "delete-event", G_CALLBACK(press_instead), button);
}

struct Notice {
  const char* title_key;
  const char* text_key;
  const char* button;
  const char* stock;
  GCallback on_clicked;
};

GtkWidget* build_notice(const std::string& title, const std::string& text, const Notice& notice) {
  GtkWidget* dialog = new_dialog(title);
  add_message(dialog, text);
  GtkWidget* button = add_button(dialog, notice.button, notice.stock, GTK_RESPONSE_OK, notice.on_clicked);
  closing_presses(dialog, button);
  gtk_dialog_set_default_response(GTK_DIALOG(dialog), GTK_RESPONSE_OK);
  return dialog;
}

// A dialog with one message and one button.
GtkWidget* create_notice(int nld, const Notice& notice) {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  return with_icon(build_notice(texts[notice.title_key], texts[notice.text_key], notice), nld);
}

void connect_chooser(GtkWidget* chooser) {
  GtkWidget* ok = GTK_FILE_SELECTION(chooser)->ok_button;
  GtkWidget* cancel = GTK_FILE_SELECTION(chooser)->cancel_button;
  name_widget(chooser, ok, "ok_button_fileselection");
  name_widget(chooser, cancel, "cancel_button1");
  g_signal_connect(ok, "clicked", G_CALLBACK(on_ok_button_fileselection_clicked), nullptr);
  g_signal_connect(cancel, "clicked", G_CALLBACK(on_cancel_button1_clicked), nullptr);
  g_signal_connect(chooser, "delete-event", G_CALLBACK(on_fileselection_delete_event), nullptr);
}

// A hidden entry with room for a remark below it.
void add_password_entry(GtkWidget* dialog, const std::string& name) {
  GtkWidget* entry = gtk_entry_new();
  gtk_entry_set_visibility(GTK_ENTRY(entry), FALSE);
  gtk_entry_set_activates_default(GTK_ENTRY(entry), TRUE);
  set_accessible_label(entry, lookup_widget(dialog, "message"), name);
  GtkWidget* remark = gtk_label_new("");
  for (GtkWidget* child : {entry, remark}) {
    gtk_widget_show(child);
    gtk_box_pack_start(GTK_BOX(gtk_dialog_get_content_area(GTK_DIALOG(dialog))), child, FALSE, FALSE, 0);
  }
  name_widget(dialog, entry, "entry_zipPassword");
  name_widget(dialog, remark, "label_zipPassword");
}

}  // namespace

GtkWidget* create_fileselection() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  GtkWidget* chooser = gtk_file_selection_new(texts["createfileselection"].c_str());
  gtk_widget_set_name(chooser, "brindle_dialog");
  gtk_window_set_modal(GTK_WINDOW(chooser), TRUE);
  gtk_window_set_position(GTK_WINDOW(chooser), GTK_WIN_POS_CENTER_ON_PARENT);
  gtk_file_selection_hide_fileop_buttons(GTK_FILE_SELECTION(chooser));
  guard_page_behind(chooser);
  connect_chooser(chooser);
  return with_icon(chooser, isNLD);
}

GtkWidget* create_dialog1() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  GtkWidget* dialog = new_dialog(texts["createdialog1"]);
  add_message(dialog, texts["createdialog1-label19"]);
  GtkWidget* no =
      add_button(dialog, "cancelbutton1", "gtk-no", GTK_RESPONSE_NO, G_CALLBACK(on_cancelbutton1_clicked));
  add_button(dialog, "okbutton1", "gtk-yes", GTK_RESPONSE_YES, G_CALLBACK(on_okbutton1_clicked));
  closing_presses(dialog, no);
  gtk_dialog_set_default_response(GTK_DIALOG(dialog), GTK_RESPONSE_NO);
  // Shown again, it would begin with the button that had the keyboard last.
  g_signal_connect(dialog, "show", G_CALLBACK(focus), no);
  return with_icon(dialog, isNLD);
}

GtkWidget* create_dialog_done() {
  return create_notice(isNLD, {"createdialogdone", "createdialogdone-label20", "okbutton2", "gtk-ok",
                               G_CALLBACK(on_okbutton2_clicked)});
}

GtkWidget* create_dialog_multi_user_error() {
  return create_notice(isNLD, {"createdialogmultiusererror", "createdialogmultiusererror-label20",
                               "okbutton2", "gtk-ok", G_CALLBACK(on_okbutton2_multiusererror_clicked)});
}

GtkWidget* create_dialog_printer_error() {
  return create_notice(isNLD, {"createdialogprintererror", "createdialogprintererror-label20", "okbutton2",
                               "gtk-ok", G_CALLBACK(on_okbutton2_printer_clicked)});
}

GtkWidget* create_dialog_user_error() {
  return create_notice(isNLD, {"createdialogusererror", "createdialogusererror-label20", "okbutton2",
                               "gtk-ok", G_CALLBACK(on_okbutton2_user_clicked)});
}

GtkWidget* create_dialogcancel() {
  return create_notice(isNLD, {"createdialogcancel", "createdialogcancel-label18", "closebutton_quit",
                               "gtk-quit", G_CALLBACK(on_closebutton_quit_clicked)});
}

GtkWidget* create_unpackingStopped() {
  return create_notice(isNLD, {"unpackingstopped", "unpackingstopped-label23", "closebutton_unpackingStopped",
                               "gtk-close", G_CALLBACK(on_closebutton_unpackingStopped_clicked)});
}

GtkWidget* create_noFileSpecified() {
  return create_notice(isNLD, {"nofilespecified", "nofilespecified-label13", "closebutton_nofilespecified",
                               "gtk-close", G_CALLBACK(on_closebutton_nofilespecified_clicked)});
}

GtkWidget* create_noFileFound() {
  return create_notice(isNLD, {"nofilefound", "nofilefound-label14", "closebutton_noFileFound", "gtk-close",
                               G_CALLBACK(on_closebutton_noFileFound_clicked)});
}

GtkWidget* create_notZipFile() {
  return create_notice(isNLD, {"notzipfile", "notzipfile-label15", "closebutton_notZipFile", "gtk-close",
                               G_CALLBACK(on_closebutton_notZipFile_clicked)});
}

GtkWidget* create_notEnoughSpace() {
  return create_notice(isNLD, {"notenoughspace", "notenoughspace-label16", "closebutton_notEnoughSpace",
                               "gtk-close", G_CALLBACK(on_closebutton_notEnoughSpace_clicked)});
}

GtkWidget* create_errorMountingCdrom() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  // Deliberate: part of the output. The message has no key of its own and is English in every language.
  const Notice notice = {nullptr, nullptr, "closebutton1", "gtk-close", G_CALLBACK(on_closebutton1_clicked)};
  return with_icon(build_notice(texts["createerrormountingcdrom"], "Error on mounting CD-ROM", notice),
                   isNLD);
}

GtkWidget* create_noRemote() {
  return create_notice(isNLD, {"noremote", "noremote-label2", "closebutton2", "gtk-close",
                               G_CALLBACK(on_closebutton2_clicked)});
}

GtkWidget* create_zipPassword() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  GtkWidget* dialog = new_dialog(texts["zippassword"]);
  add_message(dialog, texts["zippassword-label17"]);
  add_password_entry(dialog, texts["zippassword"]);
  GtkWidget* cancel = add_button(dialog, "cancelbutton_zipPassword", "gtk-cancel", GTK_RESPONSE_CANCEL,
                                 G_CALLBACK(on_cancelbutton_zipPassword_clicked));
  add_button(dialog, "okbutton_zipPassword", "gtk-ok", GTK_RESPONSE_OK,
             G_CALLBACK(on_okbutton_zipPassword_clicked));
  closing_presses(dialog, cancel);
  gtk_dialog_set_default_response(GTK_DIALOG(dialog), GTK_RESPONSE_OK);
  return with_icon(dialog, isNLD);
}

GtkWidget* create_zipWrongPassword() {
  return create_notice(isNLD, {"zipwrongpassword", "zipwrongpassword-label21", "closebutton_zipWrongPassword",
                               "gtk-close", G_CALLBACK(on_closebutton_zipWrongPassword_clicked)});
}

GtkWidget* create_zipOtherEncryption() {
  return create_notice(isNLD,
                       {"zipotherencryption", "zipotherencryption-label22", "closebutton_zipOtherEncryption",
                        "gtk-close", G_CALLBACK(on_closebutton_zipOtherEncryption_clicked)});
}

GtkWidget* create_dialog_specify_username_password() {
  return create_notice(
      isNLD, {"dialog_specify_username_password", "dialog_specify_username_password-label20", "okbutton2",
              "gtk-ok", G_CALLBACK(on_okbutton2_dialog_specify_username_password_clicked)});
}
