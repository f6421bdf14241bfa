#include "keep/keeping.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <functional>

namespace keep {

namespace {

namespace fs = std::filesystem;
using place::Content;
using place::Entry;
using place::Type;

bool may_be_read_by_all(const std::string& path) {
  std::error_code error;
  fs::path place = fs::canonical(path, error);
  struct stat what {};
  if (error || stat(place.c_str(), &what) != 0 || !S_ISREG(what.st_mode) || (what.st_mode & S_IROTH) == 0)
    return false;
  while (place.has_relative_path()) {
    place = place.parent_path();
    if (stat(place.c_str(), &what) != 0 || (what.st_mode & S_IXOTH) == 0) return false;
  }
  return true;
}

}  // namespace

bool Keeping::has_same_content(const std::string& from, const Where& to) const {
  const Descriptor folder = place::open_top(parent_of(from));
  if (!folder) return false;
  const std::optional<Entry> ours =
      place::look_beneath(folder.number(), fs::path(from).filename(), Content::read);
  const std::optional<Entry> old = ours ? to.look(Content::read) : std::nullopt;
  return old && place::is_same_thing(*ours, *old);
}

// What lies at `from` is about to be copied to `to`, where something is already.
bool Keeping::merge(const std::string& from, const Where& to) {
  struct stat source {
  }, there{};
  if (lstat(from.c_str(), &source) != 0 || lstat(to.path.c_str(), &there) != 0) return change(to.path);
  if (S_ISDIR(source.st_mode)) {
    struct stat behind {};
    const bool is_folder = stat(to.path.c_str(), &behind) == 0 && S_ISDIR(behind.st_mode);
    if (!is_folder) return true;  // a folder takes no file's place
    return change(to.path) && merge_entries(from, to.path, true);
  }
  if (S_ISDIR(there.st_mode)) return true;  // nor a file a folder's
  if (const char* const trap = trap_at(homes_, to)) return refused(to.path, trap);
  const bool may_be_same =
      S_ISREG(source.st_mode) && S_ISREG(there.st_mode) && source.st_size == there.st_size && !is_known(to);
  if (!may_be_same || !has_same_content(from, to)) return change(to.path);
  const std::optional<Entry> old = to.look(Content::read);
  return (old && file_there(to, *old, false)) || refused(to.path);
}

// `to` is there. Names that it does not have yet need no look at each.
bool Keeping::merge_entries(const std::string& from, const std::string& to, bool with_hidden) {
  const std::optional<Where> inside = find(to + "/x");
  if (!inside) return refused(to);
  const Where folder = {parent_of(inside->path), inside->home};
  const bool is_new = is_in_made(folder.path);
  if (is_new) pend(folder, nothing);
  if (is_new && folder.home == homes_.own()) return true;
  const auto names = folder.names();
  if (!names) return errno == ENOENT || errno == ENOTDIR || refused(to);
  Paths there;
  for (const std::string& name : *names) there.add(name);
  std::string& copied = copied_.try_emplace(folder.path, Names{folder.home, ""}).first->second.joined;
  std::vector<Row> rows;
  const auto write_rows = [&] {
    Store* const store = store_of(folder);
    const bool written =
        store != nullptr && change_folder_of({rows.front().name, folder.home}) && store->add(rows);
    rows.clear();
    return written || refused(to);
  };
  std::error_code error;
  for (const fs::directory_entry& each : fs::directory_iterator(from, error)) {
    const std::string name = each.path().filename();
    if (!with_hidden && name.starts_with('.')) continue;
    const Where entry = folder.in(name);
    if (there.has(name)) {
      if (!merge(from + "/" + name, entry)) return false;
      continue;
    }
    if (is_new) continue;
    copied += name + "/";
    if (is_known(entry)) continue;
    rows.push_back({Kind::path, entry.path, nothing, unknown});
    made_.add(entry.path);
    if (rows.size() == most_rows && !write_rows()) return false;
  }
  return rows.empty() || write_rows();
}

bool Keeping::copy(const std::string& from, const std::string& to) {
  struct stat there {};
  if (!change(to)) return false;
  return lstat(to.c_str(), &there) != 0 || merge_entries(from, to, false);
}

bool Keeping::reading(const std::string& path) {
  const std::optional<Where> where = find(path);
  const char* const trap = where ? trap_at(homes_, *where) : trap_on_way(path);
  if (trap == nullptr || may_be_read_by_all(path)) return true;
  std::fprintf(stderr, "%s is not read for its owner: %s\n", path.c_str(), trap);
  errno = ECANCELED;
  return false;
}

bool Keeping::copy_as(const std::string& from, const std::string& to) {
  const std::optional<Where> where = find(to);
  return where ? merge(from, *where) : refused(to);
}

bool Keeping::adding(const std::string& path) {
  if (!change(path)) return false;
  const std::optional<Where> inside = find(path + "/x");
  if (!inside) return refused(path);
  const Where folder = {parent_of(inside->path), inside->home};
  if (is_in_made(folder.path)) return pend(folder, nothing), true;
  if (names_.contains(folder.path)) return true;
  auto names = folder.names();
  if (!names) return errno == ENOENT || errno == ENOTDIR || refused(path);
  Row row = {Kind::names, folder.path, "", unknown};
  Paths there;
  for (std::string& each : *names) {
    const std::string name = std::move(each);  // there may be a hundred thousand
    row.before += (row.before.empty() ? "" : "/") + name;
    there.add(name);
  }
  names.reset();
  if (!change_folder_of(*inside) || !write(folder, row)) return refused(path);
  names_.emplace(folder.path, std::pair(folder, std::move(there)));
  return true;
}

// In the list of whoever runs the program: the account that is removed takes its own along.
bool Keeping::new_home(const std::string& path) {
  const Descriptor top = place::open_top(path);
  Store* const store = open_store(*homes_.own());
  if (!top || store == nullptr) return refused(path);
  std::vector<Row> rows;
  const std::function<void(const std::string&)> note = [&](const std::string& below) {
    const auto entry = place::look_beneath(top.number(), below, Content::read);
    if (!entry) return;
    rows.push_back({Kind::new_home, below.empty() ? path : path + "/" + below, "-", place::text_of(*entry)});
    if (entry->type != Type::folder) return;
    for (const std::string& name :
         place::names_beneath(top.number(), below).value_or(std::vector<std::string>()))
      note(below.empty() ? name : below + "/" + name);
  };
  note("");
  return store->add(rows) || refused(path);
}

}  // namespace keep
