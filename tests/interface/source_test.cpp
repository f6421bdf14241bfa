#include "callbacks/source.h"

#include <dlfcn.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>
#include <zip.h>

#include <atomic>
#include <cstdlib>
#include <utility>
#include <vector>

#include "gui.h"
#include "interface/dialogs.h"
#include "interface/windows.h"
#include "process/run/process.h"
#include "shell/ending.h"
#include "state/posts.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

std::atomic<int> workers{0};
std::atomic<bool> worker_had_argument{false};

}  // namespace

// In place of the real run: these tests look at its start only.
void* process(void* args) {
  if (args != nullptr) worker_had_argument = true;
  ++workers;
  return nullptr;
}

namespace {

int threads_left = -1;  // for so many there is room; -1: for all

// How the worker was started.
struct Start {
  gulong stack;
  gboolean joinable;
  gboolean bound;
  int priority;
  bool operator==(const Start&) const = default;
};
std::vector<Start> starts;

std::vector<guint> progress_intervals;  // in milliseconds

}  // namespace

// In place of GLib's, which comes next.
G_GNUC_BEGIN_IGNORE_DEPRECATIONS
constexpr int normal_priority = G_THREAD_PRIORITY_NORMAL;
extern "C" GThread* g_thread_create_full(GThreadFunc function, gpointer data, gulong stack, gboolean joinable,
                                         gboolean bound, GThreadPriority priority, GError** error) {
  using Create = decltype(&g_thread_create_full);
  static const auto next = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "g_thread_create_full"));
  if (threads_left == 0) return nullptr;
  if (function == process) starts.push_back({stack, joinable, bound, static_cast<int>(priority)});
  return next(function, data, stack, joinable, bound, priority, error);
}
G_GNUC_END_IGNORE_DEPRECATIONS

extern "C" guint g_timeout_add(guint interval, GSourceFunc function, gpointer data) {
  static const auto next = reinterpret_cast<decltype(&g_timeout_add)>(dlsym(RTLD_NEXT, "g_timeout_add"));
  if (function == progress_timeout) progress_intervals.push_back(interval);
  return next(interval, function, data);
}

namespace {

// A zip whose listing totals `bytes`.
void make_zip(const std::string& path, const std::string& bytes) {
  write_file("/root/make/file", "");
  ASSERT_EQ(shell_quietly("truncate -s " + bytes + " /root/make/file && cd /root/make && zip -q '" + path +
                          "' file && rm file"),
            0);
}

// Leaves exactly `blocks` free blocks of 1024 bytes in /tmp.
void leave_in_tmp(long blocks) {
  ASSERT_EQ(mount("tmp", "/tmp", "tmpfs", 0, "size=8m"), 0);
  struct statvfs room {};
  ASSERT_EQ(statvfs("/tmp", &room), 0);
  const long free_blocks = static_cast<long>(room.f_bavail) * static_cast<long>(room.f_frsize) / 1024;
  ASSERT_EQ(
      shell_quietly("head -c " + std::to_string((free_blocks - blocks) * 1024) + " /dev/zero > /tmp/filler"),
      0);
}

class SourceTest : public GuiTest {
 protected:
  void SetUp() override {
    GuiTest::SetUp();
    build_pages();
    build_dialogs();
    gtk_widget_show(window2);
    workers = 0;
    thread_id = nullptr;
  }
  void TearDown() override {
    if (timer > 0 && g_main_context_find_source_by_id(nullptr, static_cast<guint>(timer)) != nullptr) {
      g_source_remove(static_cast<guint>(timer));
    }
  }

  // Chooses the local drive and presses Next.
  static void next_with(const std::string& path) {
    press(window2, "local");
    type(window2, "entry_local", path);
    press(window2, "next2");
  }
  // The same, and something happens while the checks of a whole archive run.
  static void next_and_meanwhile(bool (*happens)()) {
    make_zip("/root/a.zip", "10");
    shell::while_waiting(happens);
    next_with("/root/a.zip");
    shell::while_waiting(nullptr);
  }
  static void expect_no_worker() {
    usleep(100000);
    EXPECT_EQ(workers, 0);
  }
  static bool run_started() {
    for (int tries = 0; tries < 50 && workers == 0; ++tries) usleep(10000);
    return workers == 1 && gtk_widget_get_visible(window3) && !gtk_widget_get_visible(window2);
  }
  static void expect_refused(const std::string& key, const std::string& text_key, const char* button) {
    GtkWidget* dialog = visible_window(shipped_text(key));
    ASSERT_NE(dialog, nullptr) << key;
    EXPECT_EQ(label_text(dialog, "message"), shipped_text(text_key));
    EXPECT_EQ(button_caption(dialog, button), "gtk-close");
    EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(dialog)));
    EXPECT_TRUE(gtk_widget_get_visible(window2));
    EXPECT_FALSE(gtk_widget_get_visible(window3));
    EXPECT_EQ(thread_id, nullptr);
    press(dialog, button);
    EXPECT_EQ(visible_window(shipped_text(key)), nullptr);
    EXPECT_TRUE(gtk_widget_get_visible(window2));
  }
};

