#include "process/archive/spelling.h"

namespace {

bool is_pattern(const std::string& name) {
  for (std::size_t at = 0; at < name.size(); ++at) {
    if (name[at] == '\\') {
      ++at;
    } else if (name[at] == '*' || name[at] == '?' || name[at] == '[') {
      return true;
    }
  }
  return false;
}

std::string literal(char c) {
  if (c == '*' || c == '?' || c == '[') return std::string("[") + c + "]";
  return c == '\\' ? "\\\\" : std::string(1, c);
}

}  // namespace

std::string as_file(const std::string& name) { return name.starts_with('-') ? "./" + name : name; }

std::string as_archive(const std::string& name) {
  const std::string file = as_file(name);
  if (!is_pattern(file)) return file;
  const std::size_t begin = file.rfind('/') + 1;  // 0 without a slash
  std::string spelt = file.substr(0, begin);
  for (const char c : file.substr(begin)) spelt += literal(c);
  return spelt;
}
