#include "interface/printer_windows.h"

#include "callbacks/driver_choice.h"
#include "callbacks/share_credentials.h"
#include "gui.h"
#include "interface/windows.h"
#include "state/posts.h"
#include "state/question.h"
#include "state/state.h"
#include "support/files.h"

namespace {

class DriverWindowTest : public GuiTest {
 protected:
  void SetUp() override {
    GuiTest::SetUp();
    displaylabel = "Brother HL-5250DN series";
    driver_question.set_text("Office printer");
    isWindowSelectDriverOpen = 1;
  }
  // What stands beside Next.
  static std::string next_use() { return label_text(window_select_driver, "label_next_uses"); }
  static std::string use_of(const std::string& radio) {
    return "Next uses: " + plain(shipped_text("window_select_driver-" + radio));
  }
  // The answer of a window in which `radio` is chosen.
  static std::string choose(const char* radio) {
    show_popup_window_select_driver(nullptr);
    press(window_select_driver, radio);
    press(window_select_driver, "next2");
    return selecteddriver;
  }
};

bool active(GtkWidget* window, const char* radio) {
  return gtk_toggle_button_get_active(GTK_TOGGLE_BUTTON(lookup_widget(window, radio)));
}

TEST_F(DriverWindowTest, IsBuiltWithItsTextsAndTitle) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(show_popup_window_select_driver(nullptr), 0);
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(out.rfind("in main.Brother HL-5250DN series\n", 0), 0U) << out;
  EXPECT_TRUE(out.ends_with("about to exit main.")) << out;
  ASSERT_NE(window_select_driver, nullptr);
  EXPECT_TRUE(gtk_widget_get_visible(window_select_driver));
  EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(window_select_driver)));
  EXPECT_EQ(title_of(window_select_driver), "Brother HL-5250DN series");
  settle();
  int width = 0;
  int height = 0;
  gtk_window_get_size(GTK_WINDOW(window_select_driver), &width, &height);
  EXPECT_EQ(width, 380);
  EXPECT_EQ(height, 310);
  EXPECT_EQ(label_text(window_select_driver, "label_printer"), "Printer: Office printer");
  EXPECT_EQ(label_text(window_select_driver, "label_windows_driver"),
            "Windows driver: Brother HL-5250DN series");
  EXPECT_EQ(label_text(window_select_driver, "label_20_driver_name"),
            shipped_text("window_select_driver-label20"));
  for (const char* radio : {"stphoto", "stcolor", "epson24", "epson9", "deskjet", "laserjet", "skip"}) {
    EXPECT_EQ(button_caption(window_select_driver, radio),
              shipped_text(std::string("window_select_driver-") + radio));
    EXPECT_EQ(active(window_select_driver, radio), std::string(radio) == "stphoto");
  }
  EXPECT_EQ(button_caption(window_select_driver, "next2"), shipped_text("window_select_driver-next"));
  EXPECT_EQ(isWindowSelectDriverOpen, 1);
}

TEST_F(DriverWindowTest, RadioButtonsSetTheSelection) {
  show_popup_window_select_driver(nullptr);
  const std::pair<const char*, driver> choices[] = {
      {"stcolor", STCOLOR}, {"epson24", EPSON24},   {"epson9", EPSON9},   {"deskjet", DESKJET},
      {"skip", SKIP},       {"laserjet", LASERJET}, {"stphoto", STPHOTO},
  };
  for (const auto& [radio, choice] : choices) {
    press(window_select_driver, radio);
    EXPECT_EQ(driverselection, choice) << radio;
  }
}

TEST_F(DriverWindowTest, NextWithoutAClickIsTheStylusPhoto) {
  show_popup_window_select_driver(nullptr);
  testing::internal::CaptureStdout();
  press(window_select_driver, "next2");
  const std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(out, "Getting OS Version.........\nOSName::GNome\nOSVersion::Any\nOSName::GNome");
  EXPECT_STREQ(selecteddriver, "stphoto.ppd.gz");
  EXPECT_EQ(isWindowSelectDriverOpen, 0);
  EXPECT_EQ(window_select_driver, nullptr);
}

