#include "interface/pages.h"

#include <algorithm>
#include <set>
#include <vector>

#include "gui.h"
#include "interface/dialogs.h"
#include "interface/marks.h"
#include "interface/page.h"
#include "interface/parts.h"
#include "interface/printer_windows.h"
#include "interface/windows.h"
#include "main/idle.h"
#include "state/posts.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using PagesTest = GuiTest;

struct RowOfText {
  const char* label;
  const char* key;
};

constexpr RowOfText rows[] = {
    {"label_0", "window3-multiuser"},
    {"label_1", "window3-mydocuments"},
    {"label_2", "window3-desktop"},
    {"label_3", "window3-emails"},
    {"label_4", "window3-wallpaper"},
    {"label_5", "window3-favorites"},
    {"label_6", "window3-cookies"},
    {"label_7", "window3-fonts"},
    {"label_8", "window3-otherfiles"},
    {"label_9", "window3-networkdrives"},
    {"label_10", "window3-printers"},
    {"label_11", "window3-groupwise"},
    {"label_12", "window3-preparingprinters"},
};

GtkWidget* page3_of(const char* detection_file) {
  write_file(detection_file, "release 4.1 \n");
  return window3 = create_window3();
}

// As main names it for the look, which is found when the page is first shown.
GtkWidget* named(GtkWidget* page, const char* name) {
  gtk_widget_set_name(page, name);
  return page;
}

void expect_page(GtkWidget* page, const std::string& title) {
  ASSERT_NE(page, nullptr);
  EXPECT_EQ(title_of(page), title);
  EXPECT_FALSE(gtk_widget_get_visible(page));
  gtk_widget_show(page);
  settle();
  int width = 0;
  int height = 0;
  gtk_window_get_size(GTK_WINDOW(page), &width, &height);
  EXPECT_EQ(width, 640);
  EXPECT_EQ(height, 434);
  EXPECT_NE(gtk_window_get_icon(GTK_WINDOW(page)), nullptr);
  gint position = 0;
  g_object_get(page, "window-position", &position, nullptr);
  EXPECT_EQ(position, GTK_WIN_POS_CENTER);
}

// Every widget's wish fits into the room it has.
void expect_no_clipping(GtkWidget* page, const std::vector<const char*>& names) {
  settle();
  for (const char* name : names) {
    GtkWidget* widget = lookup_widget(page, name);
    ASSERT_NE(widget, nullptr) << name;
    GtkRequisition wish{};
    gtk_widget_get_requisition(widget, &wish);
    GtkAllocation room{};
    gtk_widget_get_allocation(widget, &room);
    EXPECT_LE(wish.width, room.width) << name;
    EXPECT_LE(wish.height, room.height) << name;
  }
}

TEST_F(PagesTest, Page1) {
  window1 = named(create_window1(), "window_step1");
  expect_page(window1, shipped_text("window1"));
  EXPECT_FALSE(gtk_window_get_resizable(GTK_WINDOW(window1)));
  EXPECT_EQ(place_of(window1, "next1"), (Place{400, 384, 60, 25}));
  EXPECT_EQ(place_of(window1, "cancel_step1"), (Place{504, 384, 60, 25}));
  EXPECT_EQ(place_of(window1, "bHelpStep1"), (Place{72, 384, 60, 25}));
  EXPECT_EQ(button_caption(window1, "next1"), shipped_text("window1-next"));
  EXPECT_EQ(button_caption(window1, "cancel_step1"), shipped_text("window1-cancel"));
  EXPECT_EQ(button_caption(window1, "bHelpStep1"), shipped_text("window1-help"));
  expect_no_clipping(window1, {"next1", "cancel_step1", "bHelpStep1"});
}