bool editable(const char* entry) {
  return gtk_editable_get_editable(GTK_EDITABLE(lookup_widget(window2, entry)));
}

bool sensitive(const char* button) { return gtk_widget_get_sensitive(lookup_widget(window2, button)); }

TEST_F(SourceTest, SourcesHaveTheirNumbers) {
  EXPECT_EQ(CDROM, 0);
  EXPECT_EQ(REMOTE, 1);
  EXPECT_EQ(LOCAL, 2);
  EXPECT_EQ(selection, CDROM);
}

TEST_F(SourceTest, LocalClearsAndLocksTheCdrom) {
  type(window2, "entry_cdrom", "/media/a.zip");
  press(window2, "local");
  EXPECT_EQ(selection, LOCAL);
  EXPECT_FALSE(sensitive("bCdrom"));
  EXPECT_TRUE(sensitive("bLocal"));
  EXPECT_FALSE(editable("entry_cdrom"));
  EXPECT_TRUE(editable("entry_local"));
  EXPECT_EQ(entry_text(window2, "entry_cdrom"), "");
}

TEST_F(SourceTest, BackToTheCdromClearsTheLocalEntry) {
  press(window2, "local");
  type(window2, "entry_local", "/home/a.zip");
  press(window2, "cdrom");
  EXPECT_EQ(selection, CDROM);
  EXPECT_TRUE(sensitive("bCdrom"));
  EXPECT_FALSE(sensitive("bLocal"));
  EXPECT_TRUE(editable("entry_cdrom"));
  EXPECT_FALSE(editable("entry_local"));
  EXPECT_EQ(entry_text(window2, "entry_local"), "");
}

TEST_F(SourceTest, TheActiveRadioButtonChangesNothing) {
  type(window2, "entry_cdrom", "/media/a.zip");
  press(window2, "cdrom");
  EXPECT_EQ(entry_text(window2, "entry_cdrom"), "/media/a.zip");
  press(window2, "local");
  type(window2, "entry_local", "/home/a.zip");
  press(window2, "local");
  EXPECT_EQ(entry_text(window2, "entry_local"), "/home/a.zip");
}

// ---- browsing -------------------------------------------------------------------------------------

// The folder that the chooser shows, with nothing chosen in it; empty when something is.
std::string open_folder() {
  auto* chooser = GTK_FILE_SELECTION(fileselection);
  const std::string typed = gtk_entry_get_text(GTK_ENTRY(chooser->selection_entry));
  return typed.empty() ? gtk_file_selection_get_filename(chooser) : "";
}

TEST_F(SourceTest, BrowseLocalOpensTheChooserAtTheRoot) {
  press(window2, "local");
  press(window2, "bLocal");
  EXPECT_TRUE(gtk_widget_get_visible(fileselection));
  EXPECT_EQ(title_of(fileselection), shipped_text("createfileselection"));
  EXPECT_EQ(open_folder(), "/");
}

TEST_F(SourceTest, OkPutsTheNameIntoTheEntryOfTheSource) {
  write_file("/home/ann/My Archive.zip", "x");
  press(window2, "local");
  press(window2, "bLocal");
  gtk_file_selection_set_filename(GTK_FILE_SELECTION(fileselection), "/home/ann/My Archive.zip");
  press(fileselection, "ok_button_fileselection");
  EXPECT_EQ(entry_text(window2, "entry_local"), "/home/ann/My Archive.zip");
  EXPECT_EQ(entry_text(window2, "entry_cdrom"), "");
  EXPECT_FALSE(gtk_widget_get_visible(fileselection));
}

TEST_F(SourceTest, TheRemoteSourceHasNoEntryAndNoCrash) {
  selection = REMOTE;
  on_ok_button_fileselection_clicked(nullptr, nullptr);
  on_next2_clicked(nullptr, nullptr);
  expect_refused("nofilespecified", "nofilespecified-label13", "closebutton_nofilespecified");
  selection = CDROM;
}

TEST_F(SourceTest, CancelAndClosingHideTheChooser) {
  press(window2, "local");
  type(window2, "entry_local", "/a.zip");
  press(window2, "bLocal");
  press(fileselection, "cancel_button1");
  EXPECT_FALSE(gtk_widget_get_visible(fileselection));
  press(window2, "bLocal");
  EXPECT_TRUE(gtk_widget_get_visible(fileselection));
  close_window(fileselection);
  ASSERT_NE(fileselection, nullptr);
  EXPECT_FALSE(gtk_widget_get_visible(fileselection));
  EXPECT_TRUE(on_fileselection_delete_event(fileselection, nullptr, nullptr));
  press(window2, "bLocal");
  EXPECT_TRUE(gtk_widget_get_visible(fileselection));
  EXPECT_EQ(entry_text(window2, "entry_local"), "/a.zip");
}

void stand_in_for_mount(const std::string& listing) {
  write_file("/usr/local/bin/mount", "#!/bin/sh\n[ \"$1\" = -l ] && printf '" + listing + "'\nexit 0\n");
  shell_quietly("chmod +x /usr/local/bin/mount");
}

