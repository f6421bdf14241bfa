#include "keep/keeping.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>

#include "place/outside.h"

namespace keep {

namespace {

namespace fs = std::filesystem;
using place::Content;
using place::Entry;
using place::Spot;
using place::Type;

constexpr off_t largest_of_a_program = off_t{1} << 20;

}  // namespace

bool Keeping::change(const std::string& path) { return change(path, most_links); }

bool Keeping::change(const std::string& path, int links_left) {
  const std::optional<Where> where = find(path);
  if (!where) return refused(path);
  // Each time: its owner may have put another thing there since the first.
  if (const char* const trap = trap_at(homes_, *where)) return refused(path, trap);
  if (is_in_made(where->path)) return pend(*where, nothing), true;
  if (is_copied(*where)) {
    pend(*where, "");
    return change_folder_of(*where) || refused(path);  // a file that is replaced once more changes its time
  }
  const std::optional<Entry> entry = where->look(Content::read);
  if (!entry) return refused(path);
  switch (entry->type) {
    case Type::nothing:
      return made(*where) || refused(path);
    case Type::folder:
      return folder_there(*where, *entry) || refused(path);
    case Type::link:
      return (file_there(*where, *entry, true) || refused(path)) && behind_link(*where, *entry, links_left);
    default:
      return file_there(*where, *entry, true) || refused(path);
  }
}

bool Keeping::behind_link(const Where& where, const Entry& entry, int links_left) {
  if (links_left == 0) return true;  // leads nowhere
  const fs::path named = entry.content;
  const fs::path target = named.is_absolute() ? named : fs::path(parent_of(where.path)) / named;
  std::error_code error;
  return fs::is_directory(target, error) || change(target, links_left - 1);
}

bool Keeping::change_folder_of(const Where& where) {
  if (where.path == where.home->top) return true;
  const Where folder = {parent_of(where.path), where.home};
  if (is_in_made(folder.path)) return true;
  if (known_.has(folder.path)) return pend(folder, ""), true;
  const std::optional<Entry> entry = folder.look(Content::not_read);
  return entry && (entry->type != Type::folder || folder_there(folder, *entry));
}

bool Keeping::folder_there(const Where& where, const Entry& entry) {
  if (store_of(where) == nullptr) return false;
  // Opening the store may have written this row: it is the home's own.
  if (known_.has(where.path)) return pend(where, ""), true;
  const std::string before = place::text_of(entry);
  if (!write(where, {Kind::path, where.path, before, unknown})) return false;
  known_.add(where.path);
  pend(where, before);
  return true;
}

// Writes down the uppermost folder that is missing.
bool Keeping::made(Where where) {
  for (Where above = where; above.path != above.home->top;) {
    above.path = parent_of(above.path);
    const std::optional<Entry> entry = above.look(Content::not_read);
    if (!entry) return false;
    if (entry->type != Type::nothing) break;
    where = above;
  }
  if (is_known(where)) return pend(where, nothing), true;
  if (!change_folder_of(where) || !write(where, {Kind::path, where.path, nothing, unknown})) return false;
  known_.add(where.path);
  made_.add(where.path);
  pend(where, nothing);
  return true;
}

bool Keeping::file_there(const Where& where, const Entry& entry, bool with_copy) {
  if (!change_folder_of(where)) return false;
  Store* const store = store_of(where);
  if (store == nullptr) return false;
  if (with_copy && !store->keep(where.spot(), where.path)) return false;
  with_copy ? not_copied_.remove(where.path) : not_copied_.add(where.path);
  const std::string before = place::text_of(entry);
  pend(where, before);
  if (known_.has(where.path)) return true;
  known_.add(where.path);
  return store->add({{Kind::path, where.path, before, unknown}});
}

bool Keeping::removal(const std::string& path) {
  const std::optional<Where> where = find(path);
  return where ? removal(*where) : refused(path);
}

bool Keeping::removal(const Where& where) {
  if (is_in_made(where.path)) return pend(where, nothing), true;
  const std::optional<Entry> entry = where.look(Content::not_read);
  if (!entry) return refused(where.path);
  if (entry->type != Type::folder) {
    if (is_copied(where) || entry->type == Type::nothing) return change(where.path);
    const std::optional<Entry> whole = where.look(Content::read);
    return (whole && file_there(where, *whole, true)) || refused(where.path);
  }
  const auto names = where.names();
  if (!names) return refused(where.path);
  if (!change_folder_of(where) || !folder_there(where, *entry)) return refused(where.path);
  return std::ranges::all_of(*names, [&](const std::string& name) { return removal(where.in(name)); });
}

bool Keeping::program(const std::string& path) {
  const std::optional<Where> where = find(path);
  return where ? program(*where) : refused(path);
}

bool Keeping::program(const Where& where) {
  const std::optional<Entry> entry = where.look(Content::not_read);
  if (!entry) return refused(where.path);
  if (entry->type == Type::file && !is_known(where)) return program_file(where);
  if (entry->type != Type::folder) return change(where.path);
  const auto names = where.names();
  if (!names || !adding(where.path)) return refused(where.path);
  return std::ranges::all_of(*names, [&](const std::string& name) {
    const Where each = where.in(name);
    return each.is_kept_folder() || program(each);
  });
}

bool Keeping::program_file(const Where& where) {
  struct stat found {};
  const Spot spot = where.spot();
  const bool is_there =
      spot && fstatat(spot.folder.number(), spot.name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0;
  if (!is_there || found.st_size <= largest_of_a_program) return change(where.path);
  const std::optional<Entry> entry = where.look(Content::read);
  return (entry && file_there(where, *entry, false)) || refused(where.path);
}

bool Keeping::attributes(const std::string& path, const std::function<bool(Entry& entry)>& change_of) {
  const std::optional<Where> where = find(path);
  return where ? changes_only_below(*where, change_of) && attributes(*where, change_of) : refused(path);
}

// Who may write there may have given another's file a second name, whose owner and mode would be changed,
// too.
bool Keeping::changes_only_below(const Where& where, const std::function<bool(Entry& entry)>& change_of) {
  if (where.home == homes_.own()) return true;
  const auto is_to_change = [&](const struct stat& what) {
    Entry entry;
    entry.type = S_ISREG(what.st_mode) ? Type::file : Type::other;
    entry.mode = what.st_mode & 07777;
    entry.uid = what.st_uid;
    return change_of(entry);
  };
  const std::optional<std::string> file =
      place::file_with_name_outside(where.home->number(), where.below(), is_to_change);
  if (!file) return errno == ELOOP || refused(where.path);  // of a link only its own owner is changed
  if (file->empty()) return true;
  const std::string outside = "a name of it lies outside of " + where.path;
  return refused((where.home->top == "/" ? "" : where.home->top) + "/" + *file, outside.c_str());
}

bool Keeping::attributes(const Where& where, const std::function<bool(Entry& entry)>& change_of) {
  if (where.is_kept_folder() || is_in_made(where.path)) return true;
  const std::optional<Entry> entry = where.look(Content::not_read);
  if (!entry) return refused(where.path);
  Entry changed = *entry;
  const bool is_to_change = entry->type != Type::nothing && change_of(changed);
  if (is_to_change && known_.has(where.path)) pend(where, "");
  if (is_to_change && !known_.has(where.path) &&
      !write(where, {Kind::attributes, where.path, place::text_of(*entry), place::text_of(changed)}))
    return refused(where.path);
  if (entry->type != Type::folder) return true;
  const auto names = where.names();
  if (!names) return refused(where.path);
  return std::ranges::all_of(*names,
                             [&](const std::string& name) { return attributes(where.in(name), change_of); });
}

bool Keeping::take(const std::string& path) {
  // A whole home cannot be kept in itself.
  const bool is_home = !path.empty() && others_home(path) == path && path != homes_.own_folder();
  const std::optional<Where> where = is_home ? Where{path, homes_.nobodys()} : find(path);
  if (!where) return refused(path);
  const std::optional<Entry> entry = where->look(Content::read);
  if (!entry) return refused(path);
  if (entry->type == Type::nothing) return true;
  Store* const store = change_folder_of(*where) ? store_of(*where) : nullptr;
  // The row first: what was moved without one would not come back.
  const bool is_taken = store != nullptr &&
                        store->add({{Kind::path, where->path, place::text_of(*entry), unknown}}) &&
                        store->take(where->spot(), where->path);
  known_.add(where->path);
  pend(*where, "");
  return is_taken || refused(path);
}

}  // namespace keep