TEST_F(PagesTest, Page2) {
  window2 = named(create_window2(), "window_step2");
  expect_page(window2, shipped_text("window2"));
  EXPECT_EQ(place_of(window2, "back2"), (Place{341, 384, 60, 25}));
  EXPECT_EQ(place_of(window2, "next2"), (Place{400, 384, 60, 25}));
  EXPECT_EQ(place_of(window2, "bCancelStep2"), (Place{504, 384, 60, 25}));
  EXPECT_EQ(place_of(window2, "bHelpStep2"), (Place{72, 384, 60, 25}));
  EXPECT_EQ(place_of(window2, "bCdrom"), (Place{512, 190, 60, 25}));
  EXPECT_EQ(place_of(window2, "bLocal"), (Place{512, 240, 60, 25}));
  EXPECT_EQ(place_of(window2, "entry_cdrom"), (Place{347, 190, 158, 23}));
  EXPECT_EQ(place_of(window2, "entry_local"), (Place{347, 240, 158, 23}));
  EXPECT_EQ(place_of(window2, "cdrom").x, 235);
  EXPECT_EQ(place_of(window2, "cdrom").y, 190);
  EXPECT_EQ(place_of(window2, "local").x, 235);
  EXPECT_EQ(place_of(window2, "local").y, 240);
  const std::pair<const char*, const char*> captions[] = {
      {"back2", "window2-back"},          {"next2", "window2-next"},      {"bCdrom", "window2-browse1"},
      {"bLocal", "window2-browse2"},      {"cdrom", "window2-cdrom"},     {"local", "window2-localdrives"},
      {"bCancelStep2", "window2-cancel"}, {"bHelpStep2", "window2-help"},
  };
  for (const auto& [name, key] : captions) {
    EXPECT_EQ(button_caption(window2, name), shipped_text(key)) << name;
  }
  expect_no_clipping(window2, {"back2", "next2", "bCdrom", "bLocal", "bCancelStep2", "bHelpStep2"});
}

TEST_F(PagesTest, Page2RadioCaptionsEndBeforeTheEntries) {
  window2 = named(create_window2(), "window_step2");
  for (const char* name : {"cdrom", "local"}) {
    GtkRequisition wish{};
    gtk_widget_size_request(lookup_widget(window2, name), &wish);
    EXPECT_LE(235 + wish.width, 347) << name;
  }
}

TEST_F(PagesTest, Page2StartsWithTheCdrom) {
  window2 = create_window2();
  EXPECT_TRUE(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(lookup_widget(window2, "cdrom"))));
  EXPECT_FALSE(gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(lookup_widget(window2, "local"))));
  EXPECT_TRUE(gtk_editable_get_editable(GTK_EDITABLE(lookup_widget(window2, "entry_cdrom"))));
  EXPECT_FALSE(gtk_editable_get_editable(GTK_EDITABLE(lookup_widget(window2, "entry_local"))));
  EXPECT_TRUE(gtk_widget_get_sensitive(lookup_widget(window2, "bCdrom")));
  EXPECT_FALSE(gtk_widget_get_sensitive(lookup_widget(window2, "bLocal")));
  EXPECT_EQ(lookup_widget(window2, "entry_remote"), nullptr);
}

TEST_F(PagesTest, Page3) {
  window3 = named(create_window3(), "window_step3");
  expect_page(window3, shipped_text("window3"));
  EXPECT_EQ(label_text(window3, "label_percentage"), "0%");
  EXPECT_EQ(gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(lookup_widget(window3, "progressbar1"))), 0.0);
  EXPECT_EQ(button_caption(window3, "button_done"), shipped_text("window3-done"));
  EXPECT_FALSE(gtk_widget_get_sensitive(lookup_widget(window3, "button_done")));
  EXPECT_EQ(button_caption(window3, "button_window3_cancel"), shipped_text("window3-cancel"));
  EXPECT_TRUE(gtk_widget_get_sensitive(lookup_widget(window3, "button_window3_cancel")));
  EXPECT_EQ(button_caption(window3, "bHelpStep3"), shipped_text("window3-help"));
  expect_no_clipping(window3, {"button_done", "button_window3_cancel", "bHelpStep3"});
}

bool is_shown(const char* name) { return gtk_widget_get_visible(lookup_widget(window3, name)); }

// Rows of one layout: every text in its row, nothing over anything else, all above the line of what is moved
// now.
void expect_rows(GtkWidget* page, const std::set<int>& not_shown) {
  const int line = place_of(page, "label_now").y;
  std::set<int> tops;
  for (const RowOfText& row : rows) {
    const std::string number = std::string(row.label).substr(6);
    const std::string image = "image_" + number;
    GtkWidget* widget = lookup_widget(page, image.c_str());
    if (widget == nullptr && not_shown.contains(std::stoi(number))) continue;
    ASSERT_TRUE(GTK_IS_IMAGE(widget)) << image;
    EXPECT_EQ(label_text(page, row.label), shipped_text(row.key));
    EXPECT_EQ(gtk_image_get_storage_type(GTK_IMAGE(widget)), GTK_IMAGE_EMPTY);
    EXPECT_EQ(is_shown(row.label), is_shown(image.c_str()));
    EXPECT_NE(is_shown(row.label), not_shown.contains(std::stoi(number))) << row.label;
    if (!is_shown(row.label)) continue;
    const Place mark = place_of(page, image.c_str());
    const Place label = place_of(page, row.label);
    EXPECT_EQ(mark.y, label.y);
    EXPECT_LE(mark.x + mark.width, label.x);
    EXPECT_LE(label.x + label.width, 620);
    EXPECT_LE(label.y + label.height, line);
    for (const int top : tops) EXPECT_GE(std::abs(top - label.y), label.height) << row.label;
    tops.insert(label.y);
  }
  EXPECT_EQ(tops.size(), 13 - not_shown.size());
  EXPECT_LE(*tops.rbegin() - *tops.begin(), static_cast<int>(tops.size() - 1) * 22) << "a gap";
}