TEST_F(SourceTest, NoDiscShowsTheMountError) {
  forget_commands();
  press(window2, "bCdrom");
  const auto commands = commands_run();
  ASSERT_EQ(commands.size(), 2U);
  EXPECT_EQ(commands[0], "mount /dev/cdrom");
  EXPECT_EQ(commands[1].rfind("mount -l -t iso9660 > ", 0), 0U);
  GtkWidget* dialog = visible_window(shipped_text("createerrormountingcdrom"));
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(label_text(dialog, "message"), "Error on mounting CD-ROM");
  EXPECT_EQ(button_caption(dialog, "closebutton1"), "gtk-close");
  EXPECT_FALSE(gtk_widget_get_visible(fileselection));
  press(dialog, "closebutton1");
  EXPECT_EQ(visible_window(shipped_text("createerrormountingcdrom")), nullptr);
}

TEST_F(SourceTest, BrowseCdromOpensTheChooserAtTheFirstDisc) {
  shell_quietly("mkdir -p /media/first /media/second");
  stand_in_for_mount(
      "/dev/hdc on /media/first type iso9660 (ro)\\n/dev/hdd on /media/second type iso9660\\n");
  press(window2, "bCdrom");
  EXPECT_TRUE(gtk_widget_get_visible(fileselection));
  EXPECT_EQ(open_folder(), "/media/first");
}

// Chooses a name in the open chooser, given in the machine's encoding of file names.
void choose_file(const std::string& name) {
  gtk_file_selection_set_filename(GTK_FILE_SELECTION(fileselection), name.c_str());
  press(fileselection, "ok_button_fileselection");
}

TEST_F(SourceTest, BrowseGoesOnWhereOneWasAndStartsAtTheRoot) {
  shell_quietly("mkdir -p /home/ann/zips /media/disc /media/discs");
  write_file("/home/ann/zips/a.zip", "x");
  press(window2, "local");
  press(window2, "bLocal");
  choose_file("/home/ann/zips/a.zip");
  press(window2, "bLocal");
  EXPECT_EQ(open_folder(), "/home/ann/zips");
  gtk_file_selection_set_filename(GTK_FILE_SELECTION(fileselection), "/home/");
  press(fileselection, "cancel_button1");
  press(window2, "bLocal");
  EXPECT_EQ(open_folder(), "/home");
  gtk_file_selection_set_filename(GTK_FILE_SELECTION(fileselection), "/home/ann/zips/");
  close_window(fileselection);
  press(window2, "bLocal");
  EXPECT_EQ(open_folder(), "/home/ann/zips");
  press(fileselection, "cancel_button1");
  shell_quietly("rm -r /home/ann/zips");
  press(window2, "bLocal");
  EXPECT_EQ(open_folder(), "/");
}

TEST_F(SourceTest, BrowseCdromStaysOnTheDisc) {
  shell_quietly("mkdir -p /media/disc/below /media/discs");
  stand_in_for_mount("/dev/sr0 on /media/disc type iso9660 (ro)\\n");
  press(window2, "bCdrom");
  gtk_file_selection_set_filename(GTK_FILE_SELECTION(fileselection), "/media/discs/");
  press(fileselection, "cancel_button1");
  press(window2, "bCdrom");
  EXPECT_EQ(open_folder(), "/media/disc");
  gtk_file_selection_set_filename(GTK_FILE_SELECTION(fileselection), "/media/disc/below/");
  press(fileselection, "cancel_button1");
  press(window2, "bCdrom");
  EXPECT_EQ(open_folder(), "/media/disc/below");
}

bool press_next_and_browse_meanwhile() {
  press(window2, "next2");
  press(window2, "bCdrom");
  return true;
}

TEST_F(SourceTest, WhileADiscIsMountedNothingElseBegins) {
  make_zip("/root/a.zip", "10");
  shell_quietly("mkdir -p /media/disc");
  stand_in_for_mount("/dev/sr0 on /media/disc type iso9660 (ro)\\n");
  type(window2, "entry_cdrom", "/root/a.zip");
  shell_quietly("sed -i '2i echo \"$*\" >>/root/mounts' /usr/local/bin/mount");
  shell::while_waiting(press_next_and_browse_meanwhile);
  press(window2, "bCdrom");
  shell::while_waiting(nullptr);
  EXPECT_EQ(read_file("/root/mounts"), "/dev/cdrom\n-l -t iso9660\n");
  EXPECT_EQ(workers, 0);
  EXPECT_TRUE(gtk_widget_get_visible(fileselection));
  press(fileselection, "cancel_button1");
  press(window2, "next2");
  EXPECT_TRUE(run_started());
}

bool go_back_meanwhile() {
  static bool pressed = false;
  if (!std::exchange(pressed, true)) press(window2, "back2");
  return true;
}

TEST_F(SourceTest, WhoGoesBackWhileADiscIsMountedSeesNoChooser) {
  shell_quietly("mkdir -p /media/disc");
  stand_in_for_mount("/dev/sr0 on /media/disc type iso9660 (ro)\\n");
  shell::while_waiting(go_back_meanwhile);
  press(window2, "bCdrom");
  shell::while_waiting(nullptr);
  EXPECT_FALSE(gtk_widget_get_visible(fileselection));
  EXPECT_TRUE(gtk_widget_get_visible(window1));
}

