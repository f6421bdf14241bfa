#include "process/mail/folders/evolution.h"

#include <linux/limits.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/run.h"

namespace {

// Kept: a longer path comes in pieces, which name no folder.
constexpr std::size_t list_line_limit = 511;

constexpr std::string_view staging_area = "/brindlemail/";

constexpr const char* folder_metadata = R"(<?xml version="1.0"?>
<efolder>
	<type>mail</type>
	<description>@name@</description>
</efolder>
)";

// `path` relative to the mail folder: the one that holds the staging area `dest`, else the archive's.
std::string relative_to_mail_folder(const std::string& path, const std::string& dest) {
  if (dest.ends_with(staging_area)) {
    const std::string mail_folder = dest.substr(0, dest.size() - staging_area.size() + 1);
    if (path.starts_with(mail_folder)) return path.substr(mail_folder.size());
  }
  const std::string archive_folder = "/Brindle/Mail/";
  const std::size_t at = path.find(archive_folder);
  return at == std::string::npos ? "" : path.substr(at + archive_folder.size());
}

std::string staging_path(const std::string& path, const std::string& dest) {
  std::string relative = contains(path, ".sbd") ? relative_to_mail_folder(path, dest) : "";
  // Only below `dest`: a profile's own name may hold ".sbd" as well.
  for (std::size_t at = relative.find(".sbd"); at != std::string::npos; at = relative.find(".sbd"))
    relative.replace(at, std::strlen(".sbd"), "/subfolders");
  return dest + relative;
}

void write_metadata(const std::string& folder, const char* name) {
  replace_file(folder + "/folder-metadata.xml", fill(folder_metadata, {{"name", name}}));
}

bool convert_folder(const std::string& directory, const char* dest) {
  const auto names = list_folder(directory);
  if (!names) return false;
  for (const std::string& name : *names) {
    if (!contains(name, ".sbd")) file_to_folder(directory.c_str(), name.c_str(), dest);
  }
  return true;
}

// A line that is not below the mail folder is the rest of a folder's name with a newline in it. It could
// name any folder of the machine, so it counts as one that cannot be listed.
bool convert_listed(std::FILE* list, const std::string& mail_dir, const char* dest) {
  std::string line;
  while (read_piece(list, list_line_limit, line)) {
    delete_new_line(line.data());
    const std::string directory = line.c_str();
    if (!directory.starts_with(mail_dir + "/") || !convert_folder(directory, dest)) return false;
  }
  return true;
}

shell::Command copy_to_store(const std::string& mail_dir, const std::string& home) {
  if (is_folder(home.c_str(), ".evolution") != 0)
    return compose("cp -a %s/* %s/.evolution/mail/local/", mail_dir, home);
  const std::string staging = mail_dir + std::string(staging_area);
  evolution_old(mail_dir.c_str(), staging.c_str());
  return compose("cp -a %s* %s/evolution/local/", staging, home);
}

}  // namespace

void* mails_pop(const char* mail_dir) {
  // Evolution would hold its store open.
  shell::run_unlogged(compose("evolution --force-shutdown"));
  const std::string home = user_home();
  if (home.empty()) return nullptr;
  std::printf("Checking for evolution version.");
  const shell::Command copy = copy_to_store(mail_dir, home);
  SYSTEM(copy);
  std::printf("Command Executed::%s\n", copy.c_str());
  std::printf("Returning");
  return nullptr;
}

void evolution_old(const char* mail_dir, const char* dest) {
  const std::string home = user_home();
  if (home.empty()) return;
  shell::run_unlogged(compose("find \"%s\" -name \"*.sbd\" > %s/email_sbd_sbd", mail_dir, home));
  const std::string list_path = home + "/email_sbd_sbd";
  const File list = open_file(list_path, "r");
  if (!list) return;
  if (!convert_folder(mail_dir, dest) || !convert_listed(list.get(), mail_dir, dest)) return;
  std::remove(list_path.c_str());
}

void file_to_folder(const char* path, const char* name, const char* dest) {
  const std::string staging = staging_path(path, dest);
  shell::run_unlogged(compose("mkdir -p \"%s\"/\"%s\"", staging, name));
  shell::run_unlogged(compose("cp \"%s\"/\"%s\" \"%s\"/\"%s\"/mbox", path, name, staging, name));
  write_metadata(staging + "/" + name, name);
}

void delete_sbd_add_subfolders(char* path, const char* dest) {
  const std::string staging = staging_path(path, dest);
  std::strcpy(path, staging.size() < PATH_MAX ? staging.c_str() : "");
}

void delete_new_line(char* buf) {
  const std::size_t length = std::strlen(buf);
  if (length > 0 && buf[length - 1] == '\n') buf[length - 1] = '\0';
}
