#include "process/run/applications.h"

#include <glib.h>
#include <unistd.h>

#include <cstdio>

#include "gconf/client.h"
#include "process/mail/evolution/new_home.h"
#include "process/run/sequence.h"
#include "shell/files.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

struct Skeleton {
  const char* folder;
  const char* tarball;
  bool bzip2;  // such a tarball holds the home's content; a plain one brings the folder "root" itself
};

constexpr Skeleton gnome_skeleton = {"/tmp/nldroot", "/usr/local/brindle/nldroot.tar.bz2", true};
constexpr Skeleton linspire_skeleton = {"/tmp/linspireroot", "/usr/local/brindle/linspireroot.tar", false};
constexpr Skeleton redflag_skeleton = {"/tmp/redflagroot", "/usr/local/brindle/redflagroot.tar.bz2", true};

void unpack(const Skeleton& skeleton) {
  assign(homedirpath, skeleton.folder);
  assign(tarfilepath, skeleton.tarball);
  shell::run_unlogged(compose("rm -rf %s", homedirpath));
  shell::run_unlogged(compose("mkdir %s", homedirpath));
  if (skeleton.bzip2) shell::run_unlogged(compose("mkdir %s/root", homedirpath));
  const shell::Command tar = skeleton.bzip2 ? compose("tar -jxf \"%s\" -C %s/root", tarfilepath, homedirpath)
                                            : compose("tar -xf \"%s\" -C %s", tarfilepath, homedirpath);
  SYSTEM(tar);
  std::printf("Tar Command::%s\n", tar.c_str());
  std::printf("Home Directory Path::%s\n", homedirpath);
}

void copy_browser_profile(const std::string& home) {
  SYSTEM(compose("cp -a %s/root/.mozilla %s", homedirpath, home));
  // The profile registry names the skeleton's paths; the browser makes a new one.
  SYSTEM(compose("rm %s/.mozilla/appreg", home));
}

void prepare_from_skeleton(const std::string& home, const Skeleton& skeleton) {
  if (is_folder(home.c_str(), ".mozilla") == 1) return;
  std::printf("untarring");
  unpack(skeleton);
  copy_browser_profile(home);
  SYSTEM(compose("rm -rf %s", homedirpath));
}

void prepare_gnome(const std::string& home) {
  const bool has_mozilla = is_folder(home.c_str(), ".mozilla") == 1;
  std::printf("Initializing Applications for NLD.::%d\n", has_mozilla ? 1 : 0);
  set_gconf_bool("/apps/nautilus/preferences/always_use_browser", FALSE);
  set_gconf_bool("/apps/nautilus/preferences/start_with_sidebar", FALSE);
  // A boolean although the key names a view: kept, the file manager has always been given one.
  set_gconf_bool("/apps/nautilus/preferences/side_pane_view", TRUE);
  const bool has_evolution = is_folder(home.c_str(), ".evolution") == 1;
  if (has_mozilla && has_evolution) return;
  std::printf("untarring");
  unpack(gnome_skeleton);
  if (!has_mozilla) copy_browser_profile(home);
  if (!has_evolution) launch_evolution();
  SYSTEM(compose("rm -rf %s", homedirpath));
}

void prepare_by_starting() {
  // In the foreground: the desktop's launcher returns once the program is up.
  SYSTEM(compose("kmail"));
  sleep(5);
  SYSTEM(compose("killall kmail"));
  SYSTEM(compose("kaddressbook"));
  sleep(2);
  SYSTEM(compose("killall kaddressbook"));
}

}  // namespace

void prepare_applications(const std::string& home) {
  std::puts("Initializing Applications..............");
  switch (detected_system()) {
    case System::gnome:
      prepare_gnome(home);
      break;
    case System::xandros:
      prepare_by_starting();
      break;
    case System::linspire:
      prepare_from_skeleton(home, linspire_skeleton);
      break;
    case System::redflag:
      prepare_from_skeleton(home, redflag_skeleton);
      break;
    case System::other:
      break;
  }
  std::printf("Applications Initialization.......DONE");
}

void unpack_skeleton_for_accounts() {
  switch (detected_system()) {
    case System::gnome:
      unpack(gnome_skeleton);
      break;
    case System::linspire:
      unpack(linspire_skeleton);
      break;
    case System::redflag:
      unpack(redflag_skeleton);
      break;
    case System::xandros:
    case System::other:
      break;
  }
}
