#include "interface/pages.h"

#include "callbacks/navigation.h"
#include "callbacks/source.h"
#include "interface/marks.h"
#include "interface/page.h"
#include "interface/parts.h"
#include "state/state.h"
#include "system/capabilities.h"
#include "system/system.h"

namespace {

// One source of the archive: a radio button, the path beside it and the button that browses for it.
struct SourceRow {
  int y;
  const char* radio;
  const char* entry;
  const char* browse;
  GCallback on_radio;
  GCallback on_browse;
};

const SourceRow cdrom_row = {
    190, "cdrom", "entry_cdrom", "bCdrom", G_CALLBACK(on_cdrom_clicked), G_CALLBACK(on_bCdrom_clicked)};
const SourceRow local_row = {
    240, "local", "entry_local", "bLocal", G_CALLBACK(on_local_clicked), G_CALLBACK(on_bLocal_clicked)};

GtkWidget* put_radio(Page& page, const SourceRow& row, GtkWidget* group, const std::string& caption) {
  GtkWidget* radio = group == nullptr ? gtk_radio_button_new_with_mnemonic(nullptr, caption.c_str())
                                      : gtk_radio_button_new_with_mnemonic_from_widget(
                                            GTK_RADIO_BUTTON(group), caption.c_str());
  g_signal_connect(radio, "clicked", row.on_radio, nullptr);
  return page.put(row.radio, radio, {235, row.y}, -1, 25);
}

// Returns the radio button, for the group of the next row.
GtkWidget* put_source(Page& page, const SourceRow& row, GtkWidget* group, const std::string& caption,
                      const std::string& browse_caption) {
  const bool chosen = group == nullptr;
  GtkWidget* radio = put_radio(page, row, group, caption);
  GtkWidget* entry = page.put(row.entry, gtk_entry_new(), {347, row.y}, 158, 23);
  set_editable(entry, chosen);
  g_signal_connect(entry, "map", G_CALLBACK(show_whether_editable), nullptr);
  gtk_entry_set_activates_default(GTK_ENTRY(entry), TRUE);
  set_accessible_label(entry, radio, without_mnemonic(caption));
  GtkWidget* browse = page.put_button(row.browse, browse_caption, {512, row.y}, row.on_browse);
  gtk_widget_set_sensitive(browse, chosen);
  atk_object_set_description(gtk_widget_get_accessible(browse), without_mnemonic(caption).c_str());
  return radio;
}

void put_progress_bar(Page& page, const std::string& name) {
  GtkWidget* bar = page.put("progressbar1", gtk_progress_bar_new(), {221, 332}, 315, 18);
  atk_object_set_name(gtk_widget_get_accessible(bar), name.c_str());
  GtkWidget* percentage = page.put("label_percentage", gtk_label_new("0%"), {542, 332}, 44, 18);
  gtk_misc_set_alignment(GTK_MISC(percentage), 1.0F, 0.5F);
}

}  // namespace

GtkWidget* create_window1() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  Page page(texts["window1"], G_CALLBACK(on_window1_delete_event));
  gtk_window_set_resizable(GTK_WINDOW(page.window()), FALSE);
  GtkWidget* next = page.put_button("next1", texts["window1-next"], {400, 384}, G_CALLBACK(on_next_clicked));
  page.put_button("cancel_step1", texts["window1-cancel"], {504, 384}, G_CALLBACK(on_cancel_step1_clicked));
  page.put_button("bHelpStep1", texts["window1-help"], {72, 384}, G_CALLBACK(on_bHelpStep1_clicked));
  make_default(next);
  gtk_widget_grab_focus(next);
  page.appear_before_content();
  return with_icon(page.window(), isNLD);
}

GtkWidget* create_window2() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  Page page(texts["window2"], G_CALLBACK(on_window2_delete_event));
  GtkWidget* cdrom = put_source(page, cdrom_row, nullptr, texts["window2-cdrom"], texts["window2-browse1"]);
  put_source(page, local_row, cdrom, texts["window2-localdrives"], texts["window2-browse2"]);
  page.put_button("back2", texts["window2-back"], {341, 384}, G_CALLBACK(on_back2_clicked));
  GtkWidget* next = page.put_button("next2", texts["window2-next"], {400, 384}, G_CALLBACK(on_next2_clicked));
  page.put_button("bCancelStep2", texts["window2-cancel"], {504, 384}, G_CALLBACK(on_bCancelStep2_clicked));
  page.put_button("bHelpStep2", texts["window2-help"], {72, 384}, G_CALLBACK(on_bHelpStep2_clicked));
  make_default(next);
  return with_icon(page.window(), isNLD);
}

GtkWidget* create_window3() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  const std::string title = texts["window3"];
  Page page(title, G_CALLBACK(on_window3_delete_event));
  put_marks(page, texts, capabilities(detected_system()));
  put_progress_bar(page, title);
  GtkWidget* done =
      page.put_button("button_done", texts["window3-done"], {400, 384}, G_CALLBACK(on_button_done_clicked));
  gtk_widget_set_sensitive(done, FALSE);
  make_default(done);
  page.put_button("button_window3_cancel", texts["window3-cancel"], {504, 384},
                  G_CALLBACK(on_button_window3_cancel_clicked));
  page.put_button("bHelpStep3", texts["window3-help"], {72, 384}, G_CALLBACK(on_bHelpStep3_clicked));
  return with_icon(page.window(), isNLD);
}