TEST_F(PagesTest, GnomeHasAll13Rows) { expect_rows(window3 = create_window3(), {}); }

TEST_F(PagesTest, LinspireShowsNoGroupWiseRow) { expect_rows(page3_of("/etc/linspire-version"), {11}); }

TEST_F(PagesTest, XandrosShowsOneRowOfPrinters) { expect_rows(page3_of("/etc/xandros-version"), {10, 11}); }

TEST_F(PagesTest, AnyOtherSystemShowsFourRows) {
  write_file("/etc/redflag-release", "release 5\n");
  expect_rows(window3 = create_window3(), {3, 4, 5, 6, 7, 8, 9, 10, 11});
}

TEST_F(PagesTest, RedFlagHasNoGroupWiseRow) {
  expect_rows(page3_of("/etc/redflag-release"), {11});
  EXPECT_EQ(lookup_widget(window3, "image_11"), nullptr);
  EXPECT_EQ(lookup_widget(window3, "label_11"), nullptr);
}

TEST_F(PagesTest, EveryMarkHasARow) {
  window3 = create_window3();
  for (const MarkRow& row : mark_rows()) {
    const std::string number = image_name(row.mark).substr(6);
    EXPECT_TRUE(GTK_IS_IMAGE(lookup_widget(window3, image_name(row.mark).c_str()))) << number;
    EXPECT_EQ(shipped_text(row.text_key), label_text(window3, ("label_" + number).c_str()));
    EXPECT_TRUE(
        std::ranges::any_of(rows, [&](const RowOfText& known) { return known.label == "label_" + number; }))
        << "the tests do not know label_" << number;
  }
}

TEST_F(PagesTest, ARowThatIsNotShownTakesNoPlaceBetweenOthers) {
  const WindowTexts texts;
  ASSERT_FALSE(texts.missing());
  Capabilities system = capabilities(system_called("GNome"));
  system.unset_rows = {Mark::documents};
  Page page("", G_CALLBACK(gtk_true));
  put_marks(page, texts, system);
  ASSERT_NE(lookup_widget(page.window(), "label_1"), nullptr);
  EXPECT_FALSE(gtk_widget_get_visible(lookup_widget(page.window(), "label_1")));
  EXPECT_EQ(place_of(page.window(), "label_2").y, place_of(page.window(), "label_0").y + system.row_pitch);
  gtk_widget_destroy(page.window());
}

// The card behind the rows ends where the line of what is moved now begins.
TEST_F(PagesTest, AFourteenthRowFitsTheCardAndLiesOverNoOther) {
  const WindowTexts texts;
  ASSERT_FALSE(texts.missing());
  std::vector<MarkRow> more(mark_rows().begin(), mark_rows().end());
  more.push_back({static_cast<Mark>(13), "window3-fonts"});
  for (const char* name : {"GNome", "Linspire", "RedFlag", "Xandros"}) {
    Page page("", G_CALLBACK(gtk_true));
    put_marks(page, texts, capabilities(system_called(name)), more);
    int end = 0;
    for (const MarkRow& row : more) {
      const std::string number = image_name(row.mark).substr(6);
      GtkWidget* label = lookup_widget(page.window(), ("label_" + number).c_str());
      if (label == nullptr || !gtk_widget_get_visible(label)) continue;
      const Place place = place_of(page.window(), ("label_" + number).c_str());
      const Place mark = place_of(page.window(), image_name(row.mark).c_str());
      EXPECT_GE(place.y, end) << name << " " << number;
      EXPECT_GE(place.height, 17) << name;
      EXPECT_LE(mark.height, place.height) << name;
      end = place.y + place.height;
    }
    EXPECT_LE(end, 317) << name;
    gtk_widget_destroy(page.window());
  }
}

TEST_F(PagesTest, RowTextsAreNotCutOff) {
  window3 = named(create_window3(), "window_step3");
  gtk_widget_show(window3);
  settle();
  for (const RowOfText& row : rows) {
    GtkWidget* label = lookup_widget(window3, row.label);
    EXPECT_FALSE(pango_layout_is_ellipsized(gtk_label_get_layout(GTK_LABEL(label)))) << row.label;
  }
}

