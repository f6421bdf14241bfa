#include "process/desktop/fonts.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <vector>

#include "keep/keep.h"
#include "process/archive/layout.h"
#include "process/archive/work_folder.h"
#include "shell/copy.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/kept.h"
#include "shell/run.h"
#include "system/target.h"

namespace {

// Not the run's own folder for the skeleton home: a link to the shared files may copy from there after the
// fonts.
constexpr const char* working_directory = "/tmp/redflagroot2";

// False when somebody else holds the working directory.
bool unpack(const char* tarball) {
  const shell::Command tar = compose("tar -jxf \"%s\" -C %s/root", tarball, working_directory);
  shell::run_unlogged(compose("rm -rf %s", working_directory));
  shell::run_unlogged(compose("mkdir %s", working_directory));
  if (!claim_own_folder(working_directory)) return false;
  shell::run_unlogged(compose("mkdir %s/root", working_directory));
  shell::run_unlogged(tar);
  std::printf("Tar Command::%s\n", tar.c_str());
  std::printf("Home Directory Path::%s\n", working_directory);
  return true;
}

// False when the settings that are there could not be kept.
bool replace_terminal_settings(const std::string& home, const char* tarball) {
  std::printf("Replacing the konsole file.");
  if (!unpack(tarball)) return true;
  const shell::Command copy =
      compose("cp -f %s/root/.kde/share/config/konsolerc %s/.kde/share/config", working_directory, home);
  const bool kept = copy_over(copy, std::string(working_directory) + "/root/.kde/share/config/konsolerc",
                              home + "/.kde/share/config/konsolerc") ||
                    errno != not_kept;
  if (kept) std::printf("CMD Executed::%s\n", copy.c_str());
  SYSTEM(compose("rm -rf %s", working_directory));
  remove_own_folder(working_directory);  // when there is no rm, or no command any more
  return kept;
}

// False when what is there could not be kept. What was left to us and failed is on standard error; the fonts
// succeed all the same, as with a command that fails.
bool copy_fonts(const shell::Command& command, const std::string& from, const std::string& to) {
  return copy_entries(command, from, to, CopyLike::cp) || errno != not_kept;
}

// What fc-cache of one version or another writes into a folder of fonts, or removes there.
bool kept_before_caching(const std::string& folder) {
  return keep::before_change(folder + "/fonts.cache-1") && keep::before_change(folder + "/.uuid");
}

bool install_for_everybody(const std::string& folder) {
  const std::string fonts_of_all = "/usr/share/fonts/zh_CN/TrueType";
  if (!kept_before_caching(fonts_of_all)) return false;
  const shell::Command remove = compose("rm -f /usr/share/fonts/zh_CN/TrueType/fonts.cache-1");
  SYSTEM(remove);
  // Deliberate: part of the output. No newline here, and the cache step is announced as copying as well.
  std::printf("Deleting file::%s", remove.c_str());
  constexpr const char* trace = "Copying fonts for redflag.\n%s\n";
  const shell::Command copy = compose("cp %s/* /usr/share/fonts/zh_CN/TrueType", folder);
  if (!copy_fonts(copy, folder, fonts_of_all)) return false;
  std::printf(trace, copy.c_str());
  const shell::Command cache = compose("fc-cache /usr/share/fonts/zh_CN/TrueType");
  SYSTEM(cache);
  std::printf(trace, cache.c_str());
  return true;
}

bool install_for_user(const std::string& folder, const std::string& home) {
  if (!keep::before_change(home + "/.fonts")) return false;
  SYSTEM(compose("mkdir -p %s/.fonts", home));
  if (!copy_fonts(compose("cp %s/* %s/.fonts", folder, home), folder, home + "/.fonts")) return false;
  if (!kept_before_caching(home + "/.fonts")) return false;
  SYSTEM(compose("fc-cache %s/.fonts", home));
  return true;
}

// Deliberate: part of the output. From the home's fonts, not from the archive's. The suite also gets those
// the user had before, and none of the migrated ones where they are everybody's.
bool give_to_office_suite(const std::string& home) {
  for (const std::string& name : list_folder(home + "/.fonts").value_or(std::vector<std::string>()))
    if (!keep::before_reading(home + "/.fonts/" + name)) return false;
  if (!keep::before_change(home + "/.staroffice7/user/fonts")) return false;
  SYSTEM(compose("mkdir -p %s/.staroffice7/user/fonts", home));
  return copy_fonts(compose("cp %s/.fonts/* %s/.staroffice7/user/fonts", home, home), home + "/.fonts",
                    home + "/.staroffice7/user/fonts");
}

bool install(const Target& target) {
  const std::string folder = target.root + "/" + layout::fonts;
  return target.has().fonts_for_everybody && target.one_of_several ? install_for_everybody(folder)
                                                                   : install_for_user(folder, target.home);
}

}  // namespace

int fonts(const char* args) {
  const Target target = target_of(args);
  trace_home(target.home);
  if (target.home.empty()) return 0;
  if (target.has().brings_terminal_settings && target.is_running_user &&
      !replace_terminal_settings(target.home, target.has().skeleton->tarball))
    return -1;
  if (!install(target)) return -1;
  if (is_folder("/usr/bin", "staroffice") == 1 && !give_to_office_suite(target.home)) return -1;
  return 0;
}