TEST_F(DriverWindowTest, ALaterWindowShowsTheFirstButKeepsTheEarlierChoice) {
  EXPECT_EQ(choose("deskjet"), "deskjet.ppd.gz");
  show_popup_window_select_driver(nullptr);
  EXPECT_TRUE(active(window_select_driver, "stphoto"));
  press(window_select_driver, "next2");
  EXPECT_STREQ(selecteddriver, "deskjet.ppd.gz");
}

struct Fallback {
  const char* radio;
  const char* gnome;
  const char* redflag;
  const char* other;
};

constexpr Fallback fallbacks[] = {
    {"stphoto", "stphoto.ppd.gz", "Epson Stylus Photo Id='Epson-Stylus_Photo' Driver='gimp-print' Compatible",
     "Epson Stylus Photo 720 Id='Epson-Stylus_Photo_720' Driver='stp' Compa"},
    {"stcolor", "stcolor.ppd.gz",
     "Epson Stylus Color 300 Id='Epson-Stylus_Color_300' Driver='stcolor' CompatibleDrivers",
     "Epson Stylus Color 300 Id='Epson-Stylus_Color_300' Driver='stcolor' CompatibleDrivers"},
    {"epson24", "epson24.ppd.gz", "Epson Dot Matrix Id='Epson-Dot_Matrix' Driver='epsonc' CompatibleDrivers",
     "Epson Dot Matrix Id='Epson-Dot_Matrix' Driver='epsonc' CompatibleDrivers"},
    {"epson9", "epson9.ppd.gz", "Epson Dot Matrix Id='Epson-Dot_Matrix' Driver='epsonc' CompatibleDrivers",
     "Epson Dot Matrix Id='Epson-Dot_Matrix' Driver='epsonc' CompatibleDrivers"},
    {"deskjet", "deskjet.ppd.gz", "HP DeskJet 200 Id='HP-DeskJet_200' Driver='pcl3' CompatibleDrivers=' '",
     "HP DeskJet 200 Id='HP-DeskJet_200' Driver='pcl3' CompatibleDrivers=' '"},
    {"laserjet", "laserjet.ppd.gz", "HP LaserJet Id='HP-LaserJet' Driver='laserjet' Com",
     "HP LaserJet Id='HP-LaserJet' Driver='laserjet' Com"},
    {"skip", "", "", ""},
};

TEST_F(DriverWindowTest, AnswersOnGnome) {
  for (const Fallback& each : fallbacks) EXPECT_EQ(choose(each.radio), each.gnome) << each.radio;
}

TEST_F(DriverWindowTest, AnswersOnRedFlag) {
  write_file("/etc/redflag-release", "release 4.1 \n");
  for (const Fallback& each : fallbacks) EXPECT_EQ(choose(each.radio), each.redflag) << each.radio;
}

TEST_F(DriverWindowTest, AnswersOnLinspire) {
  write_file("/etc/linspire-version", "");
  for (const Fallback& each : fallbacks) EXPECT_EQ(choose(each.radio), each.other) << each.radio;
}

TEST_F(DriverWindowTest, AnswersOnXandros) {
  write_file("/etc/xandros-version", "");
  for (const Fallback& each : fallbacks) EXPECT_EQ(choose(each.radio), each.other) << each.radio;
}

TEST_F(DriverWindowTest, AnUnknownSelectionIsSkipped) {
  show_popup_window_select_driver(nullptr);
  driverselection = static_cast<driver>(7);
  press(window_select_driver, "next2");
  EXPECT_STREQ(selecteddriver, "");
  EXPECT_EQ(isWindowSelectDriverOpen, 0);
}

TEST_F(DriverWindowTest, ClosingSkipsThePrinterAndKeepsTheEarlierChoice) {
  EXPECT_EQ(choose("deskjet"), "deskjet.ppd.gz");
  show_popup_window_select_driver(nullptr);
  isWindowSelectDriverOpen = 1;
  close_window(window_select_driver);
  EXPECT_EQ(window_select_driver, nullptr);
  EXPECT_STREQ(selecteddriver, "");
  EXPECT_EQ(isWindowSelectDriverOpen, 0);
  EXPECT_EQ(driverselection, DESKJET);
}

