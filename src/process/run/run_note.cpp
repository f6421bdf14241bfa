#include "process/run/run_note.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "keep/keep.h"
#include "process/archive/layout.h"
#include "shell/files.h"
#include "shell/home.h"
#include "state/state.h"
#include "system/detection.h"
#include "system/system.h"

namespace {

struct Note {
  std::string home;  // where it lies; empty before a run
  std::string archive;
  const char* system = "";
  std::vector<Owner> people;
  std::set<std::string> had_accounts;  // logins of profiles
  std::time_t begun = 0;
  std::string kept;  // empty without one
  std::time_t over = 0;
  const char* ending = "begun";
  bool cancelled = false;
};

// Both threads write the note of the one run there is.
std::mutex mutex;
Note note;

const char* name_of(System system) {
  switch (system) {
    case System::linspire:
      return "linspire";
    case System::xandros:
      return "xandros";
    case System::redflag:
      return OSVersion == std::string_view(redflag_plus) ? "redflag-plus" : "redflag";
    default:
      return isNLD == 1 ? "nld" : "gnome";
  }
}

std::string line(std::string_view key, std::string_view value) {
  std::string text = std::string(key) + "=";
  for (const char c : value) {
    if (c == '\\') text += '\\';
    if (c == '\n') {
      text += "\\n";
    } else if (c == '\r') {
      text += "\\r";
    } else {
      text += c;
    }
  }
  return text + "\n";
}

std::string text_of(const Note& written) {
  std::string text = line("archive", written.archive) + line("system", written.system);
  for (const Owner& person : written.people) {
    text += line("person", person.login) + line("home", person.home);
    const bool is_profile = &person != &written.people.front();
    if (is_profile && written.had_accounts.contains(person.login)) text += line("account", "before");
  }
  text += line("begun", std::to_string(written.begun));
  if (!written.kept.empty()) text += line("kept", written.kept);
  if (written.over != 0) text += line("over", std::to_string(written.over));
  return text + line("ending", written.ending);
}

bool write_to(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(file, text.data(), text.size());
    if (count < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return fsync(file) == 0;
}

// Written beside its place, for the owner alone, and renamed: it is whole at any time, and a link at its
// place is replaced, never followed.
bool replace(const std::string& path, const std::string& text) {
  std::string beside = path + "-XXXXXX";
  const int file = mkostemp(beside.data(), O_CLOEXEC);
  if (file < 0) return false;
  const bool written = write_to(file, text);
  const bool closed = close(file) == 0;
  if (written && closed && std::rename(beside.c_str(), path.c_str()) == 0) return true;
  const int error = errno;
  unlink(beside.c_str());
  errno = error;
  return false;
}

void write_note() {
  const std::string path = note.home + "/.brindle_run";
  if (!replace(path, text_of(note))) std::perror(path.c_str());
}

bool is_going_on() { return !note.home.empty() && note.over == 0; }

}  // namespace

void begin_run_note(const char* archive) {
  const std::lock_guard lock(mutex);
  const Owner owner = current_owner();
  std::error_code error;
  note = {};
  note.home = owner.home;
  note.archive = std::filesystem::absolute(archive, error);
  note.system = name_of(detected_system());
  note.people = {owner};
  note.kept = keep::folder_of_run();  // start-up may have changed something
  note.begun = std::time(nullptr);
  note.cancelled = isKilled != 0;
  if (note.cancelled) note.ending = "cancelled";
  if (!note.home.empty()) write_note();
}

void add_profiles_to_run_note(const char* root) {
  const auto names = list_folder(std::string(root) + "/" + layout::profiles);
  const std::lock_guard lock(mutex);
  if (!names || !is_going_on()) return;
  for (const std::string& name : *names) note.people.push_back({name, "/home/" + name});
  write_note();
}

void add_kept_folder_to_run_note() {
  const std::string folder = keep::folder_of_run();
  const std::lock_guard lock(mutex);
  if (!is_going_on() || folder == note.kept) return;
  note.kept = folder;
  write_note();
}

void note_account_was_there(const std::string& login) {
  const std::lock_guard lock(mutex);
  if (!is_going_on()) return;
  note.had_accounts.insert(login);
  write_note();
}

void end_run_note(RunEnd how) {
  const std::lock_guard lock(mutex);
  if (!is_going_on()) return;
  note.over = std::time(nullptr);
  if (!note.cancelled) note.ending = how == RunEnd::refused ? "refused" : "ended";
  write_note();
}

void cancel_run_note() {
  const std::lock_guard lock(mutex);
  if (!is_going_on()) return;
  note.cancelled = true;
  note.ending = "cancelled";
  write_note();
}