bool choose_local_meanwhile() {
  press(window2, "local");
  return true;
}

TEST_F(SourceTest, WhoChoosesTheOtherSourceWhileADiscIsMountedSeesNoChooser) {
  shell_quietly("mkdir -p /media/disc");
  stand_in_for_mount("/dev/sr0 on /media/disc type iso9660 (ro)\\n");
  shell::while_waiting(choose_local_meanwhile);
  press(window2, "bCdrom");
  shell::while_waiting(nullptr);
  EXPECT_FALSE(gtk_widget_get_visible(fileselection));
}

// The kernel's table of what is mounted, as this process sees it.
void mount_table_holds(const std::string& lines) {
  write_file("/tmp/table", lines);
  ASSERT_EQ(mount("/tmp/table", "/proc/self/mounts", nullptr, MS_BIND, nullptr), 0);
}

TEST_F(SourceTest, ADiscWithBlanksInItsLabelOpensItsFolder) {
  shell_quietly("mkdir -p /media/My '/media/My Old Disc' '/media/My Other'");
  stand_in_for_mount("/dev/sr0 on /media/My Old Disc type iso9660 (ro) [My Old Disc]\\n");
  mount_table_holds(
      "/dev/sdb1 /media/My\\040USB vfat rw 0 0\n/dev/sr0 /media/My\\040Old\\040Disc iso9660 ro 0 0\n"
      "/dev/sr1 /media/My\\040Other iso9660 ro 0 0\n");
  press(window2, "bCdrom");
  EXPECT_EQ(open_folder(), "/media/My Old Disc");
}

TEST_F(SourceTest, ADiscWithoutBlanksIsNotTakenForAnother) {
  shell_quietly("mkdir -p /media/My '/media/My Disc'");
  stand_in_for_mount("/dev/sr0 on /media/My type iso9660 (ro)\\n");
  mount_table_holds("/dev/sr1 /media/My\\040Disc iso9660 ro 0 0\n/dev/sr0 /media/My iso9660 ro 0 0\n");
  press(window2, "bCdrom");
  EXPECT_EQ(open_folder(), "/media/My");
}

// On a machine whose file names are in Latin 1.
class Latin1Test : public SourceTest {
 protected:
  static void SetUpTestSuite() {
    setenv("G_FILENAME_ENCODING", "ISO-8859-1", 1);
    GuiTest::SetUpTestSuite();
  }
};

TEST_F(Latin1Test, AChosenNameIsShownReadableAndFound) {
  make_zip("/root/M\xfcller.zip", "10");
  press(window2, "local");
  press(window2, "bLocal");
  choose_file("/root/M\xfcller.zip");
  EXPECT_EQ(entry_text(window2, "entry_local"), "/root/Müller.zip");
  press(window2, "next2");
  EXPECT_STREQ(g_filename, "/root/M\xfcller.zip");
  EXPECT_TRUE(run_started());
}

TEST_F(Latin1Test, ATypedNameIsFound) {
  make_zip("/root/M\xfcller.zip", "10");
  next_with("/root/Müller.zip");
  EXPECT_STREQ(g_filename, "/root/M\xfcller.zip");
  EXPECT_TRUE(run_started());
}

TEST_F(Latin1Test, ANameThatTheEncodingCannotSayIsNoFile) {
  next_with("/root/€.zip");
  expect_refused("nofilefound", "nofilefound-label14", "closebutton_noFileFound");
}

// ---- Next -----------------------------------------------------------------------------------------

TEST_F(SourceTest, EmptyPath) {
  assign(g_filename, "before");
  next_with("");
  EXPECT_STREQ(g_filename, "");
  expect_refused("nofilespecified", "nofilespecified-label13", "closebutton_nofilespecified");
}

TEST_F(SourceTest, MissingFile) {
  next_with("/home/missing.zip");
  EXPECT_STREQ(g_filename, "/home/missing.zip");
  expect_refused("nofilefound", "nofilefound-label14", "closebutton_noFileFound");
  EXPECT_EQ(entry_text(window2, "entry_local"), "/home/missing.zip");
}

TEST_F(SourceTest, ATarIsNoZip) {
  shell_quietly("mkdir /root/t && echo x > /root/t/f && tar -cf /root/a.tar -C /root t");
  next_with("/root/a.tar");
  expect_refused("notzipfile", "notzipfile-label15", "closebutton_notZipFile");
}

TEST_F(SourceTest, AFolderIsNoZip) {
  next_with("/root");
  expect_refused("notzipfile", "notzipfile-label15", "closebutton_notZipFile");
}

TEST_F(SourceTest, APathOf256BytesIsRefusedAndNeverCut) {
  const std::string path = "/" + std::string(127, 'a') + "/" + std::string(127, 'b');  // 256 bytes
  write_file(path, "x");
  write_file(path.substr(0, 255), "x");
  next_with(path);
  expect_refused("nofilefound", "nofilefound-label14", "closebutton_noFileFound");
  EXPECT_STREQ(g_filename, "");
}

