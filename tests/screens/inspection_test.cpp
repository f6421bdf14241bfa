// What tools/check-texts sees in a window: each kind of fault is planted once in a window without one.
#include "screens-support/inspection.h"

#include <gdk/gdkkeysyms.h>

#include "interface/gui.h"
#include "screens-support/picture.h"
#include "screens-support/windows.h"
#include "support/widgets.h"

namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::StartsWith;

// A window with everything at a fixed place, as the pages are.
class InspectionTest : public GuiTest {
 protected:
  void SetUp() override {
    window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    fixed = gtk_fixed_new();
    gtk_widget_set_size_request(fixed, 300, 200);
    gtk_container_add(GTK_CONTAINER(window), fixed);
    put("caption", gtk_label_new("A caption"), 10, 10);
    put("button", gtk_button_new_with_mnemonic("_Button"), 10, 40);
    put("other", gtk_button_new_with_mnemonic("_Other"), 150, 40);
  }
  void TearDown() override { gtk_widget_destroy(window); }

  GtkWidget* put(const char* name, GtkWidget* widget, int x, int y) {
    gtk_fixed_put(GTK_FIXED(fixed), widget, x, y);
    name_widget(window, widget, name);
    return widget;
  }
  GtkWidget* part(const char* name) { return lookup_widget(window, name); }
  GtkWidget* caption_of(const char* button) { return gtk_bin_get_child(GTK_BIN(part(button))); }

  // As "widget: what" lines.
  std::vector<std::string> faults() {
    gtk_widget_show_all(window);
    wait_until_drawn_whole();
    return told(faults_in(window));
  }
  std::vector<std::string> faults_seen() {
    gtk_widget_show_all(window);
    wait_until_drawn_whole();
    return told(faults_in_picture(window));
  }
  static std::vector<std::string> told(const std::vector<Fault>& faults) {
    std::vector<std::string> lines;
    for (const Fault& fault : faults) lines.push_back(fault.widget + ": " + fault.what);
    return lines;
  }

  GtkWidget* window = nullptr;
  GtkWidget* fixed = nullptr;
};

TEST_F(InspectionTest, AGoodWindowHasNoFault) {
  EXPECT_THAT(faults(), IsEmpty());
  EXPECT_THAT(faults_seen(), IsEmpty());
}

TEST_F(InspectionTest, TellsNameAndTextOfWhatIsWrong) {
  gtk_widget_set_size_request(part("button"), 30, 25);
  static_cast<void>(faults());
  const std::vector<Fault> found = faults_in(window);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].widget, "button");
  EXPECT_EQ(found[0].text, "Button");
  EXPECT_THAT(found[0].what, StartsWith("is cut: it takes "));
}

TEST_F(InspectionTest, ATextWiderThanItsPlace) {
  gtk_widget_set_size_request(part("caption"), 30, -1);
  EXPECT_THAT(faults(), Contains(StartsWith("caption: is cut: it takes ")));
}

TEST_F(InspectionTest, ATextHigherThanItsPlace) {
  gtk_widget_set_size_request(part("caption"), -1, 6);
  EXPECT_THAT(faults(), Contains(StartsWith("caption: is cut: it takes ")));
}

TEST_F(InspectionTest, AJustifiedTextMayBeOnePixelLonger) {
  gtk_widget_show_all(window);
  int width = 0;
  pango_layout_get_pixel_size(gtk_label_get_layout(GTK_LABEL(part("caption"))), &width, nullptr);
  gtk_widget_set_size_request(part("caption"), width - 1, -1);
  EXPECT_THAT(faults(), Contains(StartsWith("caption: is cut: it takes ")));
  gtk_label_set_justify(GTK_LABEL(part("caption")), GTK_JUSTIFY_FILL);
  EXPECT_THAT(faults(), IsEmpty());
  gtk_widget_set_size_request(part("caption"), width - 2, -1);
  EXPECT_THAT(faults(), Contains(StartsWith("caption: is cut: it takes ")));
}

