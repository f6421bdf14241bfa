#include "process/archive/safety.h"

#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "shell/files.h"

namespace fs = std::filesystem;

namespace {

fs::file_status status_of(const std::string& path) {
  std::error_code error;
  return fs::symlink_status(path, error);
}

void let_owner_write(const std::string& file, fs::perms now) {
  constexpr fs::perms wanted = fs::perms::owner_read | fs::perms::owner_write;
  if ((now & wanted) == wanted) return;
  std::error_code error;
  fs::permissions(file, wanted, fs::perm_options::add, error);
}

void remove(const std::string& path) {
  std::fprintf(stderr, "Left out of the migration, it is neither a file nor a folder: %s\n", path.c_str());
  std::error_code error;
  fs::remove(path, error);
}

// A folder may forbid its owner to list it and still lead to what lies in it by name.
std::vector<std::string> entries_of(const std::string& folder) {
  std::error_code error;
  fs::permissions(folder, fs::perms::owner_all, fs::perm_options::add, error);
  return list_folder(folder).value_or(std::vector<std::string>());
}

}  // namespace

void remove_unsafe_entries(const std::string& folder) {
  // One open folder at a time: a walk that keeps those above open ends early in a tree of a thousand levels.
  std::vector<std::string> folders = {folder};
  while (!folders.empty()) {
    const std::string parent = std::move(folders.back());
    folders.pop_back();
    for (const std::string& name : entries_of(parent)) {
      std::string path = parent + "/" + name;
      const fs::file_status status = status_of(path);
      if (status.type() == fs::file_type::directory) {
        folders.push_back(std::move(path));
      } else if (status.type() == fs::file_type::regular) {
        let_owner_write(path, status.permissions());
      } else {
        remove(path);
      }
    }
  }
}
