#include "callbacks/source.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "interface/dialogs.h"
#include "interface/parts.h"
#include "interface/windows.h"
#include "process/archive/checks.h"
#include "process/archive/code_page.h"
#include "process/archive/encryption.h"
#include "process/run/process.h"
#include "shell/ending.h"
#include "shell/files.h"
#include "state/posts.h"
#include "state/state.h"
#include "system/language.h"
#include "system/target.h"

enum cd selection = CDROM;
GThread* thread_id = nullptr;

namespace {

constexpr const char* entry_names[] = {"entry_cdrom", "entry_remote", "entry_local"};

using OwnedText = std::unique_ptr<char, void (*)(void*)>;

// Null for REMOTE: no page has that entry.
GtkWidget* entry_of(enum cd source, GtkWidget* page) { return lookup_widget(page, entry_names[source]); }

std::string text_of(GtkWidget* entry) { return entry == nullptr ? "" : gtk_entry_get_text(GTK_ENTRY(entry)); }

void lock_entry(GtkWidget* entry) {
  set_editable(entry, false);
  gtk_entry_set_text(GTK_ENTRY(entry), "");
}

// ---- The chooser -----------------------------------------------------------------------------------------

// It gives names in the machine's encoding of file names; entries hold UTF-8.

std::string owned(char* text) { return text == nullptr ? "" : OwnedText(text, g_free).get(); }

std::string shown_file_name(const char* file_name) { return owned(g_filename_display_name(file_name)); }

// What the encoding cannot say is left as it is: no file is called so.
std::string file_name(const std::string& shown) {
  const std::string name = owned(g_filename_from_utf8(shown.c_str(), -1, nullptr, nullptr, nullptr));
  return name.empty() ? shown : name;
}

// The folder that the chooser showed when it was closed last, with a slash at its end.
std::string last_folder;

void close_chooser() {
  if (fileselection == nullptr) return;
  const std::string name = gtk_file_selection_get_filename(GTK_FILE_SELECTION(fileselection));
  const bool is_the_folder = g_file_test(name.c_str(), G_FILE_TEST_IS_DIR) != FALSE;
  last_folder = is_the_folder && !name.ends_with('/') ? name + "/" : name.substr(0, name.rfind('/') + 1);
  gtk_widget_hide(fileselection);
}

// Opens it at `folder`, which ends with a slash, and goes on to where the person was before, when that is in
// there.
void open_chooser_at(GtkWidget* chooser, const std::string& folder) {
  if (chooser == nullptr) return;
  gtk_file_selection_set_filename(GTK_FILE_SELECTION(chooser), folder.c_str());
  if (last_folder.starts_with(folder) && g_file_test(last_folder.c_str(), G_FILE_TEST_IS_DIR) != FALSE)
    gtk_file_selection_set_filename(GTK_FILE_SELECTION(chooser), last_folder.c_str());
  show_over_page(chooser);
}

// ----------------------------------------------------------------------------------------------------------

// Deliberate: bytes over 500 against blocks of 1024 bytes, so a person needs about twice the size of the
// unpacked archive. In 64 bits, so that a huge listing does not pass by overflow.
bool fits_into_tmp(long long bytes, const std::string& home) { return bytes / 500 <= tmp_blocks(home); }

using DialogBuilder = GtkWidget* (*)();

// The dialog of the first check that `path` fails, or null. `bytes` receives the unpacked size.
DialogBuilder failed_check(const char* path, const std::string& home, long long& bytes) {
  if (!open_file(path, "r")) return create_noFileFound;
  // Deliberate: only a definite no stops a person, a file(1) that fails does not.
  if (isZipfile(path) == 0) return create_notZipFile;
  bytes = zip_bytes(path, home);
  return fits_into_tmp(bytes, home) ? nullptr : create_notEnoughSpace;
}

int start_progress(long long bytes) {
  static int zip_size;  // read by the timeout during the whole run
  zip_size = static_cast<int>(std::clamp<long long>(bytes, INT_MIN, INT_MAX));
  return static_cast<int>(g_timeout_add(200, progress_timeout, &zip_size));
}

GThread* start_worker() {
  worker_runs = true;
  // Deprecated since GLib 2.32; an older one has no other call.
  G_GNUC_BEGIN_IGNORE_DEPRECATIONS
  return g_thread_create_full(process, nullptr, 0, FALSE, FALSE, G_THREAD_PRIORITY_NORMAL, nullptr);
  G_GNUC_END_IGNORE_DEPRECATIONS
}

// The page of the archive stays, for another try: the machine may have room for a thread later.
void give_up_run() {
  std::fputs("brindle: the migration could not be started: no room for another thread\n", stderr);
  worker_runs = false;
  remove_progress_timeout(timer);
  timer = 0;
}

void start_run(long long bytes) {
  timer = start_progress(bytes);
  g_isEncrypted = g_password[0] != '\0' ? 1 : 0;
  thread_id = start_worker();
  if (thread_id == nullptr) return give_up_run();
  gtk_widget_hide(window2);
  if (window3 != nullptr) gtk_widget_show(window3);
}

// The unpacked size of the archive whose password is asked for.
long long locked_bytes = 0;

void ask_for_password(long long bytes) {
  locked_bytes = bytes;
  show_over_page(create_zipPassword());
}

// Keeps the password for the worker, if it opens the archive.
bool keep_password(std::string typed) {
  std::optional<std::string> password = password_for(g_filename, typed, dos_code_page(persons_locale()));
  const bool kept = password && assign(g_password, password->c_str());
  wipe(typed);
  if (password) wipe(*password);
  return kept;
}

// Commands of this page run, and the windows live on meanwhile. One button's at a time: what the other one
// would begin is not to go on beside them, and a worker least of all. Wanted no more when the person has gone
// elsewhere.
class PageCommands {
 public:
  PageCommands() : was_shown_(is_shown()), was_chosen_(selection) { goes_on = true; }
  ~PageCommands() { goes_on = false; }
  PageCommands(const PageCommands&) = delete;
  PageCommands& operator=(const PageCommands&) = delete;