TEST_F(PagesTest, NoTextFileNoPages) {
  setenv("LANG", "xx_XX", 1);
  EXPECT_EQ(create_window1(), nullptr);
  EXPECT_EQ(create_window2(), nullptr);
  EXPECT_EQ(create_window3(), nullptr);
}

TEST_F(PagesTest, AnEmptyCodeGivesWindowsWithEmptyTexts) {
  setenv("LANG", "C", 1);
  window1 = create_window1();
  ASSERT_NE(window1, nullptr);
  EXPECT_EQ(title_of(window1), "");
  EXPECT_EQ(button_caption(window1, "next1"), "");
}

TEST_F(PagesTest, AMissingIconLeavesTheDefault) {
  std::remove("/usr/share/pixmaps/Brindle_Icon.png");
  EXPECT_EQ(gtk_window_get_icon(GTK_WINDOW(create_window1())), nullptr);
}

TEST_F(PagesTest, TheIconOfTheNovellLayoutLiesUnderOpt) {
  isNLD = 1;
  EXPECT_EQ(gtk_window_get_icon(GTK_WINDOW(create_window1())), nullptr);
  write_file("/opt/gnome/share/pixmaps/Brindle_Icon.png", read_file("/usr/share/pixmaps/Brindle_Icon.png"));
  EXPECT_NE(gtk_window_get_icon(GTK_WINDOW(create_window1())), nullptr);
}

TEST_F(PagesTest, EveryWindowHasTheIconOfTheNovellLayout) {
  isNLD = 1;
  write_file("/opt/gnome/share/pixmaps/Brindle_Icon.png", read_file("/usr/share/pixmaps/Brindle_Icon.png"));
  std::remove("/usr/share/pixmaps/Brindle_Icon.png");
  for (auto* create : {create_window1,
                       create_window2,
                       create_window3,
                       create_fileselection,
                       create_dialog1,
                       create_dialog_done,
                       create_dialog_multi_user_error,
                       create_dialog_printer_error,
                       create_dialog_user_error,
                       create_dialogcancel,
                       create_unpackingStopped,
                       create_noFileSpecified,
                       create_noFileFound,
                       create_notZipFile,
                       create_notEnoughSpace,
                       create_errorMountingCdrom,
                       create_noRemote,
                       create_zipPassword,
                       create_zipWrongPassword,
                       create_zipOtherEncryption,
                       create_dialog_specify_username_password,
                       create_window_select_driver,
                       create_smb_username_password_window,
                       create_smb_username_password_window2}) {
    GtkWidget* window = create();
    ASSERT_NE(window, nullptr);
    EXPECT_NE(gtk_window_get_icon(GTK_WINDOW(window)), nullptr) << title_of(window);
  }
}

TEST_F(PagesTest, TheIconIsReadOnceForAllWindows) {
  build_pages();
  build_dialogs();
  GdkPixbuf* icon = gtk_window_get_icon(GTK_WINDOW(window1));
  ASSERT_NE(icon, nullptr);
  for (GtkWidget* window : {window2, window3, fileselection, quit_dialog, dialog_done})
    EXPECT_EQ(gtk_window_get_icon(GTK_WINDOW(window)), icon) << title_of(window);
}

TEST_F(PagesTest, AnIconThatWasMissingIsLookedForAgain) {
  const std::string icon = read_file("/usr/share/pixmaps/Brindle_Icon.png");
  std::remove("/usr/share/pixmaps/Brindle_Icon.png");
  EXPECT_EQ(gtk_window_get_icon(GTK_WINDOW(create_window1())), nullptr);
  write_file("/usr/share/pixmaps/Brindle_Icon.png", icon);
  EXPECT_NE(gtk_window_get_icon(GTK_WINDOW(create_window1())), nullptr);
}

TEST_F(PagesTest, EachPageHasItsPicture) {
  build_pages();
  for (GtkWidget* page : {window1, window2, window3}) {
    gtk_widget_show(page);
    settle();
    EXPECT_NE(gtk_widget_get_style(page)->bg_pixmap[GTK_STATE_NORMAL], nullptr) << title_of(page);
  }
}

bool has_picture(GtkWidget* page) {
  return gtk_widget_get_style(page)->bg_pixmap[GTK_STATE_NORMAL] != nullptr;
}

bool has_content(GtkWidget* page) {
  return gtk_widget_get_visible(gtk_bin_get_child(GTK_BIN(page))) != FALSE;
}

struct Seen {
  bool picture;
  bool content;
  bool operator==(const Seen&) const = default;
};