// ---- what Next uses ----

TEST_F(DriverWindowTest, BesideNextStandsWhatItUses) {
  show_popup_window_select_driver(nullptr);
  EXPECT_EQ(next_use(), "Next uses: Epson Stylus Photo");
  for (const char* radio : {"deskjet", "laserjet", "epson9", "epson24", "stcolor", "stphoto"}) {
    press(window_select_driver, radio);
    EXPECT_EQ(next_use(), use_of(radio));
  }
  press(window_select_driver, "skip");
  EXPECT_EQ(next_use(), "Next leaves this printer out.");
}

TEST_F(DriverWindowTest, ALaterWindowSaysAtOnceWhatTheEarlierAnswerWas) {
  choose("laserjet");
  show_popup_window_select_driver(nullptr);
  EXPECT_TRUE(active(window_select_driver, "stphoto"));
  EXPECT_EQ(next_use(), "Next uses: HP LaserJet");
  press(window_select_driver, "next2");
  EXPECT_STREQ(selecteddriver, "laserjet.ppd.gz");
  choose("skip");
  show_popup_window_select_driver(nullptr);
  EXPECT_EQ(next_use(), "Next leaves this printer out.");
}

TEST_F(DriverWindowTest, AnUnknownSelectionIsToldAsSkipped) {
  driverselection = static_cast<driver>(7);
  show_popup_window_select_driver(nullptr);
  EXPECT_EQ(next_use(), "Next leaves this printer out.");
}

void count(GObject* /*accessible*/, GParamSpec* /*name*/, gpointer times) { ++*static_cast<int*>(times); }

TEST_F(DriverWindowTest, AScreenReaderIsToldOnceWithEveryChange) {
  choose("deskjet");
  show_popup_window_select_driver(nullptr);
  AtkObject* label = gtk_widget_get_accessible(lookup_widget(window_select_driver, "label_next_uses"));
  AtkObject* next = gtk_widget_get_accessible(lookup_widget(window_select_driver, "next2"));
  EXPECT_STREQ(atk_object_get_name(label), "Next uses: HP DeskJet");
  EXPECT_STREQ(atk_object_get_description(next), "Next uses: HP DeskJet");
  int names = 0;
  int descriptions = 0;
  g_signal_connect(label, "notify::accessible-name", G_CALLBACK(count), &names);
  g_signal_connect(next, "notify::accessible-description", G_CALLBACK(count), &descriptions);
  press(window_select_driver, "laserjet");
  EXPECT_EQ(names, 1);
  EXPECT_EQ(descriptions, 1);
  EXPECT_STREQ(atk_object_get_name(label), "Next uses: HP LaserJet");
  EXPECT_STREQ(atk_object_get_description(next), "Next uses: HP LaserJet");
}

void keep(AtkObject* /*label*/, const char* text, gpointer said) {
  static_cast<std::vector<std::string>*>(said)->emplace_back(text);
}

TEST_F(DriverWindowTest, AScreenReaderSaysItAtOnceAndWithEveryChange) {
  choose("deskjet");
  GtkWidget* window = create_window_select_driver();
  AtkObject* label = gtk_widget_get_accessible(lookup_widget(window, "label_next_uses"));
  std::vector<std::string> said;
  g_signal_connect(label, "announcement", G_CALLBACK(keep), &said);
  gtk_widget_show(window);
  press(window, "laserjet");
  press(window, "skip");
  EXPECT_EQ(said, (std::vector<std::string>{"Next uses: HP DeskJet", "Next uses: HP LaserJet",
                                            "Next leaves this printer out."}));
}

bool is_related(AtkObject* one, AtkRelationType how, AtkObject* other) {
  AtkRelationSet* all = atk_object_ref_relation_set(one);
  AtkRelation* relation = atk_relation_set_get_relation_by_type(all, how);
  const bool found = relation != nullptr && atk_relation_get_target(relation)->len == 1 &&
                     g_ptr_array_index(atk_relation_get_target(relation), 0) == other;
  g_object_unref(all);
  return found;
}

