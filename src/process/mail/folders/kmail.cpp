#include "process/mail/folders/kmail.h"

#include <array>
#include <cstdio>
#include <string>

#include "process/mail/folders/mbox.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/run.h"

namespace {

struct FolderName {
  const char* archive;
  const char* kmail;
};

constexpr std::array<FolderName, 5> kmail_names = {{{"Inbox", "inbox"},
                                                    {"Sent", "sent-mail"},
                                                    {"Outbox", "outbox"},
                                                    {"Drafts", "drafts"},
                                                    {"Trash", "trash"}}};

std::string folder_name(const std::string& name, int isfirstlevel) {
  if (isfirstlevel != 1) return name;
  for (const FolderName& known : kmail_names) {
    if (name == known.archive) return known.kmail;
  }
  return name;
}

std::string subfolders_of(const std::string& folder) { return "." + folder + ".directory"; }

void make_maildir(const std::string& destdir, const std::string& folder) {
  const std::string directory = subfolders_of(folder);
  std::printf("Foldername2::%s\n", directory.c_str());
  std::printf("Foldername::%s\n", folder.c_str());
  // KMail would trust an index that knows nothing of the new messages.
  SYSTEM(compose("rm -f \"%s/.%s.index\"", destdir, folder));
  SYSTEM(compose("rm -f \"%s/.%s.index.ids\"", destdir, folder));
  SYSTEM(compose("mkdir -p \"%s/%s\"", destdir, folder));
  SYSTEM(compose("mkdir -p \"%s/%s\"", destdir, directory));
  const std::string maildir = destdir + "/" + folder;
  SYSTEM(compose("mkdir -p \"%s/cur\"", maildir));
  SYSTEM(compose("mkdir -p \"%s/new\"", maildir));
  SYSTEM(compose("mkdir -p \"%s/tmp\"", maildir));
}

void convert_file(const std::string& sourcedir, const std::string& name, const std::string& destdir,
                  int isfirstlevel) {
  const std::string folder = folder_name(name, isfirstlevel);
  make_maildir(destdir, folder);
  std::printf("\nProcessing File :: %s\n", name.c_str());
  // Named after the archive's folder, not KMail's.
  split_mbox(sourcedir + "/" + name, destdir + "/" + folder + "/cur/" + name);
}

void convert_subfolders(const std::string& sourcedir, const std::string& name, const std::string& destdir,
                        int isfirstlevel) {
  std::printf("\nProcessing Folder :: ");
  const std::string source = sourcedir + "/" + name;
  const std::string folder = folder_name(name.substr(0, name.find(".sbd")), isfirstlevel);
  const std::string directory = subfolders_of(folder);
  SYSTEM(compose("mkdir -p %s/%s", destdir, directory));
  setupemails(source.c_str(), (destdir + "/" + directory).c_str(), 0);
}

}  // namespace

int kmailemails(const char* args) {
  const std::string home = user_home();
  if (home.empty()) return 0;
  return setupemails((std::string(args) + "/Mail").c_str(), (home + "/Mail").c_str(), 1);
}

int setupemails(const char* sourcedir, const char* destdir, int isfirstlevel) {
  const auto names = list_folder(sourcedir);
  if (!names) {
    std::perror("In setupemails() opendir: ");
    return 0;
  }
  for (const std::string& name : *names) {
    if (contains(name, ".sbd")) {
      convert_subfolders(sourcedir, name, destdir, isfirstlevel);
    } else {
      convert_file(sourcedir, name, destdir, isfirstlevel);
    }
  }
  return 0;
}
