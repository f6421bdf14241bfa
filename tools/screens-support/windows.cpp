#include "screens-support/windows.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <vector>

#include "interface/dialogs.h"
#include "interface/pages.h"
#include "interface/printer_windows.h"
#include "interface/windows.h"
#include "state/posts.h"
#include "state/question.h"
#include "state/state.h"
#include "system/marks.h"

namespace {

// ---- Systems ---------------------------------------------------------------------------------------------

// The program knows its system by these files.
constexpr const char* detection_files[] = {"/etc/linspire-version", "/etc/xandros-version",
                                           "/etc/redflag-release"};

void be_on(const char* detection_file) {
  for (const char* file : detection_files) std::remove(file);
  if (detection_file != nullptr) std::ofstream(detection_file) << "Red Flag Linux release 4.1 (Desktop)\n";
}

// ---- Pages -----------------------------------------------------------------------------------------------

// As main has them: the look goes by this name.
GtkWidget* page(GtkWidget* built, const char* name) {
  if (built == nullptr) return nullptr;
  gtk_widget_set_name(built, name);
  gtk_widget_show(built);
  return built;
}

GtkWidget* show_page1() { return page(window1 = create_window1(), "window_step1"); }

GtkWidget* show_page2() { return page(window2 = create_window2(), "window_step2"); }

GtkWidget* show_page3(const char* detection_file) {
  be_on(detection_file);
  return page(window3 = create_window3(), "window_step3");
}

// Of one line, as large as the style says.
int full_width(GtkWidget* label) {
  PangoLayout* layout = gtk_widget_create_pango_layout(label, gtk_label_get_text(GTK_LABEL(label)));
  int width = 0;
  pango_layout_get_pixel_size(layout, &width, nullptr);
  g_object_unref(layout);
  return width;
}

// All that a run may say of what it does now.
std::vector<PostedBeginning> all_beginnings() {
  std::vector<PostedBeginning> all = {
      {Phase::unpacking, ""}, {Phase::getting_ready, ""}, {Phase::cleaning_up, ""}};
  for (const MarkRow& row : mark_rows()) {
    const int number = static_cast<int>(row.mark);
    all.push_back({number, ""});
    // Accounts and printers are nobody's own.
    const bool is_somebodys =
        row.mark != Mark::several_users && row.mark != Mark::preparing_printers && row.mark != Mark::printers;
    if (is_somebodys) all.push_back({number, "katharina"});
  }
  return all;
}

// While the longest line says what is moved.
GtkWidget* show_page3_at_work(const char* detection_file) {
  GtkWidget* window = show_page3(detection_file);
  if (window == nullptr) return nullptr;
  PostedBeginning longest;
  int longest_width = 0;
  for (const PostedBeginning& begun : all_beginnings()) {
    show_posted_beginning(new PostedBeginning(begun));
    const int width = full_width(lookup_widget(window, "label_now"));
    if (width > longest_width) longest = begun;
    longest_width = std::max(width, longest_width);
  }
  show_posted_beginning(new PostedBeginning(longest));
  for (const int number : {12, 0, 1}) draw_posted_mark(new PostedMark{number, 0});
  return window;
}

// With every mark set, and all that the end of a run changes.
GtkWidget* show_page3_at_end(const char* detection_file) {
  GtkWidget* window = show_page3(detection_file);
  if (window == nullptr) return nullptr;
  for (const MarkRow& row : mark_rows()) {
    const int number = static_cast<int>(row.mark);
    draw_posted_mark(new PostedMark{number, number % 4 == 3 ? 1 : 0});
  }
  done_button_bar(nullptr);
  return window;
}

GtkWidget* show_page3_on_gnome() { return show_page3(nullptr); }
GtkWidget* show_page3_on_linspire() { return show_page3(detection_files[0]); }
GtkWidget* show_page3_on_xandros() { return show_page3(detection_files[1]); }
GtkWidget* show_page3_on_redflag() { return show_page3(detection_files[2]); }
GtkWidget* show_page3_at_work_on_gnome() { return show_page3_at_work(nullptr); }
GtkWidget* show_page3_at_end_on_gnome() { return show_page3_at_end(nullptr); }
GtkWidget* show_page3_at_end_on_redflag() { return show_page3_at_end(detection_files[2]); }

// ---- Dialogs ---------------------------------------------------------------------------------------------

template <GtkWidget* (*create)()>
GtkWidget* show_dialog() {
  GtkWidget* dialog = create();
  show_over_page(dialog);
  return dialog;
}

GtkWidget* show_chooser() {
  keep_window(fileselection, create_fileselection());
  if (fileselection != nullptr)
    gtk_file_selection_set_filename(GTK_FILE_SELECTION(fileselection), "/home/anna/");
  show_over_page(fileselection);
  return fileselection;
}

// ---- Questions about printers ----------------------------------------------------------------------------

GtkWidget* show_driver_question(int earlier_answer) {
  driverselection = static_cast<enum driver>(earlier_answer);
  driver_question.set_title("HP LaserJet 1300 PCL 6");
  driver_question.set_text("Office printer");
  show_popup_window_select_driver(nullptr);
  return window_select_driver;
}

GtkWidget* show_first_driver_question() { return show_driver_question(STPHOTO); }
GtkWidget* show_driver_question_after_a_model() { return show_driver_question(EPSON24); }
GtkWidget* show_driver_question_after_a_skip() { return show_driver_question(SKIP); }

GtkWidget* show_share_question() {
  share_question.set_title("Office printer");
  share_question.set_text("//kitchen-pc/Office printer");
  show_smb_username_password_window(nullptr);
  return smb_username_password_window;
}

GtkWidget* visible_window() {
  GtkWidget* found = nullptr;
  GList* windows = gtk_window_list_toplevels();
  for (const GList* each = windows; each != nullptr; each = each->next) {
    if (gtk_widget_get_visible(GTK_WIDGET(each->data)) != FALSE) found = GTK_WIDGET(each->data);
  }
  g_list_free(windows);
  return found;
}

GtkWidget* show_share_confirmation() {
  GtkWidget* first = show_share_question();
  if (first == nullptr) return nullptr;
  gtk_entry_set_text(GTK_ENTRY(lookup_widget(first, "entry_username")), "anna");
  gtk_entry_set_text(GTK_ENTRY(lookup_widget(first, "entry_password")), "secret");
  gtk_button_clicked(GTK_BUTTON(lookup_widget(first, "next2")));
  return visible_window();
}

// ---- All -------------------------------------------------------------------------------------------------

#define DIALOG(name, keys, builder) \
  { name, #builder, keys, show_dialog<builder> }

constexpr const char* share_keys = "smb_username_password_window";

const Screen screens[] = {
    {"page1", "create_window1", "window1", show_page1},
    {"page2", "create_window2", "window2", show_page2},
    {"page3-gnome", "create_window3", "window3", show_page3_on_gnome},
    {"page3-linspire", "create_window3", "window3", show_page3_on_linspire},
    {"page3-xandros", "create_window3", "window3", show_page3_on_xandros},
    {"page3-redflag", "create_window3", "window3", show_page3_on_redflag},
    {"page3-gnome-at-work", "create_window3", "window3", show_page3_at_work_on_gnome},
    {"page3-gnome-end", "create_window3", "window3", show_page3_at_end_on_gnome},
    {"page3-redflag-end", "create_window3", "window3", show_page3_at_end_on_redflag},
    {"chooser", "create_fileselection", "createfileselection", show_chooser},
    DIALOG("leave", "createdialog1", create_dialog1),
    DIALOG("no-file-specified", "nofilespecified", create_noFileSpecified),
    DIALOG("no-file-found", "nofilefound", create_noFileFound),
    DIALOG("not-a-zip", "notzipfile", create_notZipFile),
    DIALOG("not-enough-space", "notenoughspace", create_notEnoughSpace),
    DIALOG("no-disc", "createerrormountingcdrom", create_errorMountingCdrom),
    DIALOG("no-remote", "noremote", create_noRemote),
    DIALOG("password", "zippassword", create_zipPassword),
    DIALOG("wrong-password", "zipwrongpassword", create_zipWrongPassword),
    DIALOG("other-encryption", "zipotherencryption", create_zipOtherEncryption),
    DIALOG("multi-user", "createdialogmultiusererror", create_dialog_multi_user_error),
    DIALOG("unpacking-stopped", "unpackingstopped", create_unpackingStopped),
    DIALOG("printers-left-out", "createdialogprintererror", create_dialog_printer_error),
    DIALOG("user-left-out", "createdialogusererror", create_dialog_user_error),
    {"driver", "create_window_select_driver", "window_select_driver", show_first_driver_question},
    {"driver-after-a-model", "create_window_select_driver", "window_select_driver",
     show_driver_question_after_a_model},
    {"driver-after-a-skip", "create_window_select_driver", "window_select_driver",
     show_driver_question_after_a_skip},
    {"credentials", "create_smb_username_password_window", share_keys, show_share_question},
    {"confirmation", "create_smb_username_password_window2", "smb_username_password_window2",
     show_share_confirmation},
    DIALOG("both-needed", "dialog_specify_username_password", create_dialog_specify_username_password),
    DIALOG("cancelled", "createdialogcancel", create_dialogcancel),
    DIALOG("done", "createdialogdone", create_dialog_done),
};

}  // namespace

std::span<const Screen> all_screens() { return screens; }

void wait_until_drawn_whole() {
  // A window that has been mapped may lay itself out again.
  for (int round = 0; round < 3; ++round) {
    gdk_display_sync(gdk_display_get_default());
    while (gtk_events_pending() != FALSE) gtk_main_iteration_do(FALSE);
  }
  gdk_window_process_all_updates();
  gdk_display_sync(gdk_display_get_default());
}

void close_all_windows() {
  std::vector<GtkWidget*> all;
  GList* windows = gtk_window_list_toplevels();
  for (const GList* each = windows; each != nullptr; each = each->next)
    all.push_back(GTK_WIDGET(g_object_ref(each->data)));
  g_list_free(windows);
  for (GtkWidget* window : all) {
    // The toolkit keeps its tooltips.
    if (gtk_window_get_window_type(GTK_WINDOW(window)) == GTK_WINDOW_TOPLEVEL) gtk_widget_destroy(window);
    g_object_unref(window);
  }
  window1 = window2 = window3 = nullptr;
  driver_question.decline();
  share_question.decline();
  be_on(nullptr);
}
