#include "process/run/process.h"

#include <gconf/gconf-client.h>
#include <glib.h>
#include <pthread.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "error/log.h"
#include "process/archive/layout.h"
#include "process/archive/safety.h"
#include "process/printers/cups.h"
#include "process/printers/foomatic.h"
#include "process/run/accounts.h"
#include "process/run/applications.h"
#include "process/run/items.h"
#include "process/run/sequence.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/posts.h"
#include "state/question.h"
#include "state/state.h"
#include "system/detection.h"
#include "system/system.h"

namespace {

// Where the archive root is said to be when no temporary directory could be made: a place that cannot
// exist, so nothing is found, written or removed there.
constexpr const char* nowhere = "/dev/null";

// ---- Endings -----------------------------------------------------------------------------------------

void end_run() {
  g_clear_object(&client);
  write_log("ends", fp_log);
}

void remove_unpacked_archive() { SYSTEM(compose("rm -rf %s", dir_name.load())); }

void show_end(int (*dialog)(void*)) {
  remove_progress_timeout();
  post_to_gui(done_button_bar, nullptr);
  if (isKilled == 0) {
    write_log("show popup dialog", fp_log);
    post_to_gui(dialog, nullptr);
  }
}

// ---- Start and unpacking -----------------------------------------------------------------------------

void start_gconf() {
  SYSTEM(compose("gconftool-2 --spawn"));
  client = gconf_client_get_default();
  if (client == nullptr) std::printf("gconf_client_get_default NULL\n");
}

void make_temporary_directory() {
  static char path[] = "/tmp/brindXXXXXX";
  std::strcpy(path, "/tmp/brindXXXXXX");
  dir_name = mkdtemp(path);
  if (dir_name == nullptr) std::perror("In process() create temp dir: ");
}

// Returns the archive root.
std::string unpack_archive() {
  make_temporary_directory();
  const char* made = dir_name;
  const std::string dir = made == nullptr ? nowhere : made;
  std::printf("Dir Name::%s", dir.c_str());
  if (shell::run_unlogged(compose("unzip -o \"%s\" -d \"%s\"", g_filename, made)) < 0)
    std::perror("In process() Unzip: ");
  if (made != nullptr) remove_unsafe_entries(dir);
  const std::string root = dir + "/" + layout::root;
  std::printf("Temp Dir Path::%s\n", root.c_str());
  return root;
}

[[noreturn]] void give_up() {
  remove_unpacked_archive();
  end_run();
  std::exit(0);
}

const char* default_user_name() { return default_user == nullptr ? "" : default_user; }

void check_users(const std::string& root) {
  if (CheckMultiUser(root.c_str()) == -1) give_up();
  std::printf("Is Multi User::%d\n", isMultiUser);
  std::printf("Default User::%s\n", default_user_name());
}

void refuse_several_users() {
  remove_unpacked_archive();
  write_log("delete Brindle folder", fp_log);
  show_end(show_popup_multi_user_error_window);
  end_run();
}

// ---- Printers ----------------------------------------------------------------------------------------

int migrate_printers_as_root(const std::string& root) {
  int result = 1;
  if (is_folder(root.c_str(), layout::printers) == 1)
    result = detected_system() == System::gnome ? nldprinter(root.c_str()) : printer(root.c_str());
  post_mark("image_12", result == 0 ? 0 : -1);
  return result;
}

int refuse_printers() {
  printer_notice.ask();
  post_mark("image_12", -1);
  return 1;
}

int migrate_printers(const std::string& root, const std::string& home) {
  return home == "/root" ? migrate_printers_as_root(root) : refuse_printers();
}

// ---- The running user --------------------------------------------------------------------------------

void run_step(const Step& step, const std::string& root, System system, int printerresult) {
  const func_t migrator = step.migrator[static_cast<int>(system)];
  const char* trace = step.trace[static_cast<int>(system)];
  if (step.whom == For::profiles || migrator == nullptr) return;
  if (trace != nullptr) std::printf("%s", trace);
  switch (step.what) {
    case Does::documents: {
      const char* documents = documents_folder(root.c_str());
      item(nullptr, step.mark, documents, migrator, (root + "/" + documents).c_str());
      break;
    }
    case Does::item:
      item(nullptr, step.mark, step.folder, migrator, root.c_str());
      break;
    case Does::call:
      migrator(root.c_str());
      break;
    case Does::printer_mark:
      post_mark(step.mark, printerresult != 0 ? -1 : 0);
      break;
    case Does::shared_fonts:
      break;
  }
}

void migrate_running_user(const std::string& root, int printerresult) {
  isDefaultUser = 1;
  assign(new_dir_path, root.c_str());
  std::printf("New Dir Path::%s\n", new_dir_path);
  std::printf("Doing for default user::%s\n", default_user_name());
  const System system = detected_system();
  for (const Step& step : sequence()) run_step(step, root, system, printerresult);
}

void clean_up() {
  remove_unpacked_archive();
  // Empty when no skeleton home was used: the command then removes nothing.
  shell::run_unlogged(compose("rm -rf %s", homedirpath));
  write_log("delete Brindle folder", fp_log);
}

}  // namespace

void* process(void* args) {
  pthread_setname_np(pthread_self(), "worker");
  if (getOsVersion(static_cast<char*>(args)) == 1) return nullptr;
  std::printf("\nOS Name::%s\n", OSName);
  std::printf("OS Version::%s\n", OSVersion);
  if (std::strcmp(OSName, "INVALID") == 0) {
    remove_progress_timeout();
    end_run();
    return nullptr;
  }
  if (detected_system() == System::gnome) start_gconf();

  const std::string root = unpack_archive();
  check_users(root);
  const std::string home = user_home();
  prepare_applications(home);
  if (isMultiUser == 1 && home != "/root") {
    refuse_several_users();
    return nullptr;
  }
  const int printerresult = migrate_printers(root, home);
  if (isMultiUser == 1) {
    migrate_profiles(root);
  } else {
    post_mark("image_0", -1);
  }
  migrate_running_user(root, printerresult);
  clean_up();
  show_end(show_popup_window);
  end_run();
  return nullptr;
}