TEST_F(DriverWindowTest, ItDescribesNext) {
  show_popup_window_select_driver(nullptr);
  AtkObject* label = gtk_widget_get_accessible(lookup_widget(window_select_driver, "label_next_uses"));
  AtkObject* next = gtk_widget_get_accessible(lookup_widget(window_select_driver, "next2"));
  EXPECT_TRUE(is_related(next, ATK_RELATION_DESCRIBED_BY, label));
  EXPECT_TRUE(is_related(label, ATK_RELATION_DESCRIPTION_FOR, next));
}

TEST_F(DriverWindowTest, WithoutTextsTheWorkerGetsSkip) {
  setenv("LANG", "xx_XX", 1);
  assign(selecteddriver, "before");
  show_popup_window_select_driver(nullptr);
  EXPECT_STREQ(selecteddriver, "");
  EXPECT_EQ(isWindowSelectDriverOpen, 0);
}

// ---- the printer's names ----

struct ForeignName {
  const char* locale;
  const char* bytes;
  const char* shown;
};

// As a Windows of that language writes them, and one that has no such letter.
constexpr ForeignName foreign_names[] = {
    {"de_DE.UTF-8", "B\xfcro", "Büro"},
    {"ru_RU.UTF-8", "\xcf\xf0\xe8\xed\xf2\xe5\xf0", "Принтер"},
    {"ja_JP.UTF-8", "\x83v\x83\x8a\x83\x93\x83^", "プリンタ"},
    {"ru_RU.UTF-8", "Büro", "Büro"},  // UTF-8
    {"ru_RU.UTF-8", "\x98x", "\xef\xbf\xbdx"},
};

TEST_F(DriverWindowTest, NamesInAnotherCharacterSetAreReadable) {
  for (const ForeignName& name : foreign_names) {
    setenv("BRINDLE_LOCALE", name.locale, 1);
    displaylabel = name.bytes;
    driver_question.set_text(name.bytes);
    show_popup_window_select_driver(nullptr);
    EXPECT_EQ(title_of(window_select_driver), name.shown);
    EXPECT_EQ(label_text(window_select_driver, "label_printer"), std::string("Printer: ") + name.shown);
    EXPECT_EQ(label_text(window_select_driver, "label_windows_driver"),
              std::string("Windows driver: ") + name.shown);
    close_window(window_select_driver);
  }
}

TEST_F(DriverWindowTest, ANameThatIsMissingIsNotMentioned) {
  driver_question.set_text("");
  displaylabel = "";
  show_popup_window_select_driver(nullptr);
  for (const char* label : {"label_printer", "label_windows_driver"})
    EXPECT_FALSE(gtk_widget_get_visible(lookup_widget(window_select_driver, label))) << label;
}

TEST_F(DriverWindowTest, ANameMayLookLikeAPlaceForOne) {
  driver_question.set_text("%s %d %n");
  displaylabel = "100% _Laser <b>";
  show_popup_window_select_driver(nullptr);
  EXPECT_EQ(label_text(window_select_driver, "label_printer"), "Printer: %s %d %n");
  EXPECT_EQ(label_text(window_select_driver, "label_windows_driver"), "Windows driver: 100% _Laser <b>");
}

// ---- share credentials ----------------------------------------------------------------------------

class CredentialsTest : public GuiTest {
 protected:
  void SetUp() override {
    GuiTest::SetUp();
    displaylabel = "Office printer";
    smburl = "smb://kitchen-pc/Office printer";
    isWindowSmbUsernamePasswordOpen = 1;
    testing::internal::CaptureStdout();
    EXPECT_EQ(show_smb_username_password_window(nullptr), 0);
    out = testing::internal::GetCapturedStdout();
  }
  static void answer(const std::string& name, const std::string& password) {
    type(smb_username_password_window, "entry_username", name);
    type(smb_username_password_window, "entry_password", password);
    press(smb_username_password_window, "next2");
  }
  // The confirmation window: the visible one that is not the first.
  static GtkWidget* confirmation() {
    GtkWidget* window = visible_window("Office printer");
    return window == smb_username_password_window ? nullptr : window;
  }
  std::string out;
};