TEST_F(SourceTest, APathOf255BytesIsTaken) {
  const std::string path = "/root/" + std::string(124, 'a') + "/" + std::string(120, 'b') + ".zip";
  ASSERT_EQ(path.size(), 255U);
  make_zip("/root/a.zip", "10");
  write_file(path, read_file("/root/a.zip"));
  next_with(path);
  EXPECT_TRUE(run_started());
  EXPECT_EQ(g_filename, path);
}

TEST_F(SourceTest, AGoodArchiveStartsTheRun) {
  make_zip("/root/a.zip", "20000000");
  g_isEncrypted = 1;
  timer = 0;
  worker_runs = false;
  forget_commands();
  next_with("/root/a.zip");
  EXPECT_TRUE(run_started());
  EXPECT_FALSE(worker_had_argument);
  EXPECT_EQ(starts, (std::vector<Start>{{0, FALSE, FALSE, normal_priority}}));
  EXPECT_EQ(progress_intervals, std::vector<guint>{200});
  EXPECT_NE(g_main_context_find_source_by_id(nullptr, static_cast<guint>(timer)), nullptr);
  EXPECT_TRUE(worker_runs);
  EXPECT_NE(thread_id, nullptr);
  EXPECT_EQ(g_isEncrypted, 0);
  EXPECT_STREQ(g_filename, "/root/a.zip");
  const auto commands = commands_run();
  ASSERT_EQ(commands.size(), 3U);
  EXPECT_EQ(commands[0].rfind("file -b \"/root/a.zip\" > ", 0), 0U);
  EXPECT_EQ(commands[1].rfind("unzip -l \"/root/a.zip\" | awk '{print $1}' | tail -n 1 > ", 0), 0U);
  EXPECT_EQ(commands[2].rfind("df /tmp | awk '{print $4}' | tail -n 1 > ", 0), 0U);
}

TEST_F(SourceTest, TheProgressTimeoutRunsEvery200MillisecondsOnTheUnpackedSize) {
  make_zip("/root/a.zip", "20000000");  // the file itself is far smaller
  const gint64 start = g_get_monotonic_time();
  next_with("/root/a.zip");
  const gint64 begun = g_get_monotonic_time();
  GtkWidget* bar = lookup_widget(window3, "progressbar1");
  while (gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(bar)) < 0.05) {
    g_main_context_iteration(nullptr, TRUE);
  }
  const gint64 end = g_get_monotonic_time();
  EXPECT_GE((end - start) / 1000, 390);  // two ticks of 0.025, the first counted from Next
  EXPECT_LT((end - begun) / 1000, 1500);
}

TEST_F(SourceTest, ASecondNextDoesNotStartASecondWorker) {
  make_zip("/root/a.zip", "10");
  next_with("/root/a.zip");
  ASSERT_TRUE(run_started());
  type(window2, "entry_local", "/root/other.zip");
  press(window2, "next2");
  usleep(100000);
  EXPECT_EQ(workers, 1);
  EXPECT_STREQ(g_filename, "/root/a.zip");
}

bool leave_page_meanwhile() {
  static bool pressed = false;
  if (!std::exchange(pressed, true)) press(window2, "back2");
  return true;
}

TEST_F(SourceTest, WhoGoesBackWhileTheChecksRunStartsNothing) {
  next_and_meanwhile(leave_page_meanwhile);
  expect_no_worker();
  EXPECT_TRUE(gtk_widget_get_visible(window1));
  EXPECT_FALSE(gtk_widget_get_visible(window3));
}

TEST_F(SourceTest, WhoGoesBackWhileTheChecksRunIsToldNothingOfThem) {
  write_file("/root/a.txt", "no zip");
  shell::while_waiting(leave_page_meanwhile);
  next_with("/root/a.txt");
  shell::while_waiting(nullptr);
  EXPECT_TRUE(gtk_widget_get_visible(window1));
  EXPECT_EQ(visible_window(shipped_text("notzipfile")), nullptr);
}

// The password is wiped behind the checks.
bool leave_page_after_the_checks() { return g_password[0] != '\0' || leave_page_meanwhile(); }

TEST_F(SourceTest, WhoGoesBackWhileTheArchiveIsLookedThroughStartsNothing) {
  shell_quietly(
      "python3 -c 'import zipfile\nwith zipfile.ZipFile(\"/root/many.zip\", \"w\") as z:\n"
      " for i in range(20000): z.writestr(str(i), \"\")'");
  assign(g_password, "before");
  shell::while_waiting(leave_page_after_the_checks);
  next_with("/root/many.zip");
  shell::while_waiting(nullptr);
  EXPECT_TRUE(gtk_widget_get_visible(window1));
  EXPECT_FALSE(gtk_widget_get_visible(window3));
  expect_no_worker();
}

bool press_again_meanwhile() {
  press(window2, "next2");
  return true;
}

TEST_F(SourceTest, NextPressedAgainWhileTheChecksRunChecksOnce) {
  next_and_meanwhile(press_again_meanwhile);
  EXPECT_TRUE(run_started());
  EXPECT_EQ(workers, 1);
}

bool end_meanwhile() { return false; }

