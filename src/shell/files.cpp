#include "shell/files.h"

#include <dirent.h>

#include <cerrno>
#include <cstring>

#include "shell/run.h"

File open_file(const std::string& path, const char* mode) { return File(std::fopen(path.c_str(), mode)); }

void write_text(const File& file, const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), file.get());
}

bool replace_file(const std::string& path, const std::string& text) {
  const File file = open_file(path, "w");
  if (!file) return false;
  write_text(file, text);
  return true;
}

void convert_line_ends(const std::string& path) { SYSTEM(compose("dos2unix %s", path)); }

void convert_line_ends_silently(const std::string& path) { SYSTEM(compose("dos2unix -q %s", path)); }

std::optional<std::vector<std::string>> list_folder(const std::string& path) {
  const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.c_str()), closedir);
  if (!folder) return std::nullopt;
  std::vector<std::string> names;
  while (const dirent* entry = readdir(folder.get())) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  return names;
}

bool contains(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

int is_folder(const char* dir_path, const char* path) {
  const std::string whole = std::string(dir_path) + "/" + path;
  return open_file(whole, "r") ? 1 : 0;
}

void dos_to_unix(const char* account_path) {
  shell::run_unlogged(compose("dos2unix -q \"%s\"", account_path));
}
