#include "process/archive/safety.h"

#include <cstdio>
#include <filesystem>
#include <system_error>
#include <vector>

namespace fs = std::filesystem;

namespace {

bool points_out(const fs::path& link) {
  std::error_code unreadable;
  const fs::path target = fs::read_symlink(link, unreadable);
  if (unreadable || target.is_absolute()) return true;
  for (const fs::path& step : target) {
    if (step == "..") return true;
  }
  return false;
}

bool is_unsafe(const fs::directory_entry& entry) {
  std::error_code error;
  const fs::file_status status = entry.symlink_status(error);
  switch (status.type()) {
    case fs::file_type::regular:
    case fs::file_type::directory:
      return false;
    case fs::file_type::symlink:
      return points_out(entry.path());
    default:
      return true;
  }
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
    std::fprintf(stderr, "Left out of the migration, it points out of the archive: %s\n", path.c_str());
    fs::remove(path, error);
  }
}
