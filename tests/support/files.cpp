#include "support/files.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

// One character as a reader can see it: line ends and bytes outside ASCII spelt out.
std::string visible(const std::string& bytes) {
  std::ostringstream text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\n') {
      text << "\\n\n    ";
    } else if (byte < 0x20 || byte >= 0x7f) {
      char code[8];
      std::snprintf(code, sizeof code, "\\x%02x", byte);
      text << code;
    } else {
      text << c;
    }
  }
  return text.str();
}

std::string around(const std::string& bytes, std::size_t at) {
  const std::size_t from = at < 60 ? 0 : at - 60;
  return visible(bytes.substr(from, 160));
}

}  // namespace

void write_file(const std::string& path, const std::string& bytes) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::ofstream file(path, std::ios::binary);
  file << bytes;
  file.close();
  if (!file) {
    std::perror(path.c_str());
    std::abort();
  }
}

std::string read_file(const std::string& path) {
  const std::ifstream file(path, std::ios::binary);
  if (!file) ADD_FAILURE() << "cannot read " << path;
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

bool exists(const std::string& path) {
  struct stat information {};
  return lstat(path.c_str(), &information) == 0;
}

testing::AssertionResult same_bytes(const std::string& expected, const std::string& actual) {
  if (expected == actual) return testing::AssertionSuccess();
  const auto differing = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
  const auto at = static_cast<std::size_t>(differing.first - expected.begin());
  const auto line = 1 + std::count(expected.begin(), differing.first, '\n');
  return testing::AssertionFailure() << "first difference at byte " << at << ", line " << line
                                     << " (expected " << expected.size() << " bytes, got " << actual.size()
                                     << ")\n  expected:\n    " << around(expected, at) << "\n  actual:\n    "
                                     << around(actual, at);
}

testing::AssertionResult matches_expected(const std::string& path, const std::string& name) {
  if (!exists(path)) return testing::AssertionFailure() << path << " does not exist";
  const auto result = same_bytes(read_file(test_data("expected/" + name)), read_file(path));
  if (result) return result;
  return testing::AssertionFailure() << path << " is not expected/" << name << ": " << result.message();
}

std::string test_data(const std::string& name) {
  const char* source = std::getenv("BRINDLE_VIEW_SOURCE");
  return std::string(source == nullptr ? "." : source) + "/tests/" + name;
}
