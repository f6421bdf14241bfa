#include "process/desktop/fonts.h"

#include <cstdio>
#include <string>

#include "process/archive/layout.h"
#include "shell/copy.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/run.h"
#include "system/target.h"

namespace {

// Not the run's own folder for the skeleton home: a link to the shared files may copy from there after the
// fonts.
constexpr const char* working_directory = "/tmp/redflagroot2";

void unpack(const char* tarball) {
  const shell::Command tar = compose("tar -jxf \"%s\" -C %s/root", tarball, working_directory);
  shell::run_unlogged(compose("rm -rf %s", working_directory));
  shell::run_unlogged(compose("mkdir %s", working_directory));
  shell::run_unlogged(compose("mkdir %s/root", working_directory));
  shell::run_unlogged(tar);
  std::printf("Tar Command::%s\n", tar.c_str());
  std::printf("Home Directory Path::%s\n", working_directory);
}

void replace_terminal_settings(const std::string& home, const char* tarball) {
  std::printf("Replacing the konsole file.");
  unpack(tarball);
  const shell::Command copy =
      compose("cp -f %s/root/.kde/share/config/konsolerc %s/.kde/share/config", working_directory, home);
  copy_over(copy, std::string(working_directory) + "/root/.kde/share/config/konsolerc",
            home + "/.kde/share/config/konsolerc");
  std::printf("CMD Executed::%s\n", copy.c_str());
  SYSTEM(compose("rm -rf %s", working_directory));
}

// Both ways to install are false when the fonts were too many for the command and could not be copied here.
bool install_for_everybody(const std::string& folder) {
  const shell::Command remove = compose("rm -f /usr/share/fonts/zh_CN/TrueType/fonts.cache-1");
  SYSTEM(remove);
  // Deliberate: part of the output. No newline here, and the cache step is announced as copying as well.
  std::printf("Deleting file::%s", remove.c_str());
  constexpr const char* trace = "Copying fonts for redflag.\n%s\n";
  const shell::Command copy = compose("cp %s/* /usr/share/fonts/zh_CN/TrueType", folder);
  const bool copied = copy_entries(copy, folder, "/usr/share/fonts/zh_CN/TrueType", CopyLike::cp);
  std::printf(trace, copy.c_str());
  const shell::Command cache = compose("fc-cache /usr/share/fonts/zh_CN/TrueType");
  SYSTEM(cache);
  std::printf(trace, cache.c_str());
  return copied;
}

bool install_for_user(const std::string& folder, const std::string& home) {
  SYSTEM(compose("mkdir -p %s/.fonts", home));
  const bool copied =
      copy_entries(compose("cp %s/* %s/.fonts", folder, home), folder, home + "/.fonts", CopyLike::cp);
  SYSTEM(compose("fc-cache %s/.fonts", home));
  return copied;
}

// Deliberate: part of the output. From the home's fonts, not from the archive's. The suite also gets those
// the user had before, and none of the migrated ones where they are everybody's.
bool give_to_office_suite(const std::string& home) {
  SYSTEM(compose("mkdir -p %s/.staroffice7/user/fonts", home));
  return copy_entries(compose("cp %s/.fonts/* %s/.staroffice7/user/fonts", home, home), home + "/.fonts",
                      home + "/.staroffice7/user/fonts", CopyLike::cp);
}

}  // namespace

int fonts(const char* args) {
  const Target target = target_of(args);
  trace_home(target.home);
  if (target.home.empty()) return 0;
  if (target.has().brings_terminal_settings && target.is_running_user)
    replace_terminal_settings(target.home, target.has().skeleton->tarball);
  const std::string folder = target.root + "/" + layout::fonts;
  const bool for_everybody = target.has().fonts_for_everybody && target.one_of_several;
  bool copied = for_everybody ? install_for_everybody(folder) : install_for_user(folder, target.home);
  if (is_folder("/usr/bin", "staroffice") == 1) copied = give_to_office_suite(target.home) && copied;
  return copied ? 0 : -1;
}
