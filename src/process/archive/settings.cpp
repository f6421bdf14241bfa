#include "process/archive/settings.h"

#include <cstdlib>
#include <cstring>

#include "shell/files.h"

namespace {

// Kept: a longer line is read in pieces, and each piece counts as a line.
constexpr std::size_t line_limit = 127;
constexpr std::size_t value_size = line_limit + 1;

bool find_line(std::FILE* fp, const char* key, std::string& line) {
  std::rewind(fp);
  while (read_piece(fp, line_limit, line)) {
    if (contains(line, key)) return true;
  }
  return false;
}

std::string without_newline(const std::string& line) { return line.substr(0, line.find('\n')); }

}  // namespace

std::optional<std::string> setting(std::FILE* fp, const char* key) {
  std::string line;
  if (!find_line(fp, key, line)) return std::nullopt;
  line = without_newline(line);
  const std::size_t equals = line.find('=');
  if (equals == std::string::npos) return "";
  // A NUL would end the value for every writer that follows; end it here already.
  return std::string(line.substr(equals + 1).c_str());
}

char* get_string(std::FILE* fp, const char* key) {
  const std::optional<std::string> value = setting(fp, key);
  if (!value) return nullptr;
  char* buffer = static_cast<char*>(std::calloc(value_size, 1));
  if (buffer != nullptr) std::memcpy(buffer, value->data(), value->size());
  return buffer;
}

char get_char(std::FILE* fp, const char* key) {
  std::string line;
  if (!find_line(fp, key, line)) return '\0';
  line = without_newline(line);
  return line.empty() ? '\0' : line.back();
}