TEST_F(InspectionTest, ATextWithAnEllipsis) {
  gtk_label_set_ellipsize(GTK_LABEL(part("caption")), PANGO_ELLIPSIZE_END);
  gtk_widget_set_size_request(part("caption"), 30, -1);
  EXPECT_THAT(faults(), Contains("caption: is shortened with an ellipsis"));
}

TEST_F(InspectionTest, LettersThatAreTooSmall) {
  gtk_label_set_markup(GTK_LABEL(part("caption")), "large and <span size='5000'>small</span>");
  EXPECT_THAT(faults(), Contains(StartsWith("caption: is too small: letters of 6.")));
}

TEST_F(InspectionTest, LettersThatNoFontHas) {
  gtk_label_set_text(GTK_LABEL(part("caption")), "\xf3\xb0\x80\x80");  // of nobody's
  EXPECT_THAT(faults(), Contains("caption: has letters that no font has"));
}

TEST_F(InspectionTest, APartOutsideOfItsWindow) {
  gtk_fixed_move(GTK_FIXED(fixed), part("other"), -5, 40);
  gtk_fixed_move(GTK_FIXED(fixed), part("button"), 100, 40);
  EXPECT_THAT(faults(), Contains(StartsWith("other: is outside of its place: ")));
}

TEST_F(InspectionTest, PartsThatOverlap) {
  gtk_fixed_move(GTK_FIXED(fixed), part("caption"), 20, 38);
  EXPECT_THAT(faults(), Contains(StartsWith("caption: overlaps button: ")));
}

TEST_F(InspectionTest, FramesMayShareOneColumn) {
  gtk_widget_set_size_request(part("button"), 60, -1);
  gtk_fixed_move(GTK_FIXED(fixed), part("other"), 69, 40);
  EXPECT_THAT(faults(), IsEmpty());
  gtk_fixed_move(GTK_FIXED(fixed), part("other"), 68, 40);
  EXPECT_THAT(faults(), Contains(StartsWith("button: overlaps other: ")));
}