void look(GtkWidget* page, gpointer seen) {
  static_cast<std::vector<Seen>*>(seen)->push_back({has_picture(page), has_content(page)});
}

TEST_F(PagesTest, TheFirstPageIsOnTheScreenBeforeItsPictureIsReadAndItsContentMeasured) {
  build_pages();
  std::vector<Seen> seen;
  g_signal_connect(window1, "map", G_CALLBACK(look), &seen);
  gtk_widget_show(window1);
  EXPECT_EQ(gtk_widget_get_style(window1)->bg[GTK_STATE_NORMAL].red, 0xf7f7);  // much like the picture
  look(window1, &seen);
  gtk_widget_hide(window1);
  gtk_widget_show(window1);
  EXPECT_EQ(seen, (std::vector<Seen>{{false, false}, {true, true}, {true, true}}));
}

TEST_F(PagesTest, UnknownNamesAreNoCrash) {
  build_pages();
  EXPECT_EQ(lookup_widget(window2, "entry_remote"), nullptr);
  EXPECT_EQ(lookup_widget(nullptr, "image_1"), nullptr);
  EXPECT_EQ(lookup_widget(gtk_label_new(""), "image_1"), nullptr);
}

TEST_F(PagesTest, AWidgetWithoutAWindowIsNothingToComplainAbout) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(lookup_widget(nullptr, "image_1"), nullptr);
  GtkWidget* box = gtk_hbox_new(FALSE, 0);
  GtkWidget* label = gtk_label_new("");
  gtk_container_add(GTK_CONTAINER(box), label);
  EXPECT_EQ(lookup_widget(label, "image_1"), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// Kept as long as the window is, and no longer.
TEST_F(PagesTest, ANamedWidgetGoesWithItsWindow) {
  GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  GtkWidget* label = gtk_label_new("");
  gtk_container_add(GTK_CONTAINER(window), label);
  name_widget(window, label, "label");
  bool gone = false;
  g_object_set_data_full(
      G_OBJECT(label), "gone", &gone, +[](gpointer flag) { *static_cast<bool*>(flag) = true; });
  g_object_ref(window);
  gtk_widget_destroy(window);
  ASSERT_FALSE(gone);
  EXPECT_EQ(lookup_widget(window, "label"), label);
  g_object_unref(window);
  EXPECT_TRUE(gone);
}

TEST_F(PagesTest, AnyWidgetFindsItsWindowsNames) {
  build_pages();
  GtkWidget* next = lookup_widget(window2, "next2");
  EXPECT_EQ(lookup_widget(next, "entry_local"), lookup_widget(window2, "entry_local"));
}

TEST_F(PagesTest, MarksOfAClosedPageCanStillBeFound) {
  build_pages();
  g_object_ref(window3);
  gtk_widget_destroy(window3);
  GtkWidget* image = lookup_widget(window3, "image_3");
  ASSERT_TRUE(GTK_IS_IMAGE(image));
  show_mark(image, 0);
}

// ---- marks and progress ---------------------------------------------------------------------------

Image_Result* record(const char* image, int result) {
  auto* made = static_cast<Image_Result*>(std::malloc(sizeof(Image_Result)));
  made->image = lookup_widget(window3, image);
  made->result = result;
  return made;
}

std::string stock_of(const char* image) {
  char* stock = nullptr;
  GtkIconSize size{};
  gtk_image_get_stock(GTK_IMAGE(lookup_widget(window3, image)), &stock, &size);
  if (stock == nullptr) return "";
  return std::string(stock) + " " + std::to_string(size);
}

TEST_F(PagesTest, DrawShowsApplyForSuccess) {
  build_pages();
  EXPECT_EQ(draw(record("image_1", 0)), 0);
  EXPECT_EQ(stock_of("image_1"), "gtk-apply 4");
}

TEST_F(PagesTest, DrawShowsCancelForAnythingElse) {
  build_pages();
  draw(record("image_1", -1));
  draw(record("image_2", 1));
  EXPECT_EQ(stock_of("image_1"), "gtk-cancel 4");
  EXPECT_EQ(stock_of("image_2"), "gtk-cancel 4");
  EXPECT_EQ(gtk_image_get_storage_type(GTK_IMAGE(lookup_widget(window3, "image_3"))), GTK_IMAGE_EMPTY);
}

TEST_F(PagesTest, ALaterResultWins) {
  build_pages();
  draw(record("image_0", -1));
  draw(record("image_0", 0));
  EXPECT_EQ(stock_of("image_0"), "gtk-apply 4");
}

TEST_F(PagesTest, DrawTakesAMarkThatTheLayoutDoesNotHave) {
  page3_of("/etc/redflag-release");
  EXPECT_EQ(draw(record("image_11", 0)), 0);
}

TEST_F(PagesTest, APostedMarkFindsItsImage) {
  build_pages();
  EXPECT_EQ(draw_posted_mark(new PostedMark{12, 0}), 0);
  EXPECT_EQ(draw_posted_mark(new PostedMark{1, 3}), 0);
  EXPECT_EQ(stock_of("image_12"), "gtk-apply 4");
  EXPECT_EQ(stock_of("image_1"), "gtk-cancel 4");
  EXPECT_EQ(gtk_image_get_storage_type(GTK_IMAGE(lookup_widget(window3, "image_2"))), GTK_IMAGE_EMPTY);
}

TEST_F(PagesTest, APostedMarkNeedsNoImageAndNoPage) {
  page3_of("/etc/redflag-release");
  EXPECT_EQ(draw_posted_mark(new PostedMark{11, 0}), 0);
  window3 = nullptr;
  EXPECT_EQ(draw_posted_mark(new PostedMark{1, 0}), 0);
}

std::string read_aloud(const char* image) {
  return atk_object_get_name(gtk_widget_get_accessible(lookup_widget(window3, image)));
}

TEST_F(PagesTest, AScreenReaderReadsTheRowWithItsResult) {
  build_pages();
  EXPECT_EQ(read_aloud("image_1"), shipped_text("window3-mydocuments"));
  draw(record("image_1", 0));
  draw(record("image_2", -1));
  EXPECT_EQ(read_aloud("image_1"), "Documents: done");
  EXPECT_EQ(read_aloud("image_2"), "Desktop: not done");
}

TEST_F(PagesTest, AScreenReaderFindsTheLabelOfAMarkAndOfAnEntry) {
  build_pages();
  const auto labelled_by = [](GtkWidget* widget) {
    AtkRelationSet* set = atk_object_ref_relation_set(gtk_widget_get_accessible(widget));
    AtkRelation* relation = atk_relation_set_get_relation_by_type(set, ATK_RELATION_LABELLED_BY);
    AtkObject* label =
        relation == nullptr ? nullptr : ATK_OBJECT(atk_relation_get_target(relation)->pdata[0]);
    g_object_unref(set);
    return label;
  };
  EXPECT_EQ(labelled_by(lookup_widget(window3, "image_4")),
            gtk_widget_get_accessible(lookup_widget(window3, "label_4")));
  EXPECT_EQ(labelled_by(lookup_widget(window2, "entry_cdrom")),
            gtk_widget_get_accessible(lookup_widget(window2, "cdrom")));
  EXPECT_STREQ(atk_object_get_name(gtk_widget_get_accessible(lookup_widget(window2, "entry_local"))),
               plain(shipped_text("window2-localdrives")).c_str());
}

// What screen readers were asked to say, in order.
std::vector<std::string> announced;

void listen_to(const char* name) {
  announced.clear();
  g_signal_connect(gtk_widget_get_accessible(lookup_widget(window3, name)), "announcement",
                   G_CALLBACK(+[](AtkObject*, const char* text, gpointer) { announced.push_back(text); }),
                   nullptr);
}

TEST_F(PagesTest, AMarksResultIsAnnounced) {
  build_pages();
  listen_to("image_5");
  draw(record("image_5", 0));
  EXPECT_EQ(announced, std::vector<std::string>{"Bookmarks: done"});
}

TEST_F(PagesTest, WordsOfAScreenReaderComeFromTheTextFile) {
  shell_quietly(
      "sed -i -e 's/^window3-moved=.*/window3-moved=%s ist umgezogen/' "
      "-e 's/^window3-notmoved=.*/window3-notmoved=%s blieb/' "
      "-e 's/^window3-progress=.*/window3-progress=Fortschritt/' /usr/local/brindle/en_US");
  build_pages();
  draw(record("image_1", 0));
  draw(record("image_2", -1));
  EXPECT_EQ(read_aloud("image_1"), "Documents ist umgezogen");
  EXPECT_EQ(read_aloud("image_2"), "Desktop blieb");
  EXPECT_EQ(read_aloud("progressbar1"), "Fortschritt");
}

TEST_F(PagesTest, AScreenReaderReadsTheProgressAndItsValue) {
  build_pages();
  EXPECT_EQ(read_aloud("progressbar1"), shipped_text("window3-progress"));
  int size = 20000000;
  progress_timeout(&size);
  progress_timeout(&size);
  GValue value = G_VALUE_INIT;
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS  // the toolkit's accessibles know no later call
      atk_value_get_current_value(
          ATK_VALUE(gtk_widget_get_accessible(lookup_widget(window3, "progressbar1"))), &value);
  G_GNUC_END_IGNORE_DEPRECATIONS
  ASSERT_TRUE(G_VALUE_HOLDS_DOUBLE(&value));
  EXPECT_NEAR(g_value_get_double(&value), 5, 0.01);  // per cent
}

AtkRole role_of(GtkWidget* page, const char* name) {
  return atk_object_get_role(gtk_widget_get_accessible(lookup_widget(page, name)));
}

TEST_F(PagesTest, EachPageBeginsWithItsTitleAsAHeading) {
  build_pages();
  const std::pair<GtkWidget*, const char*> pages[] = {
      {window1, "window1"}, {window2, "window2"}, {window3, "window3"}};
  for (const auto& [page, key] : pages) {
    EXPECT_EQ(label_text(page, "heading"), shipped_text(key));
    EXPECT_EQ(role_of(page, "heading"), ATK_ROLE_HEADING) << key;
    EXPECT_STREQ(atk_object_get_name(gtk_widget_get_accessible(lookup_widget(page, "heading"))),
                 shipped_text(key).c_str());
  }
  EXPECT_EQ(label_text(window1, "text"), shipped_text("window1-text"));
  EXPECT_EQ(label_text(window2, "text"), shipped_text("window2-text"));
  EXPECT_TRUE(gtk_widget_get_visible(lookup_widget(window2, "text")));
  EXPECT_FALSE(gtk_widget_get_visible(lookup_widget(window3, "text")));
}

// ---- what is moved now ----------------------------------------------------------------------------

void begin(Beginning what, const std::string& login = "") {
  EXPECT_EQ(show_posted_beginning(new PostedBeginning{what, login}), 0);
}

std::string now() { return label_text(window3, "label_now"); }

TEST_F(PagesTest, ALoginInAnotherCharacterSetIsReadable) {
  build_pages();
  setenv("BRINDLE_LOCALE", "de_DE.UTF-8", 1);
  begin(3, "j\xfcrgen");
  EXPECT_TRUE(now().ends_with(" (for jürgen)")) << now();
}

TEST_F(PagesTest, TheLineSaysWhatIsMovedNow) {
  build_pages();
  EXPECT_EQ(now(), "");
  begin(Phase::unpacking);
  EXPECT_EQ(now(), "Now: Unpacking the archive");
  begin(Phase::getting_ready);
  EXPECT_EQ(now(), "Now: Preparing the programs");
  begin(12);
  EXPECT_EQ(now(), "Now: Preparing printers");
  begin(3);
  EXPECT_EQ(now(), "Now: E-mail, contacts and calendar");
  begin(1, "ann");
  EXPECT_EQ(now(), "Now: Documents (for ann)");
  begin(Phase::cleaning_up);
  EXPECT_EQ(now(), "Now: Removing temporary files");
  done_button_bar(nullptr);
  EXPECT_EQ(now(), "Finished");
}

TEST_F(PagesTest, TheLineIsAnnouncedWheneverItChanges) {
  build_pages();
  EXPECT_EQ(role_of(window3, "label_now"), ATK_ROLE_STATUSBAR);
  listen_to("label_now");
  begin(1, "ann");
  begin(2);
  done_button_bar(nullptr);
  EXPECT_EQ(announced, (std::vector<std::string>{"Now: Documents (for ann)", "Now: Desktop", "Finished"}));
}

TEST_F(PagesTest, ACancelledRunMovesNothingNow) {
  build_pages();
  begin(1);
  press(window3, "button_window3_cancel");
  EXPECT_EQ(now(), "");
  listen_to("label_now");
  begin(2);
  done_button_bar(nullptr);
  EXPECT_EQ(now(), "");
  EXPECT_TRUE(announced.empty());
}

TEST_F(PagesTest, ALoginWithAPercentSignIsNoPlaceForAValue) {
  build_pages();
  begin(1, "%s%n");
  EXPECT_EQ(now(), "Now: Documents (for %s%n)");
}

TEST_F(PagesTest, WhatBeginsNeedsNoRowAndNoPage) {
  page3_of("/etc/redflag-release");
  begin(11);
  begin(99);
  EXPECT_EQ(now(), "");
  done_button_bar(nullptr);
  window3 = nullptr;
  begin(1);
}

// Its accessible complains about relations that it has not made itself.
TEST_F(PagesTest, AScreenReaderMayAskARadioButtonForItsGroup) {
  build_pages();
  g_log_set_always_fatal(G_LOG_LEVEL_CRITICAL);
  for (const char* radio : {"cdrom", "local"}) {
    AtkRelationSet* set =
        atk_object_ref_relation_set(gtk_widget_get_accessible(lookup_widget(window2, radio)));
    EXPECT_TRUE(atk_relation_set_contains(set, ATK_RELATION_MEMBER_OF)) << radio;
    g_object_unref(set);
  }
}

double fraction() {
  return gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(lookup_widget(window3, "progressbar1")));
}

