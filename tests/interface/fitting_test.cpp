// Pages with long texts and large fonts: what is measured is what the toolkit has given each widget.
#include <array>
#include <span>
#include <tuple>

#include "gui.h"
#include "interface/pages.h"
#include "interface/windows.h"
#include "main/idle.h"
#include "state/posts.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

struct Area {
  int left, top, right, bottom;
};

Area area_of(GtkWidget* page, const char* name) {
  GtkAllocation area{};
  gtk_widget_get_allocation(lookup_widget(page, name), &area);
  return {area.x, area.y, area.x + area.width, area.y + area.height};
}

// A button or its caption that needs more than it has would be cut.
void expect_whole(GtkWidget* page, const char* name) {
  GtkWidget* widget = lookup_widget(page, name);
  GtkRequisition wish{};
  gtk_widget_get_requisition(widget, &wish);
  const Area area = area_of(page, name);
  EXPECT_LE(wish.width, area.right - area.left) << name;
  EXPECT_LE(wish.height, area.bottom - area.top) << name;
}

// How a label's text is drawn.
Area text_area(GtkWidget* page, const char* name) {
  PangoLayout* layout = gtk_label_get_layout(GTK_LABEL(lookup_widget(page, name)));
  int width = 0;
  int height = 0;
  pango_layout_get_pixel_size(layout, &width, &height);
  const Area area = area_of(page, name);
  EXPECT_FALSE(pango_layout_is_ellipsized(layout)) << name;
  EXPECT_LE(width, area.right - area.left) << name;
  return {area.left, area.top, area.left + width, area.top + height};
}

constexpr const char* foot1[] = {"bHelpStep1", "next1", "cancel_step1"};
constexpr const char* foot2[] = {"bHelpStep2", "back2", "next2", "bCancelStep2"};
constexpr const char* foot3[] = {"bHelpStep3", "button_done", "button_window3_cancel"};

void expect_row_of_buttons(GtkWidget* page, std::span<const char* const> names) {
  int end = 0;
  for (const char* name : names) {
    expect_whole(page, name);
    const Area area = area_of(page, name);
    // Back and Next share one line of pixels where both have their places of the table.
    EXPECT_GE(area.left, end - 1) << name;
    EXPECT_EQ(area.top, 384) << name;
    EXPECT_EQ(area.bottom, 409) << name;
    EXPECT_LE(area.right, 640) << name;
    end = area.right;
  }
}

// With the screen's dots for an inch.
class FittingTest : public GuiTest, public testing::WithParamInterface<int> {
 protected:
  void SetUp() override {
    GuiTest::SetUp();
    g_object_set(gtk_settings_get_default(), "gtk-xft-dpi", GetParam() * 1024, nullptr);
  }
  // The value of each key that begins with `key`.
  static void write(const std::string& key, const std::string& text) {
    shell_quietly("sed -i 's/^" + key + "=.*/" + key + "=" + text + "/' /usr/local/brindle/en_US");
  }
  void show_pages() {
    build_pages();
    for (GtkWidget* page : {window1, window2, window3}) gtk_widget_show(page);
    settle();
  }
};

