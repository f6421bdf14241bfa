#include "process/mail/folders/evolution.h"

#include <linux/limits.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "keep/keep.h"
#include "process/archive/layout.h"
#include "shell/copy.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/kept.h"
#include "shell/pieces.h"
#include "shell/replace.h"
#include "shell/run.h"
#include "system/home_folder.h"

namespace {

// ---- Evolution 1's tree, built in the staging area ---------------------------------------------------

constexpr std::string_view staging_area = "/brindlemail/";

// `path` relative to the mail folder: the one that holds the staging area `dest`, else the archive's.
std::string relative_to_mail_folder(const std::string& path, const std::string& dest) {
  if (dest.ends_with(staging_area)) {
    const std::string mail_folder = dest.substr(0, dest.size() - staging_area.size() + 1);
    if (path.starts_with(mail_folder)) return path.substr(mail_folder.size());
  }
  const std::string archive_folder = std::string("/") + layout::root + "/" + layout::mail_folders + "/";
  const std::size_t at = path.find(archive_folder);
  return at == std::string::npos ? "" : path.substr(at + archive_folder.size());
}

std::string staging_path(const std::string& path, const std::string& dest) {
  const std::string_view sbd = layout::subfolders;
  std::string relative = contains(path, layout::subfolders) ? relative_to_mail_folder(path, dest) : "";
  // Only below `dest`: a profile's own name may hold ".sbd" as well.
  for (std::size_t at = relative.find(sbd); at != std::string::npos; at = relative.find(sbd))
    relative.replace(at, sbd.size(), "/subfolders");
  return dest + relative;
}

// Deliberate: part of the format. The name is not escaped.
constexpr const char* folder_metadata = R"(<?xml version="1.0"?>
<efolder>
	<type>mail</type>
	<description>@name@</description>
</efolder>
)";

// A description that cannot be written is left out: the mailbox is there without it.
void convert_mailbox(const std::string& directory, const std::string& name, const std::string& dest) {
  const std::string staging = staging_path(directory, dest);
  shell::run_unlogged(compose("mkdir -p \"%s\"/\"%s\"", staging, name));
  shell::run_unlogged(compose("cp \"%s\"/\"%s\" \"%s\"/\"%s\"/mbox", directory, name, staging, name));
  // What becomes of it is not looked at.
  static_cast<void>(
      replace_file(staging + "/" + name + "/folder-metadata.xml", fill(folder_metadata, {{"name", name}})));
}

bool convert_folder(const std::string& directory, const std::string& dest) {
  const auto names = list_folder(directory);
  if (!names) return false;
  for (const std::string& name : *names) {
    if (!contains(name, layout::subfolders)) convert_mailbox(directory, name, dest);
  }
  return true;
}

// Deliberate: part of the output. A longer path comes in pieces, which name no folder and end the walk.
constexpr std::size_t list_line_limit = 511;

std::string without_newline(std::string_view line) {
  if (line.ends_with('\n')) line.remove_suffix(1);
  return std::string(line);
}

// A line that is not below the mail folder is the rest of a folder's name with a newline in it. It could
// name any folder of the machine, so it counts as one that cannot be listed.
bool convert_listed(std::FILE* list, const std::string& mail_dir, const std::string& dest) {
  PieceReader reader(list, list_line_limit);
  std::string_view line;
  while (reader.next(line)) {
    const std::string directory = without_newline(line);
    if (!directory.starts_with(mail_dir + "/") || !convert_folder(directory, dest)) return false;
  }
  return true;
}

// False when the list would take the place of a file that could not be kept.
bool build_tree(const Target& target, const std::string& mail_dir, const std::string& dest) {
  trace_home(target.home);
  if (target.home.empty()) return true;
  const std::string list_path = target.home + "/email_sbd_sbd";
  if (!keep::before_change(list_path)) return false;
  shell::run_unlogged(compose("find \"%s\" -name \"*%s\" > %s", mail_dir, layout::subfolders, list_path));
  const File list = open_file(list_path, "r");
  if (!list) return true;
  if (!convert_folder(mail_dir, dest) || !convert_listed(list.get(), mail_dir, dest)) return true;
  static_cast<void>(remove_file(list_path));
  return true;
}

// ---- Into the store ----------------------------------------------------------------------------------

Folders copy_and_trace(const shell::Command& copy, const std::string& from, const std::string& to) {
  const bool copied = copy_entries(copy, from, to, CopyLike::cp_a);
  if (!copied && errno == not_kept) return Folders::not_kept;
  std::printf("Command Executed::%s\n", copy.c_str());
  return copied ? Folders::copied : Folders::not_all;
}

// A store that cannot be made is the command's to complain of; false is for one that may not be.
bool make_store(const Target& target, const std::string& folder) {
  return make_home_folder(target.home, folder) || errno != not_kept;
}

Folders migrate_to_evolution_2(const Target& target, const std::string& mail_dir) {
  if (!make_store(target, ".evolution/mail/local")) return Folders::not_kept;
  return copy_and_trace(compose("cp -a %s/* %s/.evolution/mail/local/", mail_dir, target.home), mail_dir,
                        target.home + "/.evolution/mail/local");
}

Folders migrate_to_evolution_1(const Target& target, const std::string& mail_dir) {
  const std::string staging = mail_dir + std::string(staging_area);
  if (!build_tree(target, mail_dir, staging) || !make_store(target, "evolution/local"))
    return Folders::not_kept;
  return copy_and_trace(compose("cp -a %s* %s/evolution/local/", staging, target.home), staging,
                        target.home + "/evolution/local");
}

}  // namespace

void stop_evolution() { shell::run_unlogged(compose("evolution --force-shutdown")); }

Folders migrate_mail_folders(const Target& target, const std::string& mail_dir) {
  stop_evolution();  // Deliberate: part of the output.
  trace_home(target.home);
  if (target.home.empty()) return Folders::copied;
  std::printf("Checking for evolution version.");
  const bool is_evolution_2 = is_folder(target.home.c_str(), ".evolution") != 0;
  const Folders folders =
      is_evolution_2 ? migrate_to_evolution_2(target, mail_dir) : migrate_to_evolution_1(target, mail_dir);
  if (folders != Folders::not_kept) std::printf("Returning");
  return folders;
}

void* mails_pop(const char* mail_dir) {
  static_cast<void>(migrate_mail_folders(target_of(""), mail_dir));  // the folder is named whole
  return nullptr;
}

void evolution_old(const char* mail_dir, const char* dest) {
  static_cast<void>(build_tree(target_of(""), mail_dir, dest));  // the folder is named whole
}

void file_to_folder(const char* path, const char* name, const char* dest) {
  convert_mailbox(path, name, dest);
}

void delete_sbd_add_subfolders(char* path, const char* dest) {
  const std::string staging = staging_path(path, dest);
  std::strcpy(path, staging.size() < PATH_MAX ? staging.c_str() : "");
}

void delete_new_line(char* buf) {
  const std::string text = without_newline(buf);
  std::strcpy(buf, text.c_str());  // at most as long
}
