#include "process/run/process.h"

#include <glib.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <stop_token>
#include <string>
#include <system_error>
#include <thread>

#include "error/log.h"
#include "gconf/kept_key.h"
#include "keep/keep.h"
#include "process/archive/code_page.h"
#include "process/archive/encryption.h"
#include "process/archive/layout.h"
#include "process/archive/names.h"
#include "process/archive/safety.h"
#include "process/archive/spelling.h"
#include "process/archive/unzip_watch.h"
#include "process/archive/work_folder.h"
#include "process/run/accounts.h"
#include "process/run/applications.h"
#include "process/run/items.h"
#include "process/run/run_note.h"
#include "process/run/walk.h"
#include "shell/files.h"
#include "shell/run.h"
#include "state/posts.h"
#include "state/state.h"
#include "system/detection.h"
#include "system/language.h"
#include "system/target.h"
#include "things/gconf_calls.h"

namespace {

// Where the archive root is said to be when no temporary directory could be made, or the wizard was left
// before it was full: a place that cannot exist, so nothing is found, written or removed there.
constexpr const char* nowhere = "/dev/null";

// ---- Start and unpacking -----------------------------------------------------------------------------

void trace_system(const char* name, const char* version) {
  std::printf("\nOS Name::%s\n", name);
  std::printf("OS Version::%s\n", version);
}

GConfClient* start_gconf() {
  if (!keep_settings_folder()) return nullptr;
  SYSTEM(compose("gconftool-2 --spawn"));
  GConfClient* started = late::gconf_client_get_default();
  if (started == nullptr) std::printf("gconf_client_get_default NULL\n");
  return started;
}

// Null, with the reason on standard error, when there is none.
char* make_temporary_directory() {
  static char path[] = "/tmp/brindXXXXXX";
  std::strcpy(path, "/tmp/brindXXXXXX");
  char* made = mkdtemp(path);
  if (made == nullptr) std::perror("In process() create temp dir: ");
  return made;
}

bool no_longer_wanted() { return !Unpacking::is_wanted(); }

void forget_password() { explicit_bzero(g_password, sizeof g_password); }

// system() returns when unzip has ended, which may take minutes.
void take_back_password(const std::stop_token& unzip_has_ended, const char* directory) {
  constexpr useconds_t pause_microseconds = 2000;
  while (!unzip_has_ended.stop_requested() && !is_worked_on(directory)) usleep(pause_microseconds);
  PasswordForUnzip::take_back();
}

// Without a thread the password is taken back when unzip has ended.
std::jthread watch_unzip(const char* directory, const std::string& password) {
  if (password.empty()) return {};
  try {
    return std::jthread(take_back_password, directory);
  } catch (const std::system_error& error) {
    std::fprintf(stderr, "In process() Unzip: %s\n", error.what());
    return {};
  }
}

// Says how far unzip went too far. A null directory is refused by the composer.
Overrun run_unzip(const char* archive, const char* directory, const std::string& password) {
  const PasswordForUnzip in_environment(password);
  const std::jthread watcher = watch_unzip(directory, password);
  std::optional<UnzipWatch> watch;
  if (directory != nullptr) watch.emplace(archive, directory);
  const int status =
      shell::run_unlogged(compose("unzip -o \"%s\" -d \"%s\"", as_archive(archive), directory));
  if (status < 0) std::perror("In process() Unzip: ");
  const Overrun overrun = watch ? watch->end() : Overrun::none;
  if (overrun == Overrun::none && status > 0 && WIFSIGNALED(status))
    std::fprintf(stderr, "In process() Unzip: %s\n", strsignal(WTERMSIG(status)));
  return overrun;
}

void tell_about(Overrun overrun) {
  std::fprintf(stderr, "Unpacking has been stopped, and nothing is migrated: %s.\n",
               overrun == Overrun::room ? "there is not enough room left in /tmp"
                                        : "the archive holds more than its list says");
  if (isKilled == 0) post_to_gui(show_popup_unpacking_stopped, nullptr);
}

// What unzip has left, made safe and given its names.
void mend(const char* archive, const std::string& place, const std::string& password) {
  remove_unsafe_entries(place);
  const std::string locale = persons_locale();
  restore_names({.archive = archive,
                 .folder = place,
                 .code_page = dos_code_page(locale),
                 .password = password.c_str(),
                 .encrypted_are_missing = !unzip_takes(password)},
                no_longer_wanted);
}

// Makes the temporary directory and returns the archive root in it.
std::string unpack(const char* archive, std::string password) {
  const Unpacking unpacking;
  // A wizard that has been left before wants nothing to lie about.
  if (Unpacking::is_wanted()) dir_name = make_temporary_directory();
  const char* directory = dir_name;
  const std::string place = directory == nullptr ? nowhere : directory;
  std::printf("Dir Name::%s", place.c_str());
  const Overrun overrun = Unpacking::is_wanted() ? run_unzip(archive, directory, password) : Overrun::none;
  if (overrun != Overrun::none) {
    remove_unpacked_part(place);
    tell_about(overrun);
  }
  const bool is_whole = overrun == Overrun::none && Unpacking::is_wanted();
  if (directory != nullptr && is_whole) mend(archive, place, password);
  wipe(password);
  forget_password();
  // Half an archive is nobody's data.
  std::string root = (is_whole && Unpacking::is_wanted() ? place : nowhere) + "/" + layout::root;
  std::printf("Temp Dir Path::%s\n", root.c_str());
  return root;
}

void trace_users(int several, const char* name) {
  std::printf("Is Multi User::%d\n", several);
  std::printf("Default User::%s\n", name == nullptr ? "" : name);
}

// ---- Endings -----------------------------------------------------------------------------------------

void remove_unpacked(const char* directory) { SYSTEM(compose("rm -rf %s", directory)); }

// `folder` is empty when no skeleton home was used: the command then removes nothing.
void remove_skeleton_home(const char* folder) { shell::run_unlogged(compose("rm -rf %s", folder)); }

void show_dialog(int (*dialog)(void*), std::FILE* log) {
  write_log("show popup dialog", log);
  post_to_gui(dialog, nullptr);
}

void end_run(GConfClient*& settings, std::FILE* log) {
  g_clear_object(&settings);
  write_log("ends", log);
}

[[noreturn]] void give_up(const char* directory, GConfClient*& settings, std::FILE* log) {
  remove_unpacked(directory);
  keep::end_run();
  end_run(settings, log);
  std::exit(0);
}

void run_to_the_end(char* args) {
  if (getOsVersion(args) == 1) return;
  trace_system(OSName, OSVersion);
  if (detected_unserved_release()) {
    forget_password();
    keep::end_run();
    remove_progress_timeout(timer);
    return end_run(client, fp_log);
  }
  begin_run_note(g_filename);
  // Start-up has begun it when it changed something.
  if (keep::folder_of_run().empty()) keep::begin_run(target_of("").home, std::time(nullptr));
  if (capabilities(detected_system()).gconf) client = start_gconf();

  post_beginning(Phase::unpacking);
  const std::string root = unpack(g_filename, g_password);
  if (CheckMultiUser(root.c_str()) == -1) give_up(dir_name, client, fp_log);
  trace_users(isMultiUser, default_user);
  if (isMultiUser != 0) add_profiles_to_run_note(root.c_str());

  const Target target = target_of(root.c_str());
  post_beginning(Phase::getting_ready);
  prepare_applications(target);
  add_kept_folder_to_run_note();
  const bool refused = target.one_of_several && target.home != "/root";
  if (!refused) walk_steps(target, root);
  add_kept_folder_to_run_note();

  post_beginning(Phase::cleaning_up);
  remove_unpacked(dir_name);
  if (!refused) remove_skeleton_home(homedirpath);
  write_log("delete Brindle folder", fp_log);
  keep::end_run();
  end_run_note(refused ? RunEnd::refused : RunEnd::ended);
  remove_progress_timeout(timer);
  post_to_gui(done_button_bar, nullptr);
  if (isKilled == 0) show_dialog(refused ? show_popup_multi_user_error_window : show_popup_window, fp_log);
  end_run(client, fp_log);
}

}  // namespace

void* process(void* args) {
  pthread_setname_np(pthread_self(), "worker");
  shell::allow_long_commands();  // before the first command
  run_to_the_end(static_cast<char*>(args));
  worker_runs = false;
  return nullptr;
}