void expect_all_fits() {
  expect_row_of_buttons(window1, foot1);
  expect_row_of_buttons(window2, foot2);
  expect_row_of_buttons(window3, foot3);
  for (const char* name : {"bCdrom", "bLocal", "cdrom", "local"}) expect_whole(window2, name);
  for (const auto& [radio, entry, browse] :
       {std::array{"cdrom", "entry_cdrom", "bCdrom"}, std::array{"local", "entry_local", "bLocal"}}) {
    EXPECT_EQ(area_of(window2, radio).left, 235);
    EXPECT_LE(area_of(window2, radio).right, area_of(window2, entry).left) << radio;
    EXPECT_EQ(area_of(window2, entry).right, 505) << entry;
    EXPECT_EQ(area_of(window2, browse).left, 512) << browse;
    EXPECT_LE(area_of(window2, browse).right, 620) << browse;
  }
  EXPECT_LE(text_area(window1, "heading").bottom, area_of(window1, "text").top);
  EXPECT_LE(text_area(window1, "text").bottom, 248);  // where the picture begins
  EXPECT_LE(text_area(window2, "heading").bottom, area_of(window2, "text").top);
  EXPECT_LE(text_area(window2, "text").bottom, 168);
  EXPECT_LE(text_area(window3, "heading").bottom, 38);
  int end = 38;
  for (const char* row : {"label_12", "label_0", "label_1", "label_2", "label_3", "label_4", "label_5",
                          "label_6", "label_7", "label_8", "label_9", "label_10", "label_11", "label_now"}) {
    GtkWidget* label = lookup_widget(window3, row);
    if (label == nullptr || !gtk_widget_get_visible(label)) continue;
    EXPECT_GE(area_of(window3, row).top, end) << row;
    end = area_of(window3, row).bottom;
    const Area text = text_area(window3, row);
    EXPECT_LE(text.bottom - text.top, 21) << row;
    EXPECT_LE(text.right, 632) << row;
  }
  EXPECT_GE(area_of(window3, "progressbar1").top, end);
  EXPECT_LE(area_of(window3, "progressbar1").bottom, 370);
  EXPECT_GE(area_of(window3, "label_percentage").top, end);
  EXPECT_GE(area_of(window3, "label_percentage").left, area_of(window3, "progressbar1").right);
}

TEST_P(FittingTest, EnglishFitsOnEachSystem) {
  for (const char* file :
       {"/etc/hostname", "/etc/linspire-version", "/etc/xandros-version", "/etc/redflag-release"}) {
    write_file(file, "release 4.1 \n");
    show_pages();
    done_button_bar(nullptr);
    settle();
    expect_all_fits();
    if (std::string(file) != "/etc/hostname") std::remove(file);
  }
}

TEST_P(FittingTest, LongTextsFit) {
  const std::pair<const char*, const char*> texts[] = {
      {"window1", "Willkommen beim Umzug von Windows"},
      {"window1-next", "_Weiterblättern"},
      {"window1-cancel", "Ab_brechen und zurück"},
      {"window1-help", "_Hilfestellungen"},
      {"window2", "Wo liegt das Archiv mit Ihren Dateien und Einstellungen von Windows?"},
      {"window2-back", "_Zurückblättern"},
      {"window2-next", "_Weiterblättern"},
      {"window2-cancel", "Ab_brechen und zurück"},
      {"window2-help", "_Hilfestellungen"},
      {"window2-browse1", "_Durchsuchen..."},
      {"window2-browse2", "D_urchsuchen..."},
      {"window2-localdrives", "_Lokales Laufwerk oder Netz"},
      {"window2-text",
       "Wählen Sie, wo das Archiv liegt, und suchen Sie dann die Datei oder geben Sie ihren ganzen Namen "
       "mit allen Ordnern ein, in denen sie liegt."},
      {"window3", "Ihre Dateien und Einstellungen ziehen um"},
      {"window3-done", "_Fertigstellen"},
      {"window3-cancel", "Ab_brechen und zurück"},
      {"window3-help", "_Hilfestellungen"},
      {"window3-emails", "Elektronische Post, Kontakte, Termine und Aufgaben"},
  };
  for (const auto& [key, text] : texts) write(key, text);
  const std::string intro = shipped_text("window1-text");
  write("window1-text", intro + " " + intro.substr(0, intro.size() / 3));
  show_pages();
  show_posted_beginning(new PostedBeginning{3, "hans-peter"});
  settle();
  EXPECT_EQ(label_text(window3, "label_3"), "Elektronische Post, Kontakte, Termine und Aufgaben");
  expect_all_fits();
}