TEST_F(InspectionTest, WhatIsHiddenOverlapsNothing) {
  gtk_fixed_move(GTK_FIXED(fixed), part("caption"), 20, 38);
  gtk_widget_set_no_show_all(part("caption"), TRUE);
  EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(InspectionTest, AnAccessLetterThatIsThereTwice) {
  gtk_button_set_label(GTK_BUTTON(part("other")), "A_bout");
  EXPECT_THAT(faults(), Contains("other: has the access letter \"b\", as has \"Button\""));
}

TEST_F(InspectionTest, AWindowThatNoScreenHolds) {
  gtk_widget_set_size_request(fixed, 300, 601);
  EXPECT_THAT(faults(), Contains("GtkWindow: is larger than a screen: 300x601"));
  gtk_widget_set_size_request(fixed, 801, 200);
  gtk_window_resize(GTK_WINDOW(window), 801, 200);
  EXPECT_THAT(faults(), Contains("GtkWindow: is larger than a screen: 801x200"));
}

TEST_F(InspectionTest, LettersInTheChooserAreTheToolkits) {
  GtkWidget* chooser = gtk_file_selection_new("Choose");
  gtk_button_set_label(GTK_BUTTON(GTK_FILE_SELECTION(chooser)->ok_button), "_Twice");
  gtk_button_set_label(GTK_BUTTON(GTK_FILE_SELECTION(chooser)->cancel_button), "_Twice");
  gtk_button_set_use_stock(GTK_BUTTON(GTK_FILE_SELECTION(chooser)->ok_button), FALSE);
  gtk_button_set_use_stock(GTK_BUTTON(GTK_FILE_SELECTION(chooser)->cancel_button), FALSE);
  gtk_widget_show(chooser);
  wait_until_drawn_whole();
  EXPECT_THAT(told(faults_in(chooser)), IsEmpty());
  gtk_widget_destroy(chooser);
}

// ---- On the screen ---------------------------------------------------------------------------------------

TEST_F(InspectionTest, ATextBehindAnother) {
  GtkWidget* cover = gtk_event_box_new();
  gtk_widget_set_size_request(cover, 30, 30);
  put("cover", cover, 0, 5);
  EXPECT_THAT(faults_seen(), Contains("caption: has its left side hidden"));
  gtk_fixed_move(GTK_FIXED(fixed), cover, 60, 5);
  EXPECT_THAT(faults_seen(), Contains("caption: has its right side hidden"));
  gtk_widget_set_size_request(cover, 200, 30);
  gtk_fixed_move(GTK_FIXED(fixed), cover, 0, -12);
  EXPECT_THAT(faults_seen(), Contains("caption: has its upper side hidden"));
  gtk_fixed_move(GTK_FIXED(fixed), cover, 0, 17);
  EXPECT_THAT(faults_seen(), Contains("caption: has its lower side hidden"));
  gtk_fixed_move(GTK_FIXED(fixed), cover, 0, 0);
  EXPECT_THAT(faults_seen(), Contains("caption: is not to be seen"));
}

TEST_F(InspectionTest, ATextInTheColourOfItsGround) {
  gtk_widget_show_all(window);
  const GdkColor ground = gtk_widget_get_style(window)->bg[GTK_STATE_NORMAL];
  gtk_widget_modify_fg(part("caption"), GTK_STATE_NORMAL, &ground);
  EXPECT_THAT(faults_seen(), Contains("caption: is not to be seen"));
}

TEST_F(InspectionTest, ATextThatIsAsPaleAsItsGround) {
  GdkColor colour;
  gdk_color_parse("#ffffff", &colour);
  gtk_widget_modify_bg(window, GTK_STATE_NORMAL, &colour);
  gdk_color_parse("#767676", &colour);  // 4.54 to white
  gtk_widget_modify_fg(part("caption"), GTK_STATE_NORMAL, &colour);
  EXPECT_THAT(faults_seen(), IsEmpty());
  gdk_color_parse("#787878", &colour);  // 4.42
  gtk_widget_modify_fg(part("caption"), GTK_STATE_NORMAL, &colour);
  EXPECT_THAT(faults_seen(), Contains("caption: has a contrast of 4.4 to its ground"));
}

gboolean draw_dark_bar(GtkWidget* drawn, GdkEvent* /*event*/, gpointer width) {
  gdk_draw_rectangle(gtk_widget_get_window(drawn), gtk_widget_get_style(drawn)->black_gc, TRUE, 30, 0,
                     GPOINTER_TO_INT(width), 100);
  return FALSE;
}

TEST_F(InspectionTest, ATextOnAPicture) {
  g_signal_connect(fixed, "expose-event", G_CALLBACK(draw_dark_bar), GINT_TO_POINTER(10));
  EXPECT_THAT(faults_seen(), Contains(StartsWith("caption: has a contrast of 1.")));
}

TEST_F(InspectionTest, ATextMayTouchALine) {
  g_signal_connect(fixed, "expose-event", G_CALLBACK(draw_dark_bar), GINT_TO_POINTER(1));
  EXPECT_THAT(faults_seen(), IsEmpty());
}

TEST_F(InspectionTest, WhatCannotBeUsedMayBePale) {
  gtk_widget_set_sensitive(part("button"), FALSE);
  EXPECT_THAT(faults_seen(), IsEmpty());
}

TEST_F(InspectionTest, LookingLeavesTheWindowAsItWas) {
  static_cast<void>(faults_seen());
  EXPECT_NE(gtk_widget_get_mapped(part("caption")), FALSE);
  EXPECT_NE(gtk_widget_get_mapped(caption_of("button")), FALSE);
}

TEST_F(InspectionTest, APictureHasTwoBars) {
  static_cast<void>(faults());
  const Picture picture = picture_of(window);
  ASSERT_NE(picture, nullptr);
  EXPECT_EQ(gdk_pixbuf_get_height(picture.get()), 200);
  EXPECT_EQ(gdk_pixbuf_get_height(framed(window, picture, "name").get()), 200 + 2 * 24);
}

}  // namespace
