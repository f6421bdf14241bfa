#include "process/desktop/documents.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "keep/keep.h"
#include "process/archive/layout.h"
#include "process/desktop/konqueror.h"
#include "shell/copy.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/kept.h"
#include "shell/replace.h"
#include "shell/run.h"
#include "state/state.h"
#include "system/target.h"

namespace {

// ---- Documents ---------------------------------------------------------------------------------------

// Deliberate: part of the format. The Chinese name is UTF-8 taken for Latin-1 and encoded again, so a Chinese
// desktop shows twelve other characters. Spelt out, because some of them are control characters.
constexpr const char* documents_link =
    "[Desktop Entry]\n"
    "Version=1.0\n"
    "Encoding=UTF-8\n"
    "Name=My Documents\n"
    "Name[zh_CN]="
    "\xC3\xA6\xC2\x88\xC2\x91\xC3\xA7\xC2\x9A\xC2\x84\xC3\xA6\xC2\x96\xC2\x87\xC3\xA6\xC2\xA1\xC2\xA3\n"
    "Type=Link\n"
    "URL=@home@/Documents\n"
    "@icon@";

enum class Copied { all, not_all, not_begun };

// What came of copy_entries, right after it.
Copied outcome(bool copied) {
  if (copied) return Copied::all;
  return errno == not_kept ? Copied::not_begun : Copied::not_all;
}

// Copies the content of the archive's `folder` into `destination`, a folder of the home. Not all when that
// was left to us and failed.
Copied copy_documents(const std::string& folder, const std::string& destination) {
  if (!keep::before_change(destination)) return Copied::not_begun;
  SYSTEM(compose("mkdir -p %s", destination));
  // Deliberate: part of the output, the blank at the end.
  const shell::Command copy = compose("cp -a \"%s\"/* %s ", folder, destination);
  const Copied copied = outcome(copy_entries(copy, folder, destination, CopyLike::cp_a));
  if (copied != Copied::not_begun) std::printf("In Documents::%s\n", copy.c_str());
  return copied;
}

// Deliberate: part of the output. The tilde is the home of whoever runs the program, also while a profile is
// migrated.
bool link_running_users_desktop() {
  const char* home = std::getenv("HOME");
  if (home != nullptr && !kept_before_linking(".gnome-desktop", std::string(home) + "/Desktop")) return false;
  SYSTEM(compose("ln -s ~/.gnome-desktop/ ~/Desktop"));
  return true;
}

int write_documents_link(const Target& target) {
  // Deliberate: part of the output. Looks for "Documents" but writes "My Documents", so that every run writes
  // the link anew.
  if (is_folder(target.home.c_str(), "Desktop/Documents") == 1) return 0;
  if (!replace_file(target.home + "/Desktop/My Documents",
                    fill(documents_link, {{"home", target.home}, {"icon", target.has().link_icon}}))) {
    std::perror("MyDocs ");
    return -1;
  }
  return 0;
}

// ---- Shared files ------------------------------------------------------------------------------------

// Where they are copied from, the name stands in the command, with an escaped blank.
static_assert(std::string_view(layout::file_extensions) == "File Extensions");

// Deliberate: part of the format. Two tabs before the keys up to Type, none before the URL and the icon.
constexpr const char* windows_files_link =
    "[Desktop Entry]\n"
    "\t\tVersion=1.0\n"
    "\t\tEncoding=UTF-8\n"
    "\t\tName=Windows\n"
    "\t\tName[zh_CN]=Windows \u6587\u4ef6\n"
    "\t\tType=Link\n"
    "URL=@home@/@folder@\n"
    "@icon@";

int copy_files_for_one_user(const Target& target) {
  trace_home(target.home);
  if (target.home.empty()) return -1;
  const std::string folder = std::string("/") + layout::file_extensions;
  if (!keep::before_copy_as(target.root + folder, target.home + folder)) return -1;
  SYSTEM(compose("cp -a %s/File\\ Extensions %s", target.root, target.home));
  if (!replace_file(target.home + "/Desktop/Windows Files",
                    fill(windows_files_link, {{"home", target.home},
                                              {"folder", layout::file_extensions},
                                              {"icon", target.has().link_icon}}))) {
    std::perror("file extensions");
    return -1;
  }
  return 0;
}

// Deliberate: part of the format. One tab before the keys up to Type, none before the URL and the icon.
constexpr const char* share_link =
    "[Desktop Entry]\n"
    "\tVersion=1.0\n"
    "\tEncoding=UTF-8\n"
    "\tName=Share\n"
    "\tName[zh_CN]=Share\n"
    "\tType=Link\n"
    "URL=/Share\n"
    "@icon@";

constexpr const char* share_bookmark =
    R"(<bookmark icon="folder" href="file:/Share"><title>Share</title></bookmark>)";

// False when what is there could not be kept.
bool give_konqueror_folder(const std::string& home, const std::string& user, const char* skeleton) {
  std::printf("need to copy konqueror folder");
  const std::string folder = "/.kde/share/apps";
  if (!keep::before_copy_as(skeleton + ("/root" + folder + "/konqueror"), home + folder + "/konqueror"))
    return false;
  const shell::Command copy =
      compose("cp -a %s/root/.kde/share/apps/konqueror %s/.kde/share/apps", skeleton, home);
  SYSTEM(copy);
  std::printf("Executed cmd::%s\n", copy.c_str());
  if (!kept_before_chown(user, home + folder)) return false;
  const shell::Command chown = compose("chown -R %s %s/.kde/share/apps", user, home);
  SYSTEM(chown);
  std::printf("Executed cmd::%s\n", chown.c_str());
  return true;
}

// `skeleton` is the folder of the unpacked skeleton home. False when something was not written although the
// home has a desktop; one without is passed over.
bool add_shortcut(const std::string& home, const std::string& user, const Capabilities& has,
                  const char* skeleton) {
  if (!replace_file(home + "/Desktop/Share", fill(share_link, {{"icon", has.link_icon}}))) {
    std::perror("file extensions");
    return is_folder(home.c_str(), "Desktop") == 0;
  }
  if (!has.share_in_konqueror) return true;
  const std::string applications = home + "/.kde/share/apps";
  if (is_folder(applications.c_str(), "konqueror") == 0 && !give_konqueror_folder(home, user, skeleton))
    return false;
  return add_konqueror_bookmark(home, share_bookmark);
}

// Deliberate: part of the output. Every folder below /home gets a link, also one whose account was not
// migrated.
int share_files_with_everybody(const Target& target, const char* skeleton) {
  if (!keep::before_change("/Share")) return -1;
  SYSTEM(compose("mkdir /Share"));
  const Copied copied =
      outcome(copy_entries(compose("cp -a %s/File\\ Extensions/* /Share/", target.root),
                           target.root + "/" + layout::file_extensions, "/Share", CopyLike::cp_a));
  if (copied == Copied::not_begun) return -1;
  bool written = add_shortcut("/root", "root", target.has(), skeleton);
  if (!keep::before_mode("/Share", 0777)) return -1;
  SYSTEM(compose("chmod -R 777 /Share"));  // everybody may read and write it
  const auto users = list_folder("/home");
  if (!users) {
    std::perror("In file_extensions() opendir: ");
    return -1;
  }
  for (const std::string& user : *users)
    written = add_shortcut("/home/" + user, user, target.has(), skeleton) && written;
  return copied == Copied::all && written ? 0 : -1;
}

}  // namespace