TEST_F(SourceTest, AWizardThatIsLeftWhileTheChecksRunStartsNothing) {
  next_and_meanwhile(end_meanwhile);
  expect_no_worker();
  EXPECT_TRUE(gtk_widget_get_visible(window2));
}

TEST_F(SourceTest, WithoutRoomForAThreadThePageStays) {
  make_zip("/root/a.zip", "10");
  threads_left = 0;
  testing::internal::CaptureStderr();
  next_with("/root/a.zip");
  EXPECT_NE(testing::internal::GetCapturedStderr().find("could not be started"), std::string::npos);
  threads_left = -1;
  EXPECT_EQ(thread_id, nullptr);
  EXPECT_FALSE(worker_runs);
  EXPECT_EQ(timer, 0);
  EXPECT_TRUE(gtk_widget_get_visible(window2));
  EXPECT_FALSE(gtk_widget_get_visible(window3));
  press(window2, "next2");  // another try
  EXPECT_TRUE(run_started());
}

TEST_F(SourceTest, TheCdromEntryServesTheCdrom) {
  make_zip("/root/a.zip", "10");
  type(window2, "entry_cdrom", "/root/a.zip");
  press(window2, "next2");
  EXPECT_TRUE(run_started());
}

TEST_F(SourceTest, AMillionBytesNeed2000Blocks) {
  make_zip("/root/a.zip", "1000000");
  leave_in_tmp(1996);
  next_with("/root/a.zip");
  expect_refused("notenoughspace", "notenoughspace-label16", "closebutton_notEnoughSpace");
  EXPECT_EQ(entry_text(window2, "entry_local"), "/root/a.zip");
  EXPECT_TRUE(exists("/tmp/filler"));
}

TEST_F(SourceTest, AMillionBytesFitInto2000Blocks) {
  make_zip("/root/a.zip", "1000000");
  leave_in_tmp(2000);
  next_with("/root/a.zip");
  EXPECT_TRUE(run_started());
}

// df and unzip say whatever a test wants.
void stand_in(const std::string& name, const std::string& output) {
  write_file("/usr/local/bin/" + name, "#!/bin/sh\nprintf '" + output + "'\n");
  shell_quietly("chmod +x /usr/local/bin/" + name);
}

void tmp_says(const std::string& blocks) {
  stand_in("df", "a b c d e f\\ntmpfs 1 1 " + blocks + " 1 /tmp\\n");
}

TEST_F(SourceTest, TheSpaceTestIsStrictAndCutsTheDivision) {
  make_zip("/root/a.zip", "1000000");
  tmp_says("1999");
  next_with("/root/a.zip");
  expect_refused("notenoughspace", "notenoughspace-label16", "closebutton_notEnoughSpace");
  stand_in("unzip", "1000499 1 file\\n");  // still 2000 whole
  tmp_says("2000");
  next_with("/root/a.zip");
  EXPECT_TRUE(run_started());
}

TEST_F(SourceTest, AListingBeyondAnIntDoesNotPassByOverflow) {
  make_zip("/root/a.zip", "10");
  stand_in("unzip", "4294967296500 1 file\\n");  // 500 in 32 bits
  tmp_says("4000000");
  next_with("/root/a.zip");
  expect_refused("notenoughspace", "notenoughspace-label16", "closebutton_notEnoughSpace");
}

TEST_F(SourceTest, AListingBeyondAnIntMovesTheProgressAsTheLargestOne) {
  make_zip("/root/a.zip", "10");
  stand_in("unzip", "4294967796 1 file\\n");  // 500 in 32 bits
  tmp_says("9000000");
  next_with("/root/a.zip");
  ASSERT_TRUE(run_started());
  GtkWidget* bar = lookup_widget(window3, "progressbar1");
  for (int tries = 0; tries < 300 && gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(bar)) == 0; ++tries) {
    settle();
    usleep(10000);
  }
  EXPECT_NEAR(gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(bar)), 0.05 / 214, 1e-6);
}

TEST_F(SourceTest, AFailingFileCommandCountsAsAZip) {
  make_zip("/root/a.zip", "10");
  write_file("/usr/local/bin/file", "#!/bin/sh\nexit 1\n");
  shell_quietly("chmod +x /usr/local/bin/file");
  next_with("/root/a.zip");
  EXPECT_TRUE(run_started());
}

TEST_F(SourceTest, AListingThatFailsPassesTheSpaceTest) {
  make_zip("/root/a.zip", "10");
  stand_in("unzip", "");
  tmp_says("0");
  next_with("/root/a.zip");
  EXPECT_TRUE(run_started());
}

TEST_F(SourceTest, WithoutDfEvery500BytesAreTooMany) {
  make_zip("/root/a.zip", "499");
  make_zip("/root/b.zip", "500");
  stand_in("df", "");
  next_with("/root/b.zip");
  expect_refused("notenoughspace", "notenoughspace-label16", "closebutton_notEnoughSpace");
  next_with("/root/a.zip");
  EXPECT_TRUE(run_started());
}

