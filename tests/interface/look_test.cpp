// The look of the pages as it arrives on the screen, also where the person has a dark theme.
#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <memory>

#include "gui.h"
#include "interface/dialogs.h"
#include "interface/printer_windows.h"
#include "interface/windows.h"
#include "state/posts.h"
#include "support/commands.h"

namespace {

constexpr const char* dark_theme = R"(
style "dark" {
  bg[NORMAL] = "#202020" bg[PRELIGHT] = "#303030" bg[ACTIVE] = "#101010" bg[SELECTED] = "#4060a0"
  bg[INSENSITIVE] = "#202020"
  base[NORMAL] = "#181818" base[PRELIGHT] = "#181818" base[ACTIVE] = "#101010" base[SELECTED] = "#4060a0"
  base[INSENSITIVE] = "#202020"
  fg[NORMAL] = "#e0e0e0" fg[PRELIGHT] = "#ffffff" fg[ACTIVE] = "#ffffff" fg[INSENSITIVE] = "#606060"
  text[NORMAL] = "#e0e0e0" text[PRELIGHT] = "#ffffff" text[ACTIVE] = "#ffffff" text[INSENSITIVE] = "#606060"
}
class "GtkWidget" style "dark"
)";

// ---- Contrast, as the web's guidelines count it -----------------------------------------------------

using Colour = std::array<int, 3>;

