#include "account/note.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>

#include "account/readers/kept.h"

namespace account {
namespace {

constexpr std::size_t largest_note = 1 << 20;

std::string content_of(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW);
  if (file < 0) throw NoNote("there is no note of a run at " + path + " (" + std::strerror(errno) + ")");
  std::string text(largest_note, '\0');
  struct stat status;
  const bool plain = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
  const ssize_t size = plain ? read(file, text.data(), text.size()) : -1;
  close(file);
  if (size < 0) throw NoNote("the note of a run at " + path + " cannot be read");
  text.resize(static_cast<std::size_t>(size));
  return text;
}

// The wizard writes a line end in a value as \n, \r, and a backslash twice.
std::string plain_value(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      result += text[i];
      continue;
    }
    const char c = text[++i];
    result += c == 'n' ? '\n' : c == 'r' ? '\r' : c;
  }
  return result;
}

std::time_t time_in(const std::string& text) {
  std::time_t time = 0;
  std::from_chars(text.data(), text.data() + text.size(), time);
  return time;
}

// Homes of several people have a folder of that name.
std::string folder_named(const std::string& path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  return is_kept_run(name) ? name : "";
}

Ending ending_called(const std::string& text) {
  if (text == "ended") return Ending::ended;
  if (text == "cancelled") return Ending::cancelled;
  return text == "refused" ? Ending::refused : Ending::begun;
}

struct Reading {
  RunNote note;
  bool knows_system = false;
};

void take(Reading& reading, std::string_view key, const std::string& value) {
  RunNote& note = reading.note;
  if (key == "archive") note.archive = value;
  if (key == "system") {
    const auto system = system_called(value);
    reading.knows_system = system.has_value();
    note.system = system.value_or(System::gnome);
  }
  if (key == "person") note.people.push_back({.login = value, .home = ""});
  if (key == "home" && !note.people.empty()) note.people.back().home = value;
  if (key == "account" && !note.people.empty()) note.people.back().had_account = value == "before";
  if (key == "begun") note.begun = time_in(value);
  if (key == "kept") note.kept = folder_named(value);
  if (key == "over") note.over = time_in(value);
  if (key == "ending") note.ending = ending_called(value);
}

}  // namespace

RunNote read_note(const std::string& path) {
  Reading reading;
  const std::string text = content_of(path);
  for (std::string_view rest = text; !rest.empty();) {
    const std::size_t end = rest.find('\n');
    const std::string_view line = rest.substr(0, end);
    const std::size_t equals = line.find('=');
    if (equals != std::string_view::npos)
      take(reading, line.substr(0, equals), plain_value(line.substr(equals + 1)));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
  }
  const RunNote& note = reading.note;
  if (note.archive.empty() || note.people.empty() || note.people.front().home.empty() ||
      !reading.knows_system)
    throw NoNote(path + " is not the note of a run");
  return note;
}

std::string usual_note() {
  const passwd* const entry = getpwuid(getuid());
  if (entry == nullptr) throw NoNote("nobody's note of a run can be read without a login name");
  const std::string login = entry->pw_name;
  // Not the home of the account entry: the wizard does not look at it.
  return (login == "root" ? "/root" : "/home/" + login) + "/.brindle_run";
}

}  // namespace account
