#include "process/desktop/fonts.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "shell/files.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

// Not the run's own working directory: that one may still hold the skeleton home that others copy from.
constexpr const char* working_directory = "/tmp/redflagroot2";

void unpack_skeleton() {
  const shell::Command tar =
      compose("tar -jxf \"%s\" -C %s/root", "/usr/local/brindle/redflagroot.tar.bz2", working_directory);
  shell::run_unlogged(compose("rm -rf %s", working_directory));
  shell::run_unlogged(compose("mkdir %s", working_directory));
  shell::run_unlogged(compose("mkdir %s/root", working_directory));
  shell::run_unlogged(tar);
  std::printf("Tar Command::%s\n", tar.c_str());
  std::printf("Home Directory Path::%s\n", working_directory);
}

// The skeleton's terminal settings name a font that shows the migrated file names.
void replace_terminal_configuration(const std::string& home) {
  std::printf("Replacing the konsole file.");
  unpack_skeleton();
  const shell::Command copy =
      compose("cp -f %s/root/.kde/share/config/konsolerc %s/.kde/share/config", working_directory, home);
  SYSTEM(copy);
  std::printf("CMD Executed::%s\n", copy.c_str());
  SYSTEM(compose("rm -rf %s", working_directory));
}

void run_and_trace(const shell::Command& command, const char* trace) {
  SYSTEM(command);
  std::printf("%s%s\n", trace, command.c_str());
}

void install_for_everybody(const char* root) {
  const shell::Command remove = compose("rm -f /usr/share/fonts/zh_CN/TrueType/fonts.cache-1");
  SYSTEM(remove);
  std::printf("Deleting file::%s", remove.c_str());  // no newline, as ever: the next output follows on it
  // The cache step is announced as copying as well; kept, it is what people look for in the output.
  constexpr const char* trace = "Copying fonts for redflag.\n";
  run_and_trace(compose("cp %s/Fonts/* /usr/share/fonts/zh_CN/TrueType", root), trace);
  run_and_trace(compose("fc-cache /usr/share/fonts/zh_CN/TrueType"), trace);
}

void install_for_user(const char* root, const std::string& home) {
  SYSTEM(compose("mkdir -p %s/.fonts", home));
  SYSTEM(compose("cp %s/Fonts/* %s/.fonts", root, home));
  SYSTEM(compose("fc-cache %s/.fonts", home));
}

// From the home's fonts, not from the archive's: the suite also gets those the user had before.
void give_to_office_suite(const std::string& home) {
  SYSTEM(compose("mkdir -p %s/.staroffice7/user/fonts", home));
  SYSTEM(compose("cp %s/.fonts/* %s/.staroffice7/user/fonts", home, home));
}

}  // namespace

int fonts(const char* args) {
  const std::string home = user_home();
  if (home.empty()) return 0;
  const bool redflag = std::strcmp(OSName, "RedFlag") == 0;
  if (redflag && isDefaultUser == 1) replace_terminal_configuration(home);
  if (redflag && isMultiUser == 1) {
    install_for_everybody(args);
  } else {
    install_for_user(args, home);
  }
  if (is_folder("/usr/bin", "staroffice") == 1) give_to_office_suite(home);
  return 0;
}