double part(int of_255) {
  const double value = of_255 / 255.0;
  return value <= 0.03928 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double luminance(const Colour& colour) {
  return 0.2126 * part(colour[0]) + 0.7152 * part(colour[1]) + 0.0722 * part(colour[2]);
}

double contrast(const Colour& one, const Colour& other) {
  const double lighter = std::max(luminance(one), luminance(other));
  const double darker = std::min(luminance(one), luminance(other));
  return (lighter + 0.05) / (darker + 0.05);
}

Colour colour_of(const GdkColor& colour) { return {colour.red >> 8, colour.green >> 8, colour.blue >> 8}; }

// ---- The screen -------------------------------------------------------------------------------------

using Pixels = std::vector<Colour>;

// What the screen shows of a widget, without `margin` pixels at its edges, from its left on at most `width`.
Pixels pixels_of(GtkWidget* page, const char* name, int margin = 3, int width = 1000) {
  settle();
  gdk_display_sync(gdk_display_get_default());
  settle();
  GtkAllocation area{};
  gtk_widget_get_allocation(lookup_widget(page, name), &area);
  const std::unique_ptr<GdkPixbuf, void (*)(void*)> picture(
      gdk_pixbuf_get_from_drawable(nullptr, gtk_widget_get_window(page), nullptr, area.x + margin,
                                   area.y + margin, 0, 0, std::min(area.width, width) - 2 * margin,
                                   area.height - 2 * margin),
      g_object_unref);
  Pixels pixels;
  for (int y = 0; y < gdk_pixbuf_get_height(picture.get()); ++y) {
    const guchar* row = gdk_pixbuf_get_pixels(picture.get()) + y * gdk_pixbuf_get_rowstride(picture.get());
    for (int x = 0; x < gdk_pixbuf_get_width(picture.get()); ++x) {
      const guchar* pixel = row + x * gdk_pixbuf_get_n_channels(picture.get());
      pixels.push_back({pixel[0], pixel[1], pixel[2]});
    }
  }
  return pixels;
}

Colour most_common(const Pixels& pixels) {
  std::map<Colour, int> counts;
  for (const Colour& pixel : pixels) ++counts[pixel];
  return std::ranges::max_element(counts, {}, [](const auto& count) { return count.second; })->first;
}

double highest_contrast(const Pixels& pixels, const Colour& ground) {
  double highest = 1;
  for (const Colour& pixel : pixels) highest = std::max(highest, contrast(pixel, ground));
  return highest;
}

Colour text_colour(GtkWidget* widget) {
  GtkWidget* text = GTK_IS_BUTTON(widget) ? gtk_bin_get_child(GTK_BIN(widget)) : widget;
  const GtkStyle* style = gtk_widget_get_style(text);
  const GtkStateType state = gtk_widget_get_state(text);
  return colour_of(GTK_IS_ENTRY(text) ? style->text[state] : style->fg[state]);
}

void expect_readable(GtkWidget* page, const std::vector<const char*>& names) {
  for (const char* name : names) {
    const Pixels pixels = pixels_of(page, name);
    const Colour ground = most_common(pixels);
    EXPECT_GE(contrast(text_colour(lookup_widget(page, name)), ground), 4.5) << name;
    EXPECT_GE(highest_contrast(pixels, ground), 4.5) << name << " as it is drawn";
  }
}

class LookTest : public GuiTest, public testing::WithParamInterface<const char*> {
 protected:
  void SetUp() override {
    GuiTest::SetUp();
    gtk_rc_parse_string(GetParam());
    start_window_manager();
    build_pages();
  }
  static void show(GtkWidget* page) {
    gtk_widget_show(page);
    ASSERT_TRUE(gets_keyboard(page));
  }
};

TEST_P(LookTest, TextsOfPage1AreReadable) {
  show(window1);
  expect_readable(window1, {"heading", "text", "next1", "cancel_step1", "bHelpStep1"});
  point_at(window1, "next1");
  expect_readable(window1, {"next1"});
}

TEST_P(LookTest, TextsOfPage2AreReadable) {
  show(window2);
  type(window2, "entry_cdrom", "/media/archive.zip");
  expect_readable(window2, {"heading", "text", "cdrom", "local", "entry_cdrom", "bCdrom", "bLocal",
                            "bHelpStep2", "back2", "next2", "bCancelStep2"});
  for (const char* name : {"cdrom", "local", "entry_cdrom", "bCdrom", "back2"}) {
    point_at(window2, name);
    expect_readable(window2, {name});
  }
  type(window2, "entry_local", "/media/archive.zip");
  expect_readable(window2, {"entry_local"});
}

TEST_P(LookTest, TextsOfPage3AreReadable) {
  show(window3);
  show_posted_beginning(new PostedBeginning{3, "ann"});
  expect_readable(window3, {"heading", "label_12", "label_3", "label_11", "label_now", "label_percentage",
                            "button_done", "button_window3_cancel", "bHelpStep3"});
  done_button_bar(nullptr);
  expect_readable(window3, {"label_now", "label_percentage", "button_done", "button_window3_cancel"});
}

// How much of the ring of a radio button is dark.
double darkness(GtkWidget* window, const char* name) {
  return static_cast<double>(std::ranges::count_if(
      pixels_of(window, name, 2, 19), [](const Colour& pixel) { return luminance(pixel) < 0.3; }));
}

void expect_no_choice_by_pointing(GtkWidget* window, const char* one, const char* other) {
  point_at(window, "next2");
  const double chosen = darkness(window, one);
  const double free = darkness(window, other);
  ASSERT_GT(chosen, free + 10);
  point_at(window, other);
  ASSERT_EQ(gtk_widget_get_state(lookup_widget(window, other)), GTK_STATE_PRELIGHT);
  EXPECT_NEAR(darkness(window, other), free, 2);
  point_at(window, one);
  EXPECT_NEAR(darkness(window, one), chosen, 2);
}

TEST_P(LookTest, ARadioButtonUnderThePointerDoesNotLookChosen) {
  show(window2);
  expect_no_choice_by_pointing(window2, "cdrom", "local");
}

TEST_P(LookTest, TextsAndChoicesOfTheDriverWindowAreReadable) {
  GtkWidget* window = create_window_select_driver();
  name_printer(window, "Office", "HP LaserJet 6");
  show(window);
  point_at(window, "skip");
  expect_readable(window, {"label_printer", "label_windows_driver", "label_20_driver_name", "stcolor", "skip",
                           "label_next_uses", "next2"});
  point_at(window, "next2");
  expect_readable(window, {"next2"});
  expect_no_choice_by_pointing(window, "stphoto", "laserjet");
}

TEST_P(LookTest, TextsOfDialogsAndEntriesAreReadable) {
  GtkWidget* window = create_smb_username_password_window();
  show(window);
  type(window, "entry_username", "anna");
  expect_readable(window, {"label_header", "label_username", "entry_username", "label_closing", "next2"});
  gtk_widget_destroy(window);
  GtkWidget* dialog = create_dialog_done();
  show(dialog);
  expect_readable(dialog, {"message"});
}

TEST_P(LookTest, TheFoldersOfTheChooserAreReadableUnderThePointer) {
  GtkWidget* chooser = create_fileselection();
  name_widget(chooser, GTK_FILE_SELECTION(chooser)->history_pulldown, "folders");
  show(chooser);
  expect_readable(chooser, {"folders"});
  point_at(chooser, "folders");
  ASSERT_EQ(gtk_widget_get_state(lookup_widget(chooser, "folders")), GTK_STATE_PRELIGHT);
  expect_readable(chooser, {"folders"});
}

TEST_P(LookTest, MarksDifferInMoreThanColour) {
  show(window3);
  draw_posted_mark(new PostedMark{1, 0});
  draw_posted_mark(new PostedMark{2, -1});
  const auto mean = [](const char* name) {
    double sum = 0;
    const Pixels pixels = pixels_of(window3, name, 2);
    for (const Colour& pixel : pixels) sum += luminance(pixel);
    return sum / static_cast<double>(pixels.size());
  };
  EXPECT_GT(mean("image_2"), mean("image_1") + 0.2);
  for (const char* mark : {"image_1", "image_2"})
    EXPECT_GE(highest_contrast(pixels_of(window3, mark, 0), {255, 255, 255}), 3) << mark;
  // No alarm: red does not stand out of what was not moved.
  for (const Colour& pixel : pixels_of(window3, "image_2", 0)) EXPECT_LT(pixel[0] - pixel[2], 30);
}

INSTANTIATE_TEST_SUITE_P(Themes, LookTest, testing::Values("", dark_theme),
                         [](const auto& theme) { return *theme.param == '\0' ? "Plain" : "Dark"; });

}  // namespace
