#include "interface/printer_windows.h"

#include "callbacks/driver_choice.h"
#include "callbacks/share_credentials.h"
#include "gui.h"
#include "interface/windows.h"
#include "state/posts.h"
#include "state/state.h"
#include "support/files.h"

namespace {

class DriverWindowTest : public GuiTest {
 protected:
  void SetUp() override {
    GuiTest::SetUp();
    displaylabel = "Brother HL-5250DN series";
    isWindowSelectDriverOpen = 1;
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

TEST_F(DriverWindowTest, ClosingIsNoAnswerAndTheWindowStays) {
  show_popup_window_select_driver(nullptr);
  close_window(window_select_driver);
  ASSERT_NE(window_select_driver, nullptr);
  EXPECT_TRUE(gtk_widget_get_visible(window_select_driver));
  EXPECT_EQ(isWindowSelectDriverOpen, 1);
  press(window_select_driver, "skip");
  press(window_select_driver, "next2");
  EXPECT_EQ(isWindowSelectDriverOpen, 0);
}

TEST_F(DriverWindowTest, WithoutTextsTheWorkerGetsSkip) {
  setenv("LANG", "xx_XX", 1);
  assign(selecteddriver, "before");
  show_popup_window_select_driver(nullptr);
  EXPECT_STREQ(selecteddriver, "");
  EXPECT_EQ(isWindowSelectDriverOpen, 0);
}

TEST_F(DriverWindowTest, ATitleThatIsNoUtf8IsShownAsFarAsItGoes) {
  displaylabel =
      "Br\xfc"
      "cke";
  show_popup_window_select_driver(nullptr);
  EXPECT_EQ(title_of(window_select_driver),
            "Br\xef\xbf\xbd"
            "cke");
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

TEST_F(CredentialsTest, ClosingTheFirstWindowKeepsIt) {
  type(smb_username_password_window, "entry_username", "anna");
  close_window(smb_username_password_window);
  ASSERT_NE(smb_username_password_window, nullptr);
  EXPECT_TRUE(gtk_widget_get_visible(smb_username_password_window));
  EXPECT_EQ(entry_text(smb_username_password_window, "entry_username"), "anna");
  EXPECT_EQ(isWindowSmbUsernamePasswordOpen, 1);
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