  static bool are_running() { return goes_on; }
  bool are_still_wanted() const {
    return !shell::is_told_to_end() && is_shown() == was_shown_ && selection == was_chosen_;
  }

 private:
  static bool is_shown() { return window2 != nullptr && gtk_widget_get_visible(window2); }
  static inline bool goes_on = false;

  bool was_shown_;
  enum cd was_chosen_;
};

// The list of an archive of many thousand files takes longer to read than a click may wait for its answer, so
// the windows live on meanwhile.
Encryption encryption_beside_windows(const std::string& path) {
  constexpr unsigned int pause_microseconds = 2000;
  try {
    std::future<Encryption> found = std::async(std::launch::async, encryption_of_archive, path);
    while (found.wait_for(std::chrono::seconds(0)) != std::future_status::ready &&
           shell::pause_and_serve(pause_microseconds)) {
    }
    return found.get();
  } catch (const std::system_error&) {  // no room for another thread
    return encryption_of_archive(path);
  }
}

}  // namespace

// The guards in the two handlers: a switch makes the toolkit signal both buttons of the group, and the old
// one must not undo it.
void on_cdrom_clicked(GtkButton* /*button*/, gpointer /*user_data*/) {
  if (selection == CDROM) return;
  selection = CDROM;
  gtk_widget_set_sensitive(lookup_widget(window2, "bCdrom"), TRUE);
  gtk_widget_set_sensitive(lookup_widget(window2, "bLocal"), FALSE);
  set_editable(lookup_widget(window2, "entry_cdrom"), true);
  lock_entry(lookup_widget(window2, "entry_local"));
}