int mydocs(const char* args) {
  const Target target = target_of(args);
  trace_home(target.home);
  if (target.home.empty()) return -1;
  if (target.has().documents_on_desktop)
    return copy_documents(target.root, target.home + "/Desktop/mydocument") == Copied::all ? 0 : -1;
  const Copied copied = copy_documents(target.root, target.home + "/Documents");
  if (copied == Copied::not_begun) return -1;
  if (is_folder(target.home.c_str(), "Desktop") == 0 && !link_running_users_desktop()) return -1;
  return write_documents_link(target) == 0 && copied == Copied::all ? 0 : -1;
}

int desktop(const char* args) {
  const Target target = target_of(args);
  trace_home(target.home);
  if (target.home.empty()) return -1;
  if (is_folder(target.home.c_str(), "Desktop") == 0) {
    if (!kept_before_linking(".gnome-desktop", target.home + "/Desktop")) return -1;
    SYSTEM(compose("ln -s %s/.gnome-desktop/ %s/Desktop", target.home, target.home));
  }
  const std::string folder = target.root + "/" + layout::desktop;
  const shell::Command copy = compose("cp -a %s/* %s/Desktop", folder, target.home);
  const Copied copied = outcome(copy_entries(copy, folder, target.home + "/Desktop", CopyLike::cp_a));
  if (copied != Copied::not_begun) std::printf("In Desktop::%s\n", copy.c_str());
  return copied == Copied::all ? 0 : -1;
}

int file_extensions(const char* args) {
  const Target target = target_of(args);
  return target.one_of_several ? share_files_with_everybody(target, homedirpath)
                               : copy_files_for_one_user(target);
}

void add_share_shortcut(const char* home, const char* user) {
  // What could not be written is on standard error.
  static_cast<void>(add_shortcut(home, user, capabilities(detected_system()), homedirpath));
}
