#include "shell/aside.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace {

bool exists(const fs::path& path) {
  std::error_code error;
  return fs::symlink_status(path, error).type() != fs::file_type::not_found;
}

std::string free_name_beside(const fs::path& path) {
  const std::string start = path.parent_path() / ".brindle-aside-";
  int number = getpid();
  while (exists(start + std::to_string(number))) ++number;
  return start + std::to_string(number);
}

}  // namespace

PutAside::PutAside(std::string path) : path_(std::move(path)) {
  if (!exists(path_)) return;
  const std::string aside = free_name_beside(path_);
  std::error_code error;
  fs::rename(path_, aside, error);
  if (!error) aside_ = aside;
}

PutAside::~PutAside() {
  if (aside_.empty()) return;
  std::error_code error;
  fs::remove(path_, error);  // a folder does not take a file's place by itself
  fs::rename(aside_, path_, error);
}