TEST_F(PagesTest, ProgressOf20MillionBytesMovesByAFortieth) {
  build_pages();
  int size = 20000000;
  EXPECT_EQ(progress_timeout(&size), 1);
  EXPECT_DOUBLE_EQ(fraction(), 0.025);
  EXPECT_EQ(label_text(window3, "label_percentage"), "2%");  // cut, not rounded
  EXPECT_EQ(progress_timeout(&size), 1);
  EXPECT_EQ(label_text(window3, "label_percentage"), "5%");
}

TEST_F(PagesTest, ProgressCountsWholeTensOfMegabytes) {
  build_pages();
  int size = 19999999;
  progress_timeout(&size);
  EXPECT_DOUBLE_EQ(fraction(), 0.05);
}

TEST_F(PagesTest, ProgressOf100MegabytesIsFullAfter200Ticks) {
  build_pages();
  int size = 100000000;
  int ticks = 0;
  while (progress_timeout(&size) == 1 && ticks < 1000) ++ticks;
  EXPECT_NEAR(ticks, 200, 1);  // the sum may round above 1 one tick early
  EXPECT_NEAR(fraction(), 1.0, 0.006);
}

TEST_F(PagesTest, ProgressOfASmallArchiveEndsAtTheFirstTick) {
  build_pages();
  int size = 9999999;
  EXPECT_EQ(progress_timeout(&size), 0);
  EXPECT_EQ(fraction(), 0.0);
  EXPECT_EQ(label_text(window3, "label_percentage"), "0%");
}