TEST_F(CredentialsTest, IsBuiltWithItsTextsAndTitle) {
  EXPECT_EQ(out.rfind("in main.Office printer\nin main.smb://kitchen-pc/Office printer\n", 0), 0U) << out;
  EXPECT_TRUE(out.ends_with("about to exit main."));
  GtkWidget* window = smb_username_password_window;
  ASSERT_NE(window, nullptr);
  EXPECT_TRUE(gtk_widget_get_visible(window));
  EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(window)));
  settle();
  int width = 0;
  int height = 0;
  gtk_window_get_size(GTK_WINDOW(window), &width, &height);
  EXPECT_EQ(width, 380);
  EXPECT_EQ(height, 220);
  EXPECT_EQ(title_of(window), "Office printer");
  EXPECT_EQ(label_text(window, "label_url"), "smb://kitchen-pc/Office printer");
  EXPECT_EQ(label_text(window, "label_header"), shipped_text("smb_username_password_window-label_header"));
  EXPECT_EQ(label_text(window, "label_username"),
            plain(shipped_text("smb_username_password_window-label_username")));
  EXPECT_EQ(label_text(window, "label_password"),
            plain(shipped_text("smb_username_password_window-label_password")));
  EXPECT_EQ(label_text(window, "label_closing"), shipped_text("smb_username_password_window-closing"));
  EXPECT_EQ(button_caption(window, "next2"), shipped_text("smb_username_password_window-next"));
  EXPECT_TRUE(gtk_entry_get_visibility(GTK_ENTRY(lookup_widget(window, "entry_username"))));
  EXPECT_FALSE(gtk_entry_get_visibility(GTK_ENTRY(lookup_widget(window, "entry_password"))));
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 1);
}

TEST_F(CredentialsTest, TheBuildersTitlesComeFromTheTexts) {
  EXPECT_EQ(title_of(create_smb_username_password_window()), shipped_text("smb_username_password_window"));
  EXPECT_EQ(title_of(create_smb_username_password_window2()), shipped_text("smb_username_password_window2"));
}

TEST_F(CredentialsTest, NextAsksForConfirmation) {
  answer("anna", "secret");
  EXPECT_STREQ(Username, "anna");
  EXPECT_STREQ(Password, "secret");
  EXPECT_FALSE(gtk_widget_get_visible(smb_username_password_window));
  GtkWidget* window = confirmation();
  ASSERT_NE(window, nullptr);
  settle();
  int width = 0;
  int height = 0;
  gtk_window_get_size(GTK_WINDOW(window), &width, &height);
  EXPECT_EQ(width, 380);
  EXPECT_EQ(height, 180);
  EXPECT_EQ(label_text(window, "label_header"), shipped_text("smb_username_password_window2-label_header"));
  EXPECT_EQ(label_text(window, "label_username"),
            shipped_text("smb_username_password_window2-label_username"));
  EXPECT_EQ(label_text(window, "label_url"), "smb://kitchen-pc/Office printer");
  EXPECT_EQ(label_text(window, "entry_username"), "anna");
  EXPECT_EQ(button_caption(window, "next2"), shipped_text("smb_username_password_window2-next"));
  EXPECT_EQ(button_caption(window, "back2"), shipped_text("smb_username_password_window2-back"));
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 1);
}

TEST_F(CredentialsTest, TheConfirmationWakesTheWorkerAndClosesBoth) {
  answer("anna", "secret");
  press(confirmation(), "next2");
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 0);
  EXPECT_EQ(smb_username_password_window, nullptr);
  EXPECT_EQ(visible_window("Office printer"), nullptr);
  EXPECT_STREQ(Username, "anna");
  EXPECT_STREQ(Password, "secret");
}

TEST_F(CredentialsTest, NextOfTheHiddenWindowAsksForNoSecondConfirmation) {
  answer("anna", "secret");
  press(smb_username_password_window, "next2");
  press(smb_username_password_window2, "next2");
  EXPECT_EQ(visible_window("Office printer"), nullptr);
}