TEST_P(FittingTest, PlacesOfTheTableStayForCaptionsThatFit) {
  for (const char* key :
       {"window1-next", "window1-cancel", "window1-help", "window2-back", "window2-next", "window2-cancel",
        "window2-help", "window2-browse1", "window2-browse2", "window2-cdrom", "window2-localdrives"})
    write(key, "_OK");
  show_pages();
  for (const auto& [page, name, x, y] :
       {std::tuple{window1, "next1", 400, 384}, std::tuple{window1, "cancel_step1", 504, 384},
        std::tuple{window1, "bHelpStep1", 72, 384}, std::tuple{window2, "back2", 341, 384},
        std::tuple{window2, "next2", 400, 384}, std::tuple{window2, "bCancelStep2", 504, 384},
        std::tuple{window2, "bHelpStep2", 72, 384}, std::tuple{window2, "bCdrom", 512, 190},
        std::tuple{window2, "bLocal", 512, 240}}) {
    EXPECT_EQ(place_of(page, name), (Place{x, y, 60, 25})) << name;
  }
  EXPECT_EQ(place_of(window2, "entry_cdrom"), (Place{347, 190, 158, 23}));
  EXPECT_EQ(place_of(window2, "entry_local"), (Place{347, 240, 158, 23}));
}

INSTANTIATE_TEST_SUITE_P(Dpi, FittingTest, testing::Values(96, 120, 144));

// ---- where what is too wide goes -------------------------------------------------------------------

class WideTest : public FittingTest {};

TEST_P(WideTest, BackGrowsToTheLeft) {
  write("window2-back", "_Zurück gehen");
  show_pages();
  EXPECT_LT(area_of(window2, "back2").left, 341);
  EXPECT_EQ(area_of(window2, "back2").right, 400);
  EXPECT_EQ(place_of(window2, "next2"), (Place{400, 384, 60, 25}));
}

TEST_P(WideTest, NextAndCancelAndBrowseAndHelpGrowToTheRight) {
  for (const char* key : {"window2-next", "window2-cancel", "window2-help", "window2-browse1"})
    write(key, "_Zurück gehen");
  show_pages();
  for (const auto& [name, left] : {std::pair{"next2", 400}, std::pair{"bCancelStep2", 504},
                                   std::pair{"bHelpStep2", 72}, std::pair{"bCdrom", 512}}) {
    EXPECT_EQ(area_of(window2, name).left, left) << name;
    EXPECT_GT(area_of(window2, name).right, left + 60) << name;
  }
}

TEST_P(WideTest, WhatNextNeedsMoreIsDrawnSmallerBesideBackAndTakenFromTheLeftWithout) {
  write("window1-next", "_Weiter zur nächsten Seite");
  write("window2-next", "_Weiter zur nächsten Seite");
  show_pages();
  EXPECT_LT(area_of(window1, "next1").left, 400);
  EXPECT_EQ(area_of(window1, "next1").right, 498);
  EXPECT_EQ(area_of(window2, "next2").left, 400);
  EXPECT_EQ(area_of(window2, "next2").right, 498);
}

TEST_P(WideTest, ALongerRadioCaptionMovesBothEntries) {
  write("window2-localdrives", "_Lokales Laufwerk");
  show_pages();
  const Area entry = area_of(window2, "entry_local");
  EXPECT_GT(entry.left, 347);
  EXPECT_EQ(entry.right, 505);
  EXPECT_EQ(area_of(window2, "entry_cdrom").left, entry.left);
  EXPECT_LE(area_of(window2, "local").right, entry.left);
}

TEST_P(WideTest, ALargerFontWhileThePageIsThereIsFollowed) {
  write("window2-next", "_Weiter geht es");
  show_pages();
  const int before = area_of(window2, "next2").right;
  g_object_set(gtk_settings_get_default(), "gtk-xft-dpi", 120 * 1024, nullptr);
  settle();
  EXPECT_GT(area_of(window2, "next2").right, before);
  expect_whole(window2, "next2");
}

TEST_P(WideTest, OnlyWhatDoesNotFitIsDrawnSmaller) {
  write("window3-emails",
        "Elektronische Post und Kontakte und Termine und Aufgaben und noch vieles mehr davon");
  show_pages();
  const auto height = [](const char* name) {
    const Area text = text_area(window3, name);
    return text.bottom - text.top;
  };
  EXPECT_LT(height("label_3"), height("label_4"));
  EXPECT_EQ(height("label_4"), height("label_5"));
}

INSTANTIATE_TEST_SUITE_P(Dpi, WideTest, testing::Values(96));

}  // namespace
