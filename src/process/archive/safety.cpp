#include "process/archive/safety.h"

#include <cstdio>
#include <filesystem>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace {

bool is_unsafe(const fs::directory_entry& entry) {
  std::error_code error;
  const fs::file_type type = entry.symlink_status(error).type();
  return type != fs::file_type::regular && type != fs::file_type::directory;
}

}  // namespace

void remove_unsafe_entries(const std::string& folder) {
  std::error_code error;
  std::vector<fs::path> unsafe;
  // Links to folders are not followed: that is the iterator's default.
  fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, error);
  for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
    if (is_unsafe(*entry)) unsafe.push_back(entry->path());
  }
  for (const fs::path& path : unsafe) {
    std::fprintf(stderr, "Left out of the migration, it is neither a file nor a folder: %s\n", path.c_str());
    fs::remove(path, error);
  }
}
