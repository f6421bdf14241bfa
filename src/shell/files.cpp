#include "shell/files.h"

#include <dirent.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "shell/run.h"

File open_file(const std::string& path, const char* mode) { return File(std::fopen(path.c_str(), mode)); }

void write_text(const File& file, const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), file.get());
}

bool close_file(File& file) {
  if (!file) return false;
  // An error that an earlier write met, with errno long overwritten, shows here only.
  const bool failed_before = std::ferror(file.get()) != 0;
  errno = 0;
  const bool closed = std::fclose(file.release()) == 0;
  if (closed && !failed_before) return true;
  if (errno == 0) errno = EIO;
  return false;
}

std::optional<std::string> read_whole(const std::string& path) {
  const File file = open_file(path, "r");
  if (!file) return std::nullopt;
  std::string text;
  std::array<char, 1 << 16> block;
  while (const std::size_t found = std::fread(block.data(), 1, block.size(), file.get()))
    text.append(block.data(), found);
  if (std::ferror(file.get()) != 0) return std::nullopt;
  return text;
}

bool same_content(const std::string& path, const std::string& other) {
  const std::optional<std::string> content = read_whole(path);
  const std::optional<std::string> others = content ? read_whole(other) : std::nullopt;
  if (!others) return false;
  errno = 0;
  return *content == *others;
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
