#include "process/mail/folders/kmail.h"

#include <array>
#include <cstdio>
#include <map>
#include <string>

#include "keep/keep.h"
#include "process/archive/layout.h"
#include "process/mail/folders/mbox.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/run.h"

namespace {

struct FolderName {
  const char* archive;
  const char* kmail;
};

constexpr std::array<FolderName, 5> kmail_names = {{{layout::inbox, "inbox"},
                                                    {layout::sent, "sent-mail"},
                                                    {layout::outbox, "outbox"},
                                                    {layout::drafts, "drafts"},
                                                    {layout::trash, "trash"}}};

std::string folder_name(const std::string& name, bool first_level) {
  if (!first_level) return name;
  for (const FolderName& known : kmail_names) {
    if (name == known.archive) return known.kmail;
  }
  return name;
}

std::string subfolders_of(const std::string& folder) { return "." + folder + ".directory"; }

bool keep_maildir(const std::string& destdir, const std::string& folder) {
  const std::string maildir = destdir + "/" + folder;
  return keep::before_removal(destdir + "/." + folder + ".index") &&
         keep::before_removal(destdir + "/." + folder + ".index.ids") &&
         keep::before_change(destdir + "/" + subfolders_of(folder)) &&
         keep::before_adding(maildir + "/cur") && keep::before_change(maildir + "/new") &&
         keep::before_change(maildir + "/tmp");
}

void make_maildir(const std::string& destdir, const std::string& folder) {
  const std::string directory = subfolders_of(folder);
  std::printf("Foldername2::%s\n", directory.c_str());
  std::printf("Foldername::%s\n", folder.c_str());
  // Deliberate: part of the output. Indexes of a folder that is there go.
  SYSTEM(compose("rm -f \"%s/.%s.index\"", destdir, folder));
  SYSTEM(compose("rm -f \"%s/.%s.index.ids\"", destdir, folder));
  SYSTEM(compose("mkdir -p \"%s/%s\"", destdir, folder));
  SYSTEM(compose("mkdir -p \"%s/%s\"", destdir, directory));
  const std::string maildir = destdir + "/" + folder;
  SYSTEM(compose("mkdir -p \"%s/cur\"", maildir));
  SYSTEM(compose("mkdir -p \"%s/new\"", maildir));
  SYSTEM(compose("mkdir -p \"%s/tmp\"", maildir));
}

/// The conversion of all folders into one place.
class Conversion {
 public:
  /// The result of setupemails.
  int run(const std::string& sourcedir, const std::string& destdir, bool first_level) {
    if (!convert_folders(sourcedir, destdir, first_level)) return 1;
    return complete_ ? 0 : -1;
  }

 private:
  // False when something that was there could not be kept, which ends the conversion.
  bool convert_folders(const std::string& sourcedir, const std::string& destdir, bool first_level);
  bool convert_subfolders(const std::string& source, const std::string& name, const std::string& destdir,
                          bool first_level);
  bool convert_file(const std::string& source, const std::string& name, const std::string& destdir,
                    bool first_level);

  /// By prefix. Two folders that become one share it: what the first one wrote is none of the second one's.
  std::map<std::string, EarlierMessages> earlier_;
  bool complete_ = true;
};

bool Conversion::convert_file(const std::string& source, const std::string& name, const std::string& destdir,
                              bool first_level) {
  const std::string folder = folder_name(name, first_level);
  if (!keep_maildir(destdir, folder)) return false;
  make_maildir(destdir, folder);
  std::printf("\nProcessing File :: %s\n", name.c_str());
  // Deliberate: part of the output. The messages are named after the archive's folder, not KMail's.
  const std::string prefix = destdir + "/" + folder + "/cur/" + name;
  EarlierMessages& earlier = earlier_.try_emplace(prefix, prefix).first->second;
  if (!split_mbox(source, prefix, earlier)) complete_ = false;
  return true;
}

bool Conversion::convert_subfolders(const std::string& source, const std::string& name,
                                    const std::string& destdir, bool first_level) {
  std::printf("\nProcessing Folder :: ");  // Deliberate: part of the output. Without the name.
  const std::string folder = folder_name(name.substr(0, name.find(layout::subfolders)), first_level);
  const std::string directory = subfolders_of(folder);
  if (!keep::before_change(destdir + "/" + directory)) return false;
  SYSTEM(compose("mkdir -p %s/%s", destdir, directory));
  return convert_folders(source, destdir + "/" + directory, false);
}

bool Conversion::convert_folders(const std::string& sourcedir, const std::string& destdir, bool first_level) {
  const auto names = list_folder(sourcedir);
  if (!names) {
    std::perror("In setupemails() opendir: ");
    return true;
  }
  for (const std::string& name : *names) {
    const std::string source = sourcedir + "/" + name;
    const bool goes_on = contains(name, layout::subfolders)
                             ? convert_subfolders(source, name, destdir, first_level)
                             : convert_file(source, name, destdir, first_level);
    if (!goes_on) return false;
  }
  return true;
}

}  // namespace

int migrate_kmail_folders(const Target& target) {
  trace_home(target.home);
  if (target.home.empty()) return 0;
  return Conversion().run(target.root + "/" + layout::mail_folders, target.home + "/Mail", true);
}

int kmailemails(const char* args) { return migrate_kmail_folders(target_of(args)); }

int setupemails(const char* sourcedir, const char* destdir, int isfirstlevel) {
  return Conversion().run(sourcedir, destdir, isfirstlevel == 1);
}