TEST_F(SourceTest, HostilePathsRunNothing) {
  for (const char* path : {"/root/$(touch /root/hit).zip", "/root/`touch hit`.zip",
                           "/root/\"; touch hit; \".zip", "/root/a\nb.zip", "/root/'quote'.zip"}) {
    make_zip("/root/plain.zip", "10");
    write_file(path, read_file("/root/plain.zip"));
    thread_id = nullptr;
    workers = 0;
    gtk_widget_show(window2);
    // A newline cannot be typed into an entry but comes out of the chooser all the same.
    next_with(path);
    EXPECT_TRUE(run_started()) << path;
    EXPECT_FALSE(exists("/root/hit"));
    EXPECT_FALSE(exists("hit"));
    TearDown();
    gtk_widget_hide(window3);
  }
}

TEST_F(SourceTest, ClosingACheckDialogIsItsButton) {
  next_with("");
  close_window(visible_window(shipped_text("nofilespecified")));
  EXPECT_EQ(visible_window(shipped_text("nofilespecified")), nullptr);
  next_with("");
  EXPECT_NE(visible_window(shipped_text("nofilespecified")), nullptr);
}

TEST_F(SourceTest, TheReservedRemoteDialog) {
  GtkWidget* dialog = create_noRemote();
  gtk_widget_show(dialog);
  EXPECT_EQ(title_of(dialog), shipped_text("noremote"));
  EXPECT_EQ(label_text(dialog, "message"), shipped_text("noremote-label2"));
  EXPECT_EQ(button_caption(dialog, "closebutton2"), "gtk-close");
  press(dialog, "closebutton2");
  EXPECT_EQ(visible_window(shipped_text("noremote")), nullptr);
}

// ---- encrypted archives ------------------------------------------------------------------------------

// The first entry is open, the others are locked.
void make_locked_zip(const std::string& path, const std::string& password) {
  shell_quietly("cd /root; rm -f z.zip; echo first > 1; zip -q z.zip 1; echo second > 2; zip -q -P '" +
                password + "' z.zip 2; echo third > 3; zip -q z.zip 3; mv z.zip '" + path + "'");
}

void make_aes_zip(const std::string& path) {
  int error = 0;
  zip_t* zip = zip_open(path.c_str(), ZIP_CREATE, &error);
  zip_file_add(zip, "open", zip_source_buffer(zip, "1", 1, 0), 0);
  const zip_int64_t number = zip_file_add(zip, "locked", zip_source_buffer(zip, "2", 1, 0), 0);
  zip_file_set_encryption(zip, static_cast<zip_uint64_t>(number), ZIP_EM_AES_256, "sesame");
  ASSERT_EQ(zip_close(zip), 0);
}

// Runs the main loop until `over`, at most so long.
template <typename Over>
void run_for(int milliseconds, Over over) {
  for (int passed = 0; passed < milliseconds && !over(); passed += 10) {
    settle();
    usleep(10000);
  }
}

class LockedTest : public SourceTest {
 protected:
  void SetUp() override {
    SourceTest::SetUp();
    make_locked_zip("/root/a.zip", "sesame");
    next_with("/root/a.zip");
  }
  static GtkWidget* dialog() { return visible_window(shipped_text("zippassword")); }
  static GtkWidget* wrong() { return visible_window(shipped_text("zipwrongpassword")); }
  static void answer(const std::string& password) {
    type(dialog(), "entry_zipPassword", password);
    press(dialog(), "okbutton_zipPassword");
  }
};

TEST_F(LockedTest, TheDialogAsksForThePassword) {
  ASSERT_NE(dialog(), nullptr);
  EXPECT_EQ(label_text(dialog(), "message"), shipped_text("zippassword-label17"));
  EXPECT_FALSE(gtk_entry_get_visibility(GTK_ENTRY(lookup_widget(dialog(), "entry_zipPassword"))));
  EXPECT_EQ(label_text(dialog(), "label_zipPassword"), "");
  EXPECT_EQ(button_caption(dialog(), "cancelbutton_zipPassword"), "gtk-cancel");
  EXPECT_EQ(button_caption(dialog(), "okbutton_zipPassword"), "gtk-ok");
  EXPECT_TRUE(gtk_window_get_modal(GTK_WINDOW(dialog())));
  EXPECT_EQ(thread_id, nullptr);
  EXPECT_TRUE(gtk_widget_get_visible(window2));
}

TEST_F(LockedTest, TheRightPasswordStartsTheRun) {
  answer("sesame");
  EXPECT_TRUE(run_started());
  EXPECT_STREQ(g_password, "sesame");
  EXPECT_EQ(g_isEncrypted, 1);
  EXPECT_STREQ(g_filename, "/root/a.zip");
  EXPECT_EQ(dialog(), nullptr);
  EXPECT_NE(std::getenv("UNZIP"), nullptr);
  EXPECT_STREQ(std::getenv("UNZIP"), "");  // room, and nothing in it
}

TEST_F(LockedTest, APasswordThatComesAfterTheStartStartsNoSecondRun) {
  answer("sesame");
  ASSERT_TRUE(run_started());
  gtk_widget_show(create_zipPassword());
  answer("sesame");
  EXPECT_NE(wrong(), nullptr);
  usleep(100000);
  EXPECT_EQ(workers, 1);
}

