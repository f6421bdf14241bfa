#include "process/desktop/documents.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "process/desktop/konqueror.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

bool system_is(const char* name) { return std::strcmp(OSName, name) == 0; }

// The last line of every link, which has no line end.
const char* folder_icon() {
  if (system_is("GNome")) return "X-Nautilus-Icon=gnome-fs-directory";
  return system_is("RedFlag") ? "Icon=folder" : "Icon=folder1";
}

// ---- Documents ---------------------------------------------------------------------------------------

// The Chinese name is UTF-8 taken for Latin-1 and encoded again. Desktops out there know the file by
// exactly these bytes, so they stay, spelt out to survive every editor.
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

// Copies the content of `folder` into `target`, a folder of the home.
void copy_documents(const char* folder, const std::string& target) {
  SYSTEM(compose("mkdir -p %s", target));
  const shell::Command copy = compose("cp -a \"%s\"/* %s ", folder, target);
  SYSTEM(copy);
  std::printf("In Documents::%s\n", copy.c_str());
}

int write_documents_link(const std::string& home) {
  // Looks for "Documents" but writes "My Documents": the link is written anew by every run, on purpose.
  if (is_folder(home.c_str(), "Desktop/Documents") == 1) return 0;
  if (!replace_file(home + "/Desktop/My Documents",
                    fill(documents_link, {{"home", home}, {"icon", folder_icon()}}))) {
    std::perror("MyDocs ");
    return -1;
  }
  return 0;
}

// ---- Shared files ------------------------------------------------------------------------------------

// Two tabs before the keys up to Type, none before the URL and the icon.
constexpr const char* windows_files_link =
    "[Desktop Entry]\n"
    "\t\tVersion=1.0\n"
    "\t\tEncoding=UTF-8\n"
    "\t\tName=Windows\n"
    "\t\tName[zh_CN]=Windows \u6587\u4ef6\n"
    "\t\tType=Link\n"
    "URL=@home@/File Extensions\n"
    "@icon@";

int copy_files_for_one_user(const char* args) {
  const std::string home = user_home();
  if (home.empty()) return -1;
  SYSTEM(compose("cp -a %s/File\\ Extensions %s", args, home));
  if (!replace_file(home + "/Desktop/Windows Files",
                    fill(windows_files_link, {{"home", home}, {"icon", folder_icon()}}))) {
    std::perror("file extensions");
    return -1;
  }
  return 0;
}

int share_files_with_everybody(const char* args) {
  SYSTEM(compose("mkdir /Share"));
  SYSTEM(compose("cp -a %s/File\\ Extensions/* /Share/", args));
  add_share_shortcut("/root", "root");
  // Everybody may read and write the shared folder.
  SYSTEM(compose("chmod -R 777 /Share"));
  const auto users = list_folder("/home");
  if (!users) {
    std::perror("In file_extensions() opendir: ");
    return -1;
  }
  for (const std::string& user : *users) add_share_shortcut(("/home/" + user).c_str(), user.c_str());
  return 0;
}

// One tab before the keys up to Type, none before the URL and the icon.
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

void give_konqueror_folder(const char* home, const char* user) {
  std::printf("need to copy konqueror folder");
  const shell::Command copy =
      compose("cp -a %s/root/.kde/share/apps/konqueror %s/.kde/share/apps", homedirpath, home);
  SYSTEM(copy);
  std::printf("Executed cmd::%s\n", copy.c_str());
  const shell::Command chown = compose("chown -R %s %s/.kde/share/apps", user, home);
  SYSTEM(chown);
  std::printf("Executed cmd::%s\n", chown.c_str());
}

}  // namespace

int mydocs(const char* args) {
  const std::string home = user_home();
  if (home.empty()) return -1;
  if (system_is("RedFlag")) {
    copy_documents(args, home + "/Desktop/mydocument");
    return 0;
  }
  copy_documents(args, home + "/Documents");
  // The tilde is the home of whoever runs the program, also while a profile is migrated.
  if (is_folder(home.c_str(), "Desktop") == 0) SYSTEM(compose("ln -s ~/.gnome-desktop/ ~/Desktop"));
  return write_documents_link(home);
}

int desktop(const char* args) {
  const std::string home = user_home();
  if (home.empty()) return -1;
  if (is_folder(home.c_str(), "Desktop") == 0)
    SYSTEM(compose("ln -s %s/.gnome-desktop/ %s/Desktop", home, home));
  const shell::Command copy = compose("cp -a %s/Desktop/* %s/Desktop", args, home);
  SYSTEM(copy);
  std::printf("In Desktop::%s\n", copy.c_str());
  return 0;
}

int file_extensions(const char* args) {
  return isMultiUser == 0 ? copy_files_for_one_user(args) : share_files_with_everybody(args);
}

void add_share_shortcut(const char* home, const char* user) {
  const std::string link = std::string(home) + "/Desktop/Share";
  if (!replace_file(link, fill(share_link, {{"icon", folder_icon()}}))) {
    std::perror("file extensions");
    return;
  }
  if (!system_is("Linspire") && !system_is("RedFlag")) return;
  const std::string applications = std::string(home) + "/.kde/share/apps";
  if (is_folder(applications.c_str(), "konqueror") == 0) give_konqueror_folder(home, user);
  add_konqueror_bookmark(home, share_bookmark);
}
