// Dialogs, chooser and question windows with the person's own font and resolution.
#include "gui.h"
#include "interface/dialogs.h"
#include "interface/printer_windows.h"
#include "interface/windows.h"
#include "interface/wrapping.h"
#include "state/posts.h"
#include "state/question.h"
#include "state/state.h"

namespace {

constexpr int usual_dpi = 96;

void set_font(const char* font, int dpi = usual_dpi) {
  g_object_set(gtk_settings_get_default(), "gtk-font-name", font, "gtk-xft-dpi", dpi * 1024, nullptr);
}

int font_size(GtkWidget* widget) {
  gtk_widget_ensure_style(widget);
  return pango_font_description_get_size(gtk_widget_get_style(widget)->font_desc) / PANGO_SCALE;
}

// ---- nothing is cut -------------------------------------------------------------------------------

void expect_whole(GtkWidget* widget, gpointer window);

void expect_inside(GtkWidget* widget, GtkWidget* window) {
  GtkAllocation area{};
  GtkAllocation whole{};
  gtk_widget_get_allocation(widget, &area);
  gtk_widget_get_allocation(window, &whole);
  EXPECT_LE(area.x + area.width, whole.width) << title_of(window);
  EXPECT_LE(area.y + area.height, whole.height) << title_of(window);
}

void expect_whole_label(GtkWidget* label) {
  PangoLayout* layout = gtk_label_get_layout(GTK_LABEL(label));
  const std::string text = gtk_label_get_text(GTK_LABEL(label));
  EXPECT_FALSE(pango_layout_is_ellipsized(layout)) << text;
  int width = 0;
  int height = 0;
  pango_layout_get_pixel_size(layout, &width, &height);
  GtkAllocation area{};
  gtk_widget_get_allocation(label, &area);
  EXPECT_LE(width, area.width) << text;
  EXPECT_LE(height, area.height) << text;
}

void expect_whole(GtkWidget* widget, gpointer window) {
  if (!gtk_widget_get_mapped(widget) || GTK_IS_SCROLLED_WINDOW(widget)) return;
  expect_inside(widget, static_cast<GtkWidget*>(window));
  if (GTK_IS_LABEL(widget)) expect_whole_label(widget);
  if (GTK_IS_CONTAINER(widget)) gtk_container_forall(GTK_CONTAINER(widget), expect_whole, window);
}

void expect_nothing_cut(GtkWidget* window) {
  ASSERT_NE(window, nullptr);
  gtk_widget_show(window);
  settle();
  GtkRequisition needed{};
  gtk_widget_size_request(window, &needed);
  int width = 0;
  int height = 0;
  gtk_window_get_size(GTK_WINDOW(window), &width, &height);
  EXPECT_LE(needed.width, width) << title_of(window);
  EXPECT_LE(needed.height, height) << title_of(window);
  gtk_container_forall(GTK_CONTAINER(window), expect_whole, window);
  gtk_widget_hide(window);
}

class DialogFontsTest : public GuiTest {};

// A name of Windows without a blank, as long as the archive has them.
const std::string long_name(115, 'W');

GtkWidget* new_driver_window() {
  GtkWidget* window = create_window_select_driver();
  name_printer(window, "Printer of the office on the second floor, behind the door", long_name);
  return window;
}

GtkWidget* with_share(GtkWidget* window) {
  gtk_label_set_text(GTK_LABEL(lookup_widget(window, "label_url")), ("//" + long_name).c_str());
  GtkWidget* user = lookup_widget(window, "entry_username");
  if (GTK_IS_LABEL(user)) gtk_label_set_text(GTK_LABEL(user), long_name.c_str());
  return window;
}

TEST_F(DialogFontsTest, NothingIsCutAtAnyResolutionAndSize) {
  for (const int dpi : {96, 120, 144}) {
    for (const char* font : {"Sans 9", "Sans 10", "Sans 15"}) {
      SCOPED_TRACE(std::string(font) + " at " + std::to_string(dpi));
      set_font(font, dpi);
      for (auto* create :
           {create_fileselection, create_dialog1, create_dialog_done, create_dialog_multi_user_error,
            create_dialog_printer_error, create_dialog_user_error, create_dialogcancel,
            create_unpackingStopped, create_noFileSpecified, create_noFileFound, create_notZipFile,
            create_notEnoughSpace, create_errorMountingCdrom, create_noRemote, create_zipPassword,
            create_zipWrongPassword, create_zipOtherEncryption, create_dialog_specify_username_password})
        expect_nothing_cut(create());
      expect_nothing_cut(new_driver_window());
      expect_nothing_cut(with_share(create_smb_username_password_window()));
      expect_nothing_cut(with_share(create_smb_username_password_window2()));
    }
  }
}

TEST_F(DialogFontsTest, TheDriverWindowGrowsWithWhatNextUses) {
  GtkWidget* window = new_driver_window();
  gtk_widget_show(window);
  settle();
  for (const char* radio : {"skip", "stphoto", "epson24"}) {
    press(window, radio);
    settle();
    gtk_container_forall(GTK_CONTAINER(window), expect_whole, window);
  }
}

// ---- whose font -----------------------------------------------------------------------------------

TEST_F(DialogFontsTest, DialogsHaveThePersonsFontAndPagesTheirs) {
  set_font("Sans 17");
  build_pages();
  EXPECT_EQ(font_size(lookup_widget(window1, "next1")), 9);
  EXPECT_EQ(font_size(lookup_widget(window2, "entry_cdrom")), 9);
  GtkWidget* done = create_dialog_done();
  EXPECT_EQ(font_size(lookup_widget(done, "message")), 17);
  EXPECT_EQ(font_size(lookup_widget(done, "okbutton2")), 17);
  EXPECT_EQ(font_size(lookup_widget(create_fileselection(), "ok_button_fileselection")), 17);
  GtkWidget* driver = create_window_select_driver();
  for (const char* name : {"label_20_driver_name", "deskjet", "next2", "label_next_uses"})
    EXPECT_EQ(font_size(lookup_widget(driver, name)), 17) << name;
  GtkWidget* share = create_smb_username_password_window();
  for (const char* name : {"label_header", "entry_username", "next2"})
    EXPECT_EQ(font_size(lookup_widget(share, name)), 17) << name;
}

int width_of(GtkWidget* label) {
  GtkRequisition needed{};
  gtk_widget_size_request(label, &needed);
  return needed.width;
}

TEST_F(DialogFontsTest, ALargerFontNeedsAWiderDialogNotManyMoreLines) {
  set_font("Sans 10");
  GtkWidget* message = lookup_widget(create_dialog_done(), "message");
  EXPECT_EQ(width_of(message), 340);
  set_font("Sans 20");  // while the dialog is there
  settle();
  EXPECT_NEAR(width_of(message), 680, 40);
  set_font("Sans 10", 144);
  settle();
  EXPECT_NEAR(width_of(message), 510, 30);
  set_font("Sans 6");  // never narrower
  settle();
  EXPECT_EQ(width_of(message), 340);
}

TEST_F(DialogFontsTest, QuestionWindowsHaveALeastSizeThatPeopleMayEnlarge) {
  GtkWidget* window = create_smb_username_password_window2();
  GtkRequisition needed{};
  gtk_widget_size_request(window, &needed);
  EXPECT_EQ(needed.width, 380);
  EXPECT_EQ(needed.height, 180);
  EXPECT_TRUE(gtk_window_get_resizable(GTK_WINDOW(window)));
}

}  // namespace
