#include "process/archive/settings.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "shell/pieces.h"

namespace {

// Deliberate: part of the format. A longer line comes in pieces, and each piece counts as a line.
constexpr std::size_t line_limit = 127;
constexpr std::size_t value_size = line_limit + 1;

// The first line that contains `key`, without its newline.
std::optional<std::string> find_line(std::FILE* fp, const char* key) {
  std::rewind(fp);
  PieceReader lines(fp, line_limit);
  std::string_view line;
  while (lines.next(line)) {
    if (line.find(key) != std::string_view::npos) return std::string(line.substr(0, line.find('\n')));
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> setting(std::FILE* fp, const char* key) {
  const std::optional<std::string> line = find_line(fp, key);
  if (!line) return std::nullopt;
  const std::size_t equals = line->find('=');
  if (equals == std::string::npos) return "";
  // A NUL would end the value for every writer that follows; end it here already.
  return std::string(line->substr(equals + 1).c_str());
}

std::optional<char> flag_setting(std::FILE* fp, const char* key) {
  const std::optional<std::string> line = find_line(fp, key);
  if (!line) return std::nullopt;
  return line->empty() ? '\0' : line->back();
}

char* get_string(std::FILE* fp, const char* key) {
  const std::optional<std::string> value = setting(fp, key);
  if (!value) return nullptr;
  char* buffer = static_cast<char*>(std::calloc(value_size, 1));
  if (buffer != nullptr) std::memcpy(buffer, value->data(), value->size());
  return buffer;
}

char get_char(std::FILE* fp, const char* key) { return flag_setting(fp, key).value_or('\0'); }
