#include "interface/pages.h"

#include <algorithm>

#include "callbacks/navigation.h"
#include "callbacks/source.h"
#include "interface/fitting.h"
#include "interface/marks.h"
#include "interface/now.h"
#include "interface/page.h"
#include "interface/parts.h"
#include "state/state.h"
#include "system/capabilities.h"
#include "system/system.h"

namespace {

// What each button of the foot and each Browse has up to its neighbours.
constexpr Room help_room = {8, 226};
constexpr Room back_room = {232, 400};
constexpr Room next_room = {400, 498};
constexpr Room next_room_without_back = {232, 498};
constexpr Room cancel_room = {504, 632};
constexpr Room browse_room = {512, 618};

constexpr int radio_left = 235;
constexpr int row_height = 25;
constexpr int entry_left = 347;
constexpr int entry_right = 505;
constexpr int entry_height = 23;
constexpr int smallest_entry = 90;
constexpr int gap_before_entry = 6;

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

struct Source {
  int y;
  GtkWidget* radio;
  GtkWidget* entry;
  GtkWidget* browse;
};

GtkWidget* put_radio(Page& page, const SourceRow& row, GtkWidget* group, const std::string& caption) {
  GtkWidget* radio = group == nullptr ? gtk_radio_button_new_with_mnemonic(nullptr, caption.c_str())
                                      : gtk_radio_button_new_with_mnemonic_from_widget(
                                            GTK_RADIO_BUTTON(group), caption.c_str());
  g_signal_connect(radio, "clicked", row.on_radio, nullptr);
  return page.put(row.radio, radio, {radio_left, row.y}, -1, row_height);
}

// `group`: the radio button of an earlier row, or null for the first one.
Source put_source(Page& page, const SourceRow& row, GtkWidget* group, const std::string& caption,
                  const std::string& browse_caption) {
  const bool chosen = group == nullptr;
  GtkWidget* radio = put_radio(page, row, group, caption);
  GtkWidget* entry =
      page.put(row.entry, gtk_entry_new(), {entry_left, row.y}, entry_right - entry_left, entry_height);
  set_editable(entry, chosen);
  g_signal_connect(entry, "map", G_CALLBACK(show_whether_editable), nullptr);
  gtk_entry_set_activates_default(GTK_ENTRY(entry), TRUE);
  set_accessible_label(entry, radio, without_mnemonic(caption));
  GtkWidget* browse = page.put_button(row.browse, browse_caption, {512, row.y}, browse_room, row.on_browse);
  gtk_widget_set_sensitive(browse, chosen);
  atk_object_set_description(gtk_widget_get_accessible(browse), without_mnemonic(caption).c_str());
  return {row.y, radio, entry, browse};
}

// A long caption moves the beginning of both entries, which stay one column, and their right end stays.
void keep_entries_beside_captions(Page& page, const Source& one, const Source& other) {
  page.when_measured([page, one, other] {
    const int longest = std::max(width_for_caption(one.radio), width_for_caption(other.radio));
    const int left =
        std::clamp(radio_left + longest + gap_before_entry, entry_left, entry_right - smallest_entry);
    for (const Source& source : {one, other}) {
      shrink_caption_to_fit(source.radio, left - gap_before_entry - radio_left, row_height);
      page.move(source.entry, {left, source.y});
      page.resize(source.entry, {entry_right - left, entry_height});
    }
  });
}

void put_progress_bar(Page& page, const std::string& name) {
  GtkWidget* bar = page.put("progressbar1", gtk_progress_bar_new(), {208, 345}, 348, 16);
  // Its accessible has no value, ever, when it is made before the bar has one.
  gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(bar), 0.0);
  atk_object_set_name(gtk_widget_get_accessible(bar), name.c_str());
  GtkWidget* percentage = gtk_label_new("0%");
  gtk_misc_set_alignment(GTK_MISC(percentage), 1.0F, 0.5F);
  page.put_label("label_percentage", percentage, {562, 342}, {62, 22});
}

}  // namespace

GtkWidget* create_window1() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  const std::string title = texts["window1"];
  Page page(title, G_CALLBACK(on_window1_delete_event));
  gtk_window_set_resizable(GTK_WINDOW(page.window()), FALSE);
  page.put_heading(title, texts["window1-text"], {208, 28}, {416, 216});
  GtkWidget* next = page.put_button("next1", texts["window1-next"], {400, 384}, next_room_without_back,
                                    G_CALLBACK(on_next_clicked));
  page.escape_presses(page.put_button("cancel_step1", texts["window1-cancel"], {504, 384}, cancel_room,
                                      G_CALLBACK(on_cancel_step1_clicked)));
  page.put_button("bHelpStep1", texts["window1-help"], {72, 384}, help_room,
                  G_CALLBACK(on_bHelpStep1_clicked));
  make_default(next);
  gtk_widget_grab_focus(next);
  page.appear_before_content();
  return with_icon(page.window(), isNLD);
}

GtkWidget* create_window2() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  const std::string title = texts["window2"];
  Page page(title, G_CALLBACK(on_window2_delete_event));
  page.put_heading(title, texts["window2-text"], {208, 20}, {416, 140});
  const Source cdrom = put_source(page, cdrom_row, nullptr, texts["window2-cdrom"], texts["window2-browse1"]);
  const Source local =
      put_source(page, local_row, cdrom.radio, texts["window2-localdrives"], texts["window2-browse2"]);
  keep_entries_beside_captions(page, cdrom, local);
  GtkWidget* back =
      page.put_button("back2", texts["window2-back"], {341, 384}, back_room, G_CALLBACK(on_back2_clicked));
  GtkWidget* next =
      page.put_button("next2", texts["window2-next"], {400, 384}, next_room, G_CALLBACK(on_next2_clicked));
  GtkWidget* cancel = page.put_button("bCancelStep2", texts["window2-cancel"], {504, 384}, cancel_room,
                                      G_CALLBACK(on_bCancelStep2_clicked));
  GtkWidget* help = page.put_button("bHelpStep2", texts["window2-help"], {72, 384}, help_room,
                                    G_CALLBACK(on_bHelpStep2_clicked));
  make_default(next);
  page.escape_presses(cancel);
  page.set_tab_order({cdrom.radio, cdrom.entry, cdrom.browse, local.radio, local.entry, local.browse, help,
                      back, next, cancel});
  return with_icon(page.window(), isNLD);
}

GtkWidget* create_window3() {
  const WindowTexts texts;
  if (texts.missing()) return nullptr;
  const std::string title = texts["window3"];
  Page page(title, G_CALLBACK(on_window3_delete_event));
  page.put_heading(title, "", {208, 5}, {416, 30});
  put_marks(page, texts, capabilities(detected_system()));
  put_now_line(page, texts);
  put_progress_bar(page, texts["window3-progress"]);
  GtkWidget* done = page.put_button("button_done", texts["window3-done"], {400, 384}, next_room_without_back,
                                    G_CALLBACK(on_button_done_clicked));
  gtk_widget_set_sensitive(done, FALSE);
  make_default(done);
  GtkWidget* cancel = page.put_button("button_window3_cancel", texts["window3-cancel"], {504, 384},
                                      cancel_room, G_CALLBACK(on_button_window3_cancel_clicked));
  gtk_widget_grab_focus(cancel);
  page.put_button("bHelpStep3", texts["window3-help"], {72, 384}, help_room,
                  G_CALLBACK(on_bHelpStep3_clicked));
  return with_icon(page.window(), isNLD);
}
