#include "process/run/applications.h"

#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <initializer_list>
#include <set>

#include "gconf/kept_key.h"
#include "gconf/settings.h"
#include "keep/keep.h"
#include "process/archive/work_folder.h"
#include "process/mail/evolution/new_home.h"
#include "shell/ending.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/processes.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

// Where no skeleton home can be: accounts made from it have an empty home, and nothing is removed there.
constexpr const char* nowhere = "/dev/null/skeleton";

// What is there and cannot be kept stays, and the home goes without a new profile.
void copy_browser_profile(const Skeleton& skeleton, const std::string& home) {
  const std::string profile = home + "/.mozilla";
  if (!keep::before_copy_as(std::string(skeleton.folder) + "/root/.mozilla", profile)) return;
  SYSTEM(compose("cp -a %s/root/.mozilla %s", skeleton.folder, home));
  if (!keep::before_change(profile + "/appreg")) return;
  SYSTEM(compose("rm %s/.mozilla/appreg", home));
}

void remove_skeleton(const Skeleton& skeleton) { SYSTEM(compose("rm -rf %s", skeleton.folder)); }

void prepare_from_skeleton(const std::string& home, const Skeleton& skeleton) {
  if (is_folder(home.c_str(), ".mozilla") == 1) return;
  std::printf("untarring");
  if (!unpack_skeleton(skeleton)) return;
  copy_browser_profile(skeleton, home);
  remove_skeleton(skeleton);
}

bool kept_before_starting(const std::string& home, std::initializer_list<const char*> folders) {
  return std::all_of(folders.begin(), folders.end(),
                     [&](const char* folder) { return keep::before_program(home + "/" + folder); });
}

// Where an Evolution of its time and one of today keep what they make when they are started: there is no mail
// yet.
bool kept_before_evolution(const std::string& home) {
  return kept_before_starting(home, {".evolution", ".camel_certs", ".gnome2", ".gnome2_private",
                                     ".config/evolution", ".local/share/evolution"});
}

// KMail adds folders to somebody's mail and does not change the letters.
bool kept_before_kde_programs(const std::string& home) {
  return kept_before_starting(home, {".kde/share/config", ".kde/share/apps/kmail", ".kde/share/apps/kabc",
                                     ".kde/share/apps/kaddressbook"}) &&
         keep::before_adding(home + "/Mail");
}

void set_up_file_manager() {
  // A setting that fails has said so on standard error; it does not keep the run from going on.
  static_cast<void>(store_in_client({
      {"/apps/nautilus/preferences/always_use_browser", false},
      {"/apps/nautilus/preferences/start_with_sidebar", false},
      // Deliberate: part of the output. A boolean, although the key names a view.
      {"/apps/nautilus/preferences/side_pane_view", true},
  }));
}

void prepare_gnome(const Target& target, const Skeleton& skeleton) {
  const std::string& home = target.home;
  const bool has_mozilla = is_folder(home.c_str(), ".mozilla") == 1;
  std::printf("Initializing Applications for NLD.::%d\n", has_mozilla ? 1 : 0);
  set_up_file_manager();
  const bool has_evolution = is_folder(home.c_str(), ".evolution") == 1;
  if (has_mozilla && has_evolution) return;
  std::printf("untarring");
  const bool is_ours = unpack_skeleton(skeleton);
  if (is_ours && !has_mozilla) copy_browser_profile(skeleton, home);
  if (!has_evolution && kept_before_evolution(home)) start_evolution_once(target);
  if (is_ours) remove_skeleton(skeleton);
}

// Whether there were any.
bool end_newcomers(const std::string& name, const std::set<pid_t>& before) {
  bool found = false;
  for (const pid_t id : shell::Processes().called(name)) {
    if (before.contains(id)) continue;
    kill(id, SIGTERM);
    found = true;
  }
  return found;
}

// The command is waited for: a program that stays in the foreground holds the run up until it is closed. What
// it leaves behind does not stay, neither when the wizard is left in that moment nor when killall is missing
// or fails. One that somebody had open before is killall's alone.
void start_for_a_moment(const shell::Command& program, unsigned int seconds, const shell::Command& killall) {
  constexpr int looks = 50;
  constexpr useconds_t between_looks_microseconds = 20'000;
  const std::string name = program.c_str();
  const std::set<pid_t> before = shell::Processes().called(name);
  const bool started = shell::run_for_status(program) == 0;
  shell::pause_for(seconds);
  const shell::EvenAtTheEnd even_at_the_end;
  if (shell::run_for_status(killall) == 0) return;
  // One that was started this moment may not have its name yet.
  for (int look = 0; !end_newcomers(name, before) && started && look < looks; ++look)
    usleep(between_looks_microseconds);
}

void prepare_by_starting(const std::string& home) {
  if (!kept_before_kde_programs(home)) return;
  start_for_a_moment(compose("kmail"), 5, compose("killall kmail"));
  if (shell::starts_no_more_commands()) return;
  start_for_a_moment(compose("kaddressbook"), 2, compose("killall kaddressbook"));
}

}  // namespace

void prepare_applications(const Target& target) {
  std::puts("Initializing Applications..............");
  trace_home(target.home);
  switch (target.has().first_start) {
    case FirstStart::gnome:
      prepare_gnome(target, *target.has().skeleton);
      break;
    case FirstStart::from_skeleton:
      prepare_from_skeleton(target.home, *target.has().skeleton);
      break;
    case FirstStart::of_programs:
      prepare_by_starting(target.home);
      break;
    case FirstStart::none:
      break;
  }
  finish_keys(client);
  keep::settle();
  std::printf("Applications Initialization.......DONE");
}

bool unpack_skeleton(const Skeleton& skeleton) {
  // All are short constants and fit.
  static_cast<void>(assign(homedirpath, skeleton.folder));
  static_cast<void>(assign(tarfilepath, skeleton.tarball));
  shell::run_unlogged(compose("rm -rf %s", skeleton.folder));
  shell::run_unlogged(compose("mkdir %s", skeleton.folder));
  if (!claim_own_folder(skeleton.folder)) {
    static_cast<void>(assign(homedirpath, nowhere));
    return false;
  }
  if (skeleton.bzip2) shell::run_unlogged(compose("mkdir %s/root", skeleton.folder));
  const shell::Command tar = skeleton.bzip2
                                 ? compose("tar -jxf \"%s\" -C %s/root", skeleton.tarball, skeleton.folder)
                                 : compose("tar -xf \"%s\" -C %s", skeleton.tarball, skeleton.folder);
  SYSTEM(tar);
  std::printf("Tar Command::%s\n", tar.c_str());
  std::printf("Home Directory Path::%s\n", skeleton.folder);
  return true;
}