void on_local_clicked(GtkButton* /*button*/, gpointer /*user_data*/) {
  if (selection == LOCAL) return;
  selection = LOCAL;
  gtk_widget_set_sensitive(lookup_widget(window2, "bCdrom"), FALSE);
  gtk_widget_set_sensitive(lookup_widget(window2, "bLocal"), TRUE);
  lock_entry(lookup_widget(window2, "entry_cdrom"));
  set_editable(lookup_widget(window2, "entry_local"), true);
}

void on_bLocal_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { open_chooser_at(fileselection, "/"); }

void on_bCdrom_clicked(GtkButton* /*button*/, gpointer /*user_data*/) {
  if (thread_id != nullptr || PageCommands::are_running()) return;
  const PageCommands mounting;
  const OwnedText mount_point(mount_cdrom_remote("iso9660"), std::free);
  if (!mounting.are_still_wanted()) return;
  if (mount_point == nullptr) return show_over_page(create_errorMountingCdrom());
  open_chooser_at(fileselection, whole_mount_point(mount_point.get(), "iso9660") + "/");
}

void on_ok_button_fileselection_clicked(GtkButton* /*button*/, gpointer /*user_data*/) {
  const char* name = gtk_file_selection_get_filename(GTK_FILE_SELECTION(fileselection));
  GtkWidget* entry = entry_of(selection, window2);
  if (entry != nullptr) gtk_entry_set_text(GTK_ENTRY(entry), shown_file_name(name).c_str());
  close_chooser();
}

void on_cancel_button1_clicked(GtkButton* /*button*/, gpointer /*user_data*/) { close_chooser(); }

gboolean on_fileselection_delete_event(GtkWidget* /*widget*/, GdkEvent* /*event*/, gpointer /*user_data*/) {
  close_chooser();
  return TRUE;
}

void on_next2_clicked(GtkButton* /*button*/, gpointer /*user_data*/) {
  // A second click while the checks run: one worker is enough, and g_filename is its.
  if (thread_id != nullptr || PageCommands::are_running()) return;
  const std::string typed = file_name(text_of(entry_of(selection, window2)));
  // A path too long for the worker is refused whole: cut, it would name another file.
  const bool fits = assign(g_filename, typed.c_str());
  if (typed.empty()) return show_over_page(create_noFileSpecified());
  if (!fits) return show_over_page(create_noFileFound());
  long long bytes = 0;
  const PageCommands checks;
  const DialogBuilder create_dialog = failed_check(g_filename, target_of("").home, bytes);
  if (!checks.are_still_wanted()) return;
  if (create_dialog != nullptr) return show_over_page(create_dialog());
  explicit_bzero(g_password, sizeof g_password);
  const Encryption encryption = encryption_beside_windows(g_filename);
  if (!checks.are_still_wanted()) return;
  if (encryption == Encryption::other) return show_over_page(create_zipOtherEncryption());
  if (encryption == Encryption::traditional) return ask_for_password(bytes);
  start_run(bytes);
}

void on_closebutton_nofilespecified_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
}

void on_closebutton_noFileFound_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
}

void on_closebutton_notZipFile_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
}

void on_closebutton_notEnoughSpace_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
}

void on_closebutton1_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
}

void on_closebutton2_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
}

void on_cancelbutton_zipPassword_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
}

void on_okbutton_zipPassword_clicked(GtkButton* button, gpointer /*user_data*/) {
  GtkWidget* entry = lookup_widget(GTK_WIDGET(button), "entry_zipPassword");
  const bool kept = thread_id == nullptr && keep_password(text_of(entry));
  gtk_entry_set_text(GTK_ENTRY(entry), "");
  if (!kept) return show_over_page(create_zipWrongPassword());
  destroy_window_of(GTK_WIDGET(button));
  prepare_unzip_variable();
  start_run(locked_bytes);
}

void on_closebutton_zipWrongPassword_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
}

void on_closebutton_zipOtherEncryption_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
}

void on_closebutton_unpackingStopped_clicked(GtkButton* button, gpointer /*user_data*/) {
  destroy_window_of(GTK_WIDGET(button));
}
