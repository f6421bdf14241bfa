#include "keep/keep.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>

#include "keep/keeping.h"
#include "keep/store.h"

namespace keep {

namespace {

namespace fs = std::filesystem;
using place::Entry;
using place::Type;

// The windows' thread begins what the worker goes on with.
std::mutex mutex;
// Never destroyed: the worker may be at work until the process is gone.
std::unique_ptr<Keeping>& keeping = *new std::unique_ptr<Keeping>;

std::string end_of(const std::string& path) {
  std::error_code error;
  const fs::path end = fs::canonical(path, error);
  return error ? path : end.string();
}

bool is_kept(const std::string& path) { return keeping && !keeping->is_nobodys(path); }

bool asked(const std::string& path, const std::function<bool()>& question) {
  const std::lock_guard lock(mutex);
  return !is_kept(path) || question();
}

place::Spot spot(const std::optional<Where>& where) {
  return where ? where->spot() : place::Spot{Descriptor(), "", errno};
}

place::Spot spot_over_links(const fs::path& path) {
  if (path.empty()) return {Descriptor(), "", ELOOP};
  Descriptor folder = place::open_top(path.has_parent_path() ? path.parent_path() : ".");
  const int error = folder ? 0 : errno;
  return {std::move(folder), path.has_filename() ? path.filename() : ".", error};
}

}  // namespace

void begin_run(const std::string& home, std::time_t now) {
  const std::lock_guard lock(mutex);
  keeping = std::make_unique<Keeping>(home, name_of_run(now));
  keeping->is({Kind::run, "migration", "-", unknown}, false);
}

void begin_undo(const std::string& home, std::time_t now, const std::string& of) {
  std::string name = name_of_run(now);
  bool goes_on = false;
  for (const Run& run : runs_in(home)) {
    if (!run.is_undo || run.of != of || run.over || !run.undone.empty()) continue;
    name = run.date_time;
    goes_on = true;
  }
  const std::lock_guard lock(mutex);
  keeping = std::make_unique<Keeping>(home, name);
  keeping->is({Kind::run, "undo", of, unknown}, goes_on);
  if (!goes_on) return;
  keeping->go_on(rows_of(home, name));
  for (const OtherHome& other : other_homes(home, name)) keeping->go_on(other.rows);
}

bool before_change(const std::string& path) {
  return asked(path, [&] { return keeping->change(path); });
}

bool before_removal(const std::string& path) {
  return asked(path, [&] { return keeping->removal(path); });
}

bool before_copy(const std::string& from, const std::string& to) {
  return asked(to, [&] { return keeping->copy(from, to); });
}

bool before_copy_as(const std::string& from, const std::string& to) {
  return asked(to, [&] { return keeping->copy_as(from, to); });
}

bool before_adding(const std::string& path) {
  return asked(path, [&] { return keeping->adding(path); });
}

bool before_program(const std::string& path) {
  return asked(path, [&] { return keeping->program(path); });
}

// A change of owner takes the set-id bits of a file.
bool before_owner(const std::string& path, uid_t uid) {
  const auto change = [uid](Entry& entry) {
    const mode_t mode = entry.type == Type::file ? entry.mode & 01777 : entry.mode;
    if (entry.uid == uid && entry.mode == mode) return false;
    entry.uid = uid;
    entry.mode = mode;
    return true;
  };
  return asked(path, [&] { return keeping->attributes(path, change); });
}

// chmod -R follows the link that it is told, and none below.
bool before_mode(const std::string& path, mode_t mode) {
  const auto change = [mode](Entry& entry) {
    if (entry.type == Type::link || (entry.mode & 0777) == mode) return false;
    entry.mode = (entry.mode & (entry.type == Type::folder ? 06000 : 0)) | mode;
    return true;
  };
  const std::string tree = end_of(path);
  return asked(tree, [&] { return keeping->attributes(tree, change); });
}

bool before_closing(const std::string& path, uid_t uid) {
  const auto change = [uid](Entry& entry) {
    const bool is_closed = entry.type == Type::file || entry.type == Type::folder;
    const mode_t mode = is_closed ? entry.mode & 0700 : entry.mode;
    if (entry.uid == uid && entry.mode == mode) return false;
    entry.uid = uid;
    entry.mode = mode;
    return true;
  };
  return asked(path, [&] { return keeping->attributes(path, change); });
}

bool before_reading(const std::string& path) {
  return asked(path, [&] { return keeping->reading(path); });
}

place::Spot spot_of(const std::string& path) {
  const std::lock_guard lock(mutex);
  return is_kept(path) ? spot(keeping->find(path)) : spot_over_links(path);
}

place::Spot spot_at_end(const std::string& path) {
  const std::lock_guard lock(mutex);
  return is_kept(path) ? spot(keeping->find_end(path)) : spot_over_links(place::end_of_links(path));
}

bool after_new_home(const std::string& path) {
  return asked(path, [&] { return keeping->new_home(path); });
}

bool before_change_of(Kind kind, const std::string& name, const std::string& before) {
  const std::lock_guard lock(mutex);
  return !keeping || keeping->thing(kind, name, before);
}

void now_is(Kind kind, const std::string& name, const std::string& became) {
  const std::lock_guard lock(mutex);
  if (keeping) keeping->thing_is(kind, name, became);
}

void settle() {
  const std::lock_guard lock(mutex);
  if (keeping) keeping->settle();
}

void begin_to_settle() {
  const std::lock_guard lock(mutex);
  if (keeping) keeping->begin_to_settle();
}

void end_run() {
  const std::lock_guard lock(mutex);
  if (keeping) keeping->end();
  keeping.reset();
}

std::string folder_of_run() {
  const std::lock_guard lock(mutex);
  return keeping ? keeping->folder() : "";
}

bool take(const std::string& path) {
  return asked(path, [&] { return keeping->take(path); });
}

}  // namespace keep