TEST_F(LockedTest, EnterIsOk) {
  type(dialog(), "entry_zipPassword", "sesame");
  gtk_widget_activate(lookup_widget(dialog(), "entry_zipPassword"));
  run_for(1000, [] { return thread_id != nullptr; });  // the button shows itself pressed for a moment
  EXPECT_TRUE(run_started());
}

TEST_F(LockedTest, TheProgressIsOnTheSizeOfThisArchive) {
  shell_quietly("cd /root; head -c 20000000 /dev/zero > 4; zip -q a.zip 4");
  press(dialog(), "cancelbutton_zipPassword");
  press(window2, "next2");
  answer("sesame");
  ASSERT_TRUE(run_started());
  GtkWidget* bar = lookup_widget(window3, "progressbar1");
  run_for(2000, [&] { return gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(bar)) > 0; });
  EXPECT_NEAR(gtk_progress_bar_get_fraction(GTK_PROGRESS_BAR(bar)), 0.025, 0.001);
}

TEST_F(LockedTest, AWrongPasswordIsToldAndMayBeTypedAgain) {
  for (const char* password : {"Sesame", "", "sesame "}) {
    answer(password);
    ASSERT_NE(wrong(), nullptr) << password;
    EXPECT_EQ(label_text(wrong(), "message"), shipped_text("zipwrongpassword-label21"));
    EXPECT_EQ(button_caption(wrong(), "closebutton_zipWrongPassword"), "gtk-close");
    EXPECT_EQ(thread_id, nullptr);
    EXPECT_STREQ(g_password, "");
    press(wrong(), "closebutton_zipWrongPassword");
    EXPECT_EQ(wrong(), nullptr);
    ASSERT_NE(dialog(), nullptr);
    EXPECT_EQ(entry_text(dialog(), "entry_zipPassword"), "");
  }
  answer("sesame");
  EXPECT_TRUE(run_started());
}

TEST_F(LockedTest, CancelAndClosingLeaveTheSourcePage) {
  press(dialog(), "cancelbutton_zipPassword");
  EXPECT_EQ(dialog(), nullptr);
  EXPECT_EQ(entry_text(window2, "entry_local"), "/root/a.zip");
  press(window2, "next2");
  close_window(dialog());
  EXPECT_EQ(dialog(), nullptr);
  EXPECT_TRUE(gtk_widget_get_visible(window2));
  EXPECT_EQ(thread_id, nullptr);
  EXPECT_STREQ(g_password, "");
}

TEST_F(LockedTest, AnotherArchiveNeedsNoPasswordOfThisOne) {
  press(dialog(), "cancelbutton_zipPassword");
  assign(g_password, "left over");
  g_isEncrypted = 1;
  make_zip("/root/b.zip", "10");
  next_with("/root/b.zip");
  EXPECT_TRUE(run_started());
  EXPECT_STREQ(g_password, "");
  EXPECT_EQ(g_isEncrypted, 0);
  EXPECT_EQ(std::getenv("UNZIP"), nullptr);
}

TEST_F(LockedTest, SpaceIsLookedAtFirst) {
  press(dialog(), "cancelbutton_zipPassword");
  shell_quietly("cd /root; head -c 1000 /dev/zero > 4; zip -q a.zip 4");
  tmp_says("1");
  next_with("/root/a.zip");
  EXPECT_EQ(dialog(), nullptr);
  expect_refused("notenoughspace", "notenoughspace-label16", "closebutton_notEnoughSpace");
}

TEST_F(SourceTest, AnEncryptionThatUnzipCannotReadIsRefused) {
  make_aes_zip("/root/aes.zip");
  next_with("/root/aes.zip");
  EXPECT_EQ(visible_window(shipped_text("zippassword")), nullptr);
  expect_refused("zipotherencryption", "zipotherencryption-label22", "closebutton_zipOtherEncryption");
}

TEST_F(SourceTest, APatternOrADashIsTheNameOfOneArchive) {
  make_zip("/root/a1.zip", "4000000");
  make_zip("/root/x.zip", "10");
  shell_quietly("cd /root; cp x.zip 'a[1].zip'; cp x.zip ./-a.zip");
  ASSERT_EQ(chdir("/root"), 0);
  tmp_says("1000");
  for (const char* name : {"/root/a[1].zip", "a[1].zip", "-a.zip"}) {
    thread_id = nullptr;
    workers = 0;
    gtk_widget_show(window2);
    next_with(name);
    EXPECT_TRUE(run_started()) << name;
    EXPECT_STREQ(g_filename, name);
    TearDown();
    gtk_widget_hide(window3);
  }
}

TEST_F(SourceTest, ThePasswordDialogByItself) {
  GtkWidget* dialog = create_zipPassword();
  gtk_widget_show(dialog);
  type(dialog, "entry_zipPassword", "secret");
  press(dialog, "okbutton_zipPassword");
  EXPECT_TRUE(gtk_widget_get_visible(dialog));
  EXPECT_STREQ(g_password, "");
  EXPECT_EQ(thread_id, nullptr);
  press(dialog, "cancelbutton_zipPassword");
  EXPECT_EQ(visible_window(shipped_text("zippassword")), nullptr);
}

}  // namespace