TEST_F(PagesTest, ProgressOfAnUnknownSizeStaysAndGoesOn) {
  build_pages();
  int size = 0;
  EXPECT_EQ(progress_timeout(&size), 1);
  EXPECT_EQ(fraction(), 0.0);
}

TEST_F(PagesTest, ProgressStaysWhereItWasAtTheEnd) {
  build_pages();
  int size = 10000000;
  gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(lookup_widget(window3, "progressbar1")), 0.97);
  EXPECT_EQ(progress_timeout(&size), 0);
  EXPECT_DOUBLE_EQ(fraction(), 0.97);
}

TEST_F(PagesTest, ProgressMayFillTheBarToItsEndAndGoesOn) {
  build_pages();
  int size = 10000000;
  gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(lookup_widget(window3, "progressbar1")), 0.95);
  EXPECT_EQ(progress_timeout(&size), 1);
  EXPECT_EQ(fraction(), 1.0);
  EXPECT_EQ(label_text(window3, "label_percentage"), "100%");
  EXPECT_EQ(progress_timeout(&size), 0);
  EXPECT_EQ(label_text(window3, "label_percentage"), "100%");
}

TEST_F(PagesTest, LinspiresBarWaitsForTheEnd) {
  page3_of("/etc/linspire-version");
  int size = 20000000;
  EXPECT_EQ(progress_timeout(&size), 1);
  EXPECT_EQ(fraction(), 0.0);
  EXPECT_EQ(done_button_bar(nullptr), 0);
  EXPECT_EQ(fraction(), 1.0);
  EXPECT_EQ(label_text(window3, "label_percentage"), "100%");
}

TEST_F(PagesTest, TheEndFillsTheBarAndSwitchesTheButtons) {
  build_pages();
  gtk_progress_bar_set_fraction(GTK_PROGRESS_BAR(lookup_widget(window3, "progressbar1")), 0.3);
  EXPECT_EQ(done_button_bar(nullptr), 0);
  EXPECT_EQ(fraction(), 1.0);
  EXPECT_EQ(label_text(window3, "label_percentage"), "100%");
  EXPECT_TRUE(gtk_widget_get_sensitive(lookup_widget(window3, "button_done")));
  EXPECT_FALSE(gtk_widget_get_sensitive(lookup_widget(window3, "button_window3_cancel")));
}

TEST_F(PagesTest, NoPageNoCrash) {
  window3 = nullptr;
  int size = 20000000;
  EXPECT_EQ(progress_timeout(&size), 1);
  EXPECT_EQ(done_button_bar(nullptr), 0);
  EXPECT_EQ(draw(record("image_1", 0)), 0);
}

}  // namespace