TEST_F(CredentialsTest, BackReturnsToWhatWasTyped) {
  answer("anna", "secret");
  press(confirmation(), "back2");
  EXPECT_EQ(confirmation(), nullptr);
  EXPECT_TRUE(gtk_widget_get_visible(smb_username_password_window));
  EXPECT_EQ(entry_text(smb_username_password_window, "entry_username"), "anna");
  EXPECT_EQ(entry_text(smb_username_password_window, "entry_password"), "secret");
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 1);
  answer("otto", "other");
  press(confirmation(), "next2");
  EXPECT_STREQ(Username, "otto");
}

void expect_asked_again(const char* username, const char* password) {
  GtkWidget* dialog = visible_window(shipped_text("dialog_specify_username_password"));
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(label_text(dialog, "message"), shipped_text("dialog_specify_username_password-label20"));
  EXPECT_EQ(button_caption(dialog, "okbutton2"), "gtk-ok");
  EXPECT_TRUE(gtk_widget_get_visible(smb_username_password_window));
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 1);
  EXPECT_STREQ(Username, username);  // taken over although the other is missing
  EXPECT_STREQ(Password, password);
  press(dialog, "okbutton2");
  EXPECT_EQ(visible_window(shipped_text("dialog_specify_username_password")), nullptr);
  EXPECT_TRUE(gtk_widget_get_visible(smb_username_password_window));
}

TEST_F(CredentialsTest, AMissingUserNameIsAskedFor) {
  answer("", "secret");
  expect_asked_again("", "secret");
}

TEST_F(CredentialsTest, AMissingPasswordIsAskedFor) {
  answer("anna", "");
  expect_asked_again("anna", "");
}

TEST_F(CredentialsTest, AnAnswerTooLongForTheBufferIsNotCut) {
  answer("anna", std::string(256, 'x'));
  expect_asked_again("anna", "");
  answer("anna", std::string(255, 'x'));
  EXPECT_NE(confirmation(), nullptr);
}

TEST_F(CredentialsTest, ClosingTheFirstWindowSkipsThePrinter) {
  answer("anna", "");  // which keeps the name
  press(visible_window(shipped_text("dialog_specify_username_password")), "okbutton2");
  type(smb_username_password_window, "entry_password", "secret");
  close_window(smb_username_password_window);
  EXPECT_EQ(smb_username_password_window, nullptr);
  EXPECT_STREQ(Username, "");
  EXPECT_STREQ(Password, "");
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 0);
}

TEST_F(CredentialsTest, TheNoticeGoesWithTheWindowItIsAbout) {
  answer("anna", "");
  gtk_widget_destroy(smb_username_password_window);
  EXPECT_EQ(visible_window(shipped_text("dialog_specify_username_password")), nullptr);
}

TEST_F(CredentialsTest, NamesInAnotherCharacterSetAreReadable) {
  gtk_widget_destroy(smb_username_password_window);
  setenv("BRINDLE_LOCALE", "ru_RU.UTF-8", 1);
  displaylabel = "\xcf\xf0\xe8\xed\xf2\xe5\xf0";
  smburl = "//\xf1\xe5\xf0\xe2\xe5\xf0/hp";
  show_smb_username_password_window(nullptr);
  EXPECT_EQ(title_of(smb_username_password_window), "Принтер");
  EXPECT_EQ(label_text(smb_username_password_window, "label_url"), "//сервер/hp");
  answer("anna", "secret");
  GtkWidget* second = visible_window("Принтер");
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(label_text(second, "label_url"), "//сервер/hp");
}

TEST_F(CredentialsTest, ClosingTheConfirmationGoesBack) {
  answer("anna", "secret");
  close_window(confirmation());
  EXPECT_EQ(confirmation(), nullptr);
  EXPECT_TRUE(gtk_widget_get_visible(smb_username_password_window));
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 1);
}

TEST_F(CredentialsTest, WithoutTextsTheWorkerIsNotHeld) {
  gtk_widget_destroy(smb_username_password_window);
  setenv("LANG", "xx_XX", 1);
  show_smb_username_password_window(nullptr);
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 0);
}

}  // namespace
