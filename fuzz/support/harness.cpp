#include "support/harness.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "state/state.h"

namespace fs = std::filesystem;

namespace fuzz {

namespace {

// Of before anybody closes or redirects it: the readers print a lot.
const int standard_error = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 10);

std::string make_home() {
  const std::string login = "fuzz" + std::to_string(getpid());
  require(assign(cur_user, login.c_str()), "a login fits into its buffer");
  isDefaultUser = 0;
  return "/home/" + login;
}

}  // namespace

void require(bool holds, const char* what, const char* file, int line) {
  if (holds) return;
  dprintf(standard_error, "%s:%d: it does not hold that %s\n", file, line, what);
  std::abort();
}

Input::Input(const std::uint8_t* data, std::size_t size) : text_(reinterpret_cast<const char*>(data), size) {}

std::size_t Input::choice(std::size_t count) const {
  return text_.empty() ? 0 : static_cast<unsigned char>(text_.back()) % count;
}

std::vector<std::string> Input::parts(std::size_t count) const {
  std::vector<std::string> parts;
  std::string_view rest = text_;
  while (parts.size() + 1 < count) {
    const std::size_t end = std::min(rest.find('\x1e'), rest.size());
    parts.emplace_back(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  parts.emplace_back(rest);
  return parts;
}

const std::string& empty_home() {
  static const std::string home = make_home();
  static const bool is_in_view = std::getenv("BRINDLE_VIEW") != nullptr;
  require(is_in_view, "readers are only tried in a private view of the machine (tools/view)");
  fs::remove_all(home);
  fs::create_directory(home);
  return home;
}

Scene scene_with(const std::vector<std::pair<std::string, std::string_view>>& files) {
  const std::string& home = empty_home();
  const Scene scene{home, home + "/archive"};
  for (const auto& [name, bytes] : files) write_file(scene.archive + "/" + name, bytes);
  return scene;
}

void write_file(const std::string& path, std::string_view bytes) {
  fs::create_directories(fs::path(path).parent_path());
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "w"), std::fclose);
  require(file && std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size(),
          "a file can be written");
}

std::optional<std::string> read_file(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "r"), std::fclose);
  if (!file) return std::nullopt;
  std::string bytes;
  char block[4096];
  while (const std::size_t got = std::fread(block, 1, sizeof block, file.get())) bytes.append(block, got);
  return bytes;
}

std::vector<std::string> names_in(const std::string& path) {
  std::vector<std::string> names;
  std::error_code error;
  for (const fs::directory_entry& entry : fs::directory_iterator(path, error))
    names.push_back(entry.path().filename());
  std::sort(names.begin(), names.end());
  return names;
}

Target target_in(const std::string& home, const std::string& root, System system) {
  return {.home = home,
          .login = home.substr(home.rfind('/') + 1),
          .is_running_user = false,
          .one_of_several = true,
          .system = system,
          .system_version = "Any",
          .root = root,
          .locale = "C"};
}

std::unique_ptr<std::FILE, int (*)(std::FILE*)> opened(std::string_view text) {
  static char nothing[1] = "";
  void* const bytes = text.empty() ? nothing : const_cast<char*>(text.data());  // only read
  std::FILE* const file = text.empty() ? std::fopen("/dev/null", "r") : fmemopen(bytes, text.size(), "r");
  require(file != nullptr, "a text can be opened");
  return {file, std::fclose};
}

std::vector<std::string> pieces_of(std::string_view text, std::size_t limit) {
  std::vector<std::string> pieces;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t line_end = std::min(text.find('\n', begin), text.size() - 1) + 1;
    const std::size_t end = std::min(begin + limit, line_end);
    pieces.emplace_back(text.substr(begin, end - begin));
    begin = end;
  }
  return pieces;
}

namespace {

std::string_view without_marks(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  while (text.ends_with('\x1A')) text.remove_suffix(1);
  return text;
}

std::string without_carriage_returns(std::string_view text) {
  std::string plain;
  for (const char c : text) {
    while (c == '\n' && plain.ends_with('\r')) plain.pop_back();
    plain += c;
  }
  return plain;
}

}  // namespace

std::string with_plain_line_ends(std::string_view text) {
  return without_carriage_returns(without_marks(text));
}

std::string mended(std::string_view text) {
  std::string lines(without_marks(text));
  if (!lines.empty() && !lines.ends_with('\n')) lines += '\n';
  return without_carriage_returns(lines);
}

std::string rewritten(std::string_view text, const std::function<std::string(const std::string&)>& rewrite) {
  std::string result;
  for (const std::string& line : pieces_of(text, text.size() + 1)) result += rewrite(line);
  return result;
}

bool contains(std::string_view text, std::string_view part) { return text.find(part) != text.npos; }

std::size_t count_of(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + part.size())) ++count;
  return count;
}

}  // namespace fuzz
