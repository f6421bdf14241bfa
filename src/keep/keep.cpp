#include "keep/keep.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "keep/name_hash.h"
#include "keep/store.h"
#include "place/entry.h"

namespace keep {

namespace {

namespace fs = std::filesystem;
using place::Content;
using place::Entry;
using place::Spot;
using place::Type;

constexpr off_t largest_of_a_program = off_t{1} << 20;
constexpr std::size_t most_rows = 1000;  // in memory, of thousands
constexpr int most_links = 40;           // as many as the kernel follows

// Many paths, of which is only asked whether they are among them.
class Paths {
 public:
  void add(const std::string& path) { hashes_.insert(hash_of_name(path)); }
  void remove(const std::string& path) { hashes_.erase(hash_of_name(path)); }
  bool has(const std::string& path) const { return hashes_.contains(hash_of_name(path)); }

 private:
  std::unordered_set<std::size_t> hashes_;
};

bool is_within(std::string_view path, std::string_view folder) {
  if (folder == "/") return true;
  return path == folder || (path.starts_with(folder) && path[folder.size()] == '/');
}

std::string parent_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == 0 ? "/" : path.substr(0, slash);
}

/// A home, and the folder below which its list names things: the home itself, or "/" for what lies in none.
struct Home {
  std::string folder;
  std::string top;
  std::string login;
  Descriptor open_top;

  // Opened when it is there: an account may be made in the run.
  int number() {
    if (!open_top) open_top = place::open_top(top);
    return open_top.number();
  }
};

/// A path without links in its folders.
struct Where {
  std::string path;
  Home* home;

  std::string below() const {
    return path == home->top ? "" : path.substr(home->top == "/" ? 1 : home->top.size() + 1);
  }
  Where in(const std::string& name) const { return {path + "/" + name, home}; }
  bool is_kept_folder() const { return path == home->folder + "/" + folder_of_all; }
  std::optional<Entry> look(Content content) const {
    const int top = home->number();
    return top < 0 ? std::nullopt : place::look_beneath(top, below(), content);
  }
  std::optional<std::vector<std::string>> names() const {
    const int top = home->number();
    return top < 0 ? std::nullopt : place::names_beneath(top, below());
  }
  Spot spot() const { return place::spot_beneath(home->number(), below()); }
};

/// All that is kept and made between begin_run and end_run.
class Keeping {
 public:
  Keeping(const std::string& home, std::string date_time)
      : home_(real(home)), date_time_(std::move(date_time)) {}

  // The row that says what this run is.
  void is(const Row& row, bool may_go_on) {
    head_ = row;
    may_go_on_ = may_go_on;
  }

  void go_on(const std::vector<Row>& rows);

  bool is_nobodys(const std::string& path) const {
    if (!path.starts_with('/')) return true;
    return is_within(fs::path(path).lexically_normal().native(), "/tmp") && !is_within(home_, "/tmp");
  }

  std::optional<Where> find(const std::string& path);
  bool change(const std::string& path) { return change(path, most_links); }
  bool removal(const std::string& path);
  bool copy(const std::string& from, const std::string& to);
  bool copy_as(const std::string& from, const std::string& to);
  bool adding(const std::string& path);
  bool program(const std::string& path);
  bool attributes(const std::string& path, const std::function<bool(Entry& entry)>& change);
  bool new_home(const std::string& path);
  bool thing(Kind kind, const std::string& name, const std::string& before);
  void thing_is(Kind kind, const std::string& name, const std::string& became);
  bool take(const std::string& path);
  void settle();
  void end();
  std::string folder() const;

 private:
  // Thousands may be copied into one folder.
  struct Names {
    Home* home;
    std::string joined;  // each with a / behind it
  };
  struct Pending {
    Home* home;
    std::string before;
  };

  static std::string real(const std::string& path) {
    std::error_code error;
    const fs::path found = fs::weakly_canonical(path, error);
    return error ? path : found.string();
  }

  // Without links in its folders. What ".." leads to is known only behind those.
  static std::string whole_path(const std::string& path) {
    const std::string plain = path.substr(0, path.find_last_not_of('/') + 1);
    const std::string name = fs::path(plain).filename();
    if (plain.empty() || name == "." || name == "..") return real(plain.empty() ? "/" : plain);
    const std::string folder = real(parent_of(plain));
    return (folder == "/" ? "" : folder) + "/" + name;
  }
  bool is_somebodys(const std::string& home) const;
  Home* home_of(const std::string& folder, const std::string& top, const std::string& login);
  Home* own_home() { return home_of(home_, home_, ""); }
  Store* store_of(const Where& where) { return open_store(*where.home); }
  Store* open_store(const Home& home);
  bool begin_list(Store& list, const Home& home, const std::string& before);

  bool is_known(const Where& where) const { return known_.has(where.path) || is_in_made(where.path); }
  // Its first state is kept: nothing that is there later may take its place, nor be held against it.
  bool is_copied(const Where& where) const { return known_.has(where.path) && !not_copied_.has(where.path); }
  bool is_in_made(const std::string& path) const;

  bool change(const std::string& path, int links_left);
  bool change_folder_of(const Where& where);
  bool made(Where where);
  bool folder_there(const Where& where, const Entry& entry);
  bool file_there(const Where& where, const Entry& entry, bool with_copy);
  bool behind_link(const Where& where, const std::string& path, const Entry& entry, int links_left);
  bool merge(const std::string& from, const Where& to);
  bool merge_entries(const std::string& from, const std::string& to, bool with_hidden);
  bool has_same_content(const std::string& from, const Where& to) const;
  bool removal(const Where& where);
  bool program(const Where& where);
  bool program_file(const Where& where);
  bool attributes(const Where& where, const std::function<bool(Entry& entry)>& change);
  bool write(const Where& where, const Row& row);
  void pend(const Where& where, std::string before);

  void settle_one(const Where& where, const std::string& before);
  void settle_folders_above(Where where);
  void settle_tree(const Where& where, const std::string& before);
  void settle_copied(const Where& folder, std::string_view names);
  void settle_names(const Where& where, const Paths& there);
  void drop_if_same(const Where& where, const std::string& before, const Entry& now);
  void write_later(const Where& where, Row row);
  void write_settled();
  bool refused(const std::string& path, const char* why = nullptr) const;

  std::string home_;
  std::string date_time_;
  Row head_;
  bool may_go_on_ = false;
  std::map<std::pair<std::string, std::string>, Home> homes_;  // by folder and top
  std::map<std::string, Store> stores_;                        // by home
  Paths known_;                                                // have a row
  Paths made_;                                                 // made by the run, with all in them
  Paths told_;                                                 // folders in made ones that have a row
  Paths not_copied_;                        // have a row and no copy, since their content was to stay
  std::map<std::string, Pending> pending_;  // by path
  std::map<std::string, Names> copied_;     // new names, by the folder that they are copied into
  std::map<std::string, std::pair<Where, Paths>> names_;  // folders to which things are added
  std::map<Store*, std::vector<Row>> settled_;            // not yet written
};

// ---- Places ----------------------------------------------------------------------------------------------

Home* Keeping::home_of(const std::string& folder, const std::string& top, const std::string& login) {
  const auto [home, is_new] = homes_.try_emplace({folder, top});
  if (is_new) home->second = {folder, top, login, Descriptor()};
  return &home->second;
}

// The folder below /home that `path` lies in; empty when it lies in none.
std::string others_home(const std::string& path) {
  constexpr std::string_view start = "/home/";
  return path.starts_with(start) && path.size() > start.size() ? path.substr(0, path.find('/', start.size()))
                                                               : "";
}

// A home that the run itself makes, since no account could be, is listed with the things of nobody.
bool Keeping::is_somebodys(const std::string& home) const {
  std::error_code error;
  return !home.empty() && fs::is_directory(home, error) && !is_in_made(home);
}

// Of whoever runs the program, of somebody else, or of nobody. In another's home a link that leads out of it
// is a trap: what that other could not write would be written, and given back, by us.
std::optional<Where> Keeping::find(const std::string& path) {
  std::string named = fs::path(path).lexically_normal();
  while (named.size() > 1 && named.ends_with('/')) named.pop_back();
  const std::string whole = whole_path(path);
  const std::string others = is_within(named, home_) ? "" : others_home(named);
  if (named != others && is_somebodys(others)) {
    const std::string top = real(others);
    if (!is_within(whole, top)) return errno = EXDEV, std::nullopt;
    if (top != home_) return Where{whole, home_of(top, top, fs::path(others).filename())};
  }
  if (is_within(whole, home_)) return Where{whole, own_home()};
  const std::string home = others_home(whole);
  if (is_somebodys(home)) return Where{whole, home_of(home, home, fs::path(home).filename())};
  return Where{whole, home_of(home_, "/", "")};
}

bool Keeping::is_in_made(const std::string& path) const {
  for (std::string at = path; at.size() > 1; at = parent_of(at))
    if (made_.has(at)) return true;
  return false;
}

Store* Keeping::open_store(const Home& home) {
  const auto found = stores_.find(home.folder);
  if (found != stores_.end()) return &found->second;
  Descriptor copy;
  if (home.folder != home_) {
    Store* const own = open_store(*own_home());
    if (own == nullptr) return nullptr;
    copy = own->open_list_of(home.login);
    if (!copy) return nullptr;
  }
  // Its own folder changes the home's time.
  const Descriptor top = place::open_top(home.folder);
  const std::optional<Entry> before =
      top ? place::look_beneath(top.number(), "", Content::not_read) : std::nullopt;
  if (!before) return nullptr;
  Store store(home.folder, date_time_);
  bool is_open = store.open(may_go_on_, std::move(copy));
  // Two runs in one second: the second has a name of its own.
  const std::string start = date_time_;
  for (int number = 2; !is_open && errno == EEXIST && stores_.empty() && number < 100; ++number) {
    date_time_ = start + "-" + std::to_string(number);
    store = Store(home.folder, date_time_);
    is_open = store.open(false);
  }
  if (!is_open || !begin_list(store, home, place::text_of(*before))) return nullptr;
  return &stores_.emplace(home.folder, std::move(store)).first->second;
}

bool Keeping::begin_list(Store& list, const Home& home, const std::string& before) {
  std::vector<Row> rows = {head_};
  if (home.folder != home_) rows.push_back({Kind::run, "home", home.folder, "-"});
  if (!known_.has(home.folder) && !is_in_made(home.folder)) {
    rows.push_back({Kind::path, home.folder, before, unknown});
    known_.add(home.folder);
    pend({home.folder, home_of(home.folder, home.folder, home.login)}, before);
  }
  return list.add(rows);
}

bool Keeping::refused(const std::string& path, const char* why) const {
  const int error = errno;
  const char* const reason = why != nullptr   ? why
                             : error == EXDEV ? "a link leads out of its home"
                                              : std::strerror(error);
  std::fprintf(stderr, "%s could not be kept as it is, so it stays and is not changed: %s\n", path.c_str(),
               reason);
  errno = ECANCELED;
  return false;
}

// ---- Before
// --------------------------------------------------------------------------------------------------

bool Keeping::write(const Where& where, const Row& row) {
  Store* const store = store_of(where);
  return store != nullptr && store->add({row});
}

void Keeping::pend(const Where& where, std::string before) {
  pending_.try_emplace(where.path, Pending{where.home, std::move(before)});
}

// What an unfinished run has written down counts as if this one had; what became of it is told at the end.
void Keeping::go_on(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    if (row.kind != Kind::path) {
      known_.add(std::string(word_of(row.kind)) + "\t" + row.name);
      continue;
    }
    const std::optional<Where> where = find(row.name);
    if (!where) continue;
    known_.add(where->path);
    if (row.before == nothing) made_.add(where->path);
    pend(*where, row.before);
  }
}

bool Keeping::change(const std::string& path, int links_left) {
  const std::optional<Where> where = find(path);
  if (!where) return refused(path);
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
      return (file_there(*where, *entry, true) || refused(path)) &&
             behind_link(*where, path, *entry, links_left);
    default:
      return file_there(*where, *entry, true) || refused(path);
  }
}

// Whoever put a link into another's home may have meant us harm.
bool Keeping::behind_link(const Where& where, const std::string& path, const Entry& entry, int links_left) {
  if (links_left == 0) return true;  // leads nowhere
  const fs::path named = entry.content;
  const fs::path target = named.is_absolute() ? named : fs::path(parent_of(where.path)) / named;
  if (where.home->folder != home_ && !is_within(real(target), where.home->folder)) {
    errno = EXDEV;
    return refused(path);
  }
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
  if (is_in_made(folder.path)) return pend(folder, nothing), true;
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
  return where ? attributes(*where, change_of) : refused(path);
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

// In the list of whoever runs the program: the account that is removed takes its own along.
bool Keeping::new_home(const std::string& path) {
  const Descriptor top = place::open_top(path);
  Store* const store = open_store(*own_home());
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

bool Keeping::thing(Kind kind, const std::string& name, const std::string& before) {
  const std::string key = std::string(word_of(kind)) + "\t" + name;  // no path begins so
  if (known_.has(key)) return true;
  if (!write({home_, own_home()}, {kind, name, before, unknown})) return refused(name);
  known_.add(key);
  return true;
}

void Keeping::thing_is(Kind kind, const std::string& name, const std::string& became) {
  if (!write({home_, own_home()}, {kind, name, nothing, became})) std::perror(name.c_str());
}

bool Keeping::take(const std::string& path) {
  // A whole home cannot be kept in itself.
  const bool is_home = !path.empty() && others_home(path) == path && path != home_;
  const std::optional<Where> where = is_home ? Where{path, home_of(home_, "/", "")} : find(path);
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

// ---- After
// -----------------------------------------------------------------------------------------------------

void Keeping::write_later(const Where& where, Row row) {
  Store* const store = store_of(where);
  if (store == nullptr) return std::perror(where.path.c_str());
  std::vector<Row>& rows = settled_[store];
  rows.push_back(std::move(row));
  if (rows.size() >= most_rows) write_settled();
}

void Keeping::write_settled() {
  for (auto& [store, rows] : settled_)
    if (!store->add(rows)) std::perror(store->folder().c_str());
  settled_.clear();
}

void Keeping::settle_tree(const Where& where, const std::string& before) {
  if (where.is_kept_folder()) return;
  const std::optional<Entry> entry = where.look(Content::read);
  if (!entry) return std::perror(where.path.c_str());
  write_later(where, {Kind::path, where.path, before, place::text_of(*entry)});
  drop_if_same(where, before, *entry);
  if (before != nothing || entry->type != Type::folder) return;
  told_.add(where.path);
  for (const std::string& name : where.names().value_or(std::vector<std::string>()))
    settle_tree(where.in(name), nothing);
}

// A copy of what is still there as it was is of no use; a later step may need one.
void Keeping::drop_if_same(const Where& where, const std::string& before, const Entry& now) {
  if (now.type != Type::file || not_copied_.has(where.path)) return;
  const std::optional<Entry> was = place::entry_from(before);
  Store* const store = was && place::is_same_thing(*was, now) ? store_of(where) : nullptr;
  if (store == nullptr) return;
  store->drop(where.path);
  not_copied_.add(where.path);
}

void Keeping::settle_one(const Where& where, const std::string& before) {
  const bool is_made = before.empty() && is_in_made(where.path);
  settle_tree(where, is_made ? nothing : before);
  if (is_in_made(where.path)) settle_folders_above(where);
}

void Keeping::settle_copied(const Where& folder, std::string_view names) {
  for (std::size_t end = 0; (end = names.find('/')) != names.npos; names.remove_prefix(end + 1))
    settle_tree(folder.in(std::string(names.substr(0, end))), nothing);
}

// They may have been made after the folder that they lie in was told, or after they were told to be nothing.
void Keeping::settle_folders_above(Where where) {
  for (;;) {
    where.path = parent_of(where.path);
    if (!is_in_made(where.path) || told_.has(where.path)) return;
    const std::optional<Entry> entry = where.look(Content::not_read);
    if (!entry || entry->type != Type::folder) return;
    write_later(where, {Kind::path, where.path, nothing, place::text_of(*entry)});
    told_.add(where.path);
  }
}

void Keeping::settle_names(const Where& where, const Paths& there) {
  for (const std::string& name : where.names().value_or(std::vector<std::string>())) {
    const Where each = where.in(name);
    if (there.has(name) || each.is_kept_folder() || is_known(each)) continue;
    made_.add(each.path);
    settle_tree(each, nothing);
  }
  write_later(where, {Kind::names, where.path, nothing, "told"});
}

void Keeping::settle() {
  for (const auto& [path, folder] : std::exchange(names_, {})) settle_names(folder.first, folder.second);
  for (const auto& [path, names] : std::exchange(copied_, {}))
    settle_copied({path, names.home}, names.joined);
  for (const auto& [path, one] : std::exchange(pending_, {})) settle_one({path, one.home}, one.before);
  write_settled();
}

void Keeping::end() {
  settle();
  head_.became = "over";
  for (auto& [home, store] : stores_) {
    if (!store.add({head_})) std::perror(store.folder().c_str());
    store.complete();
  }
}

std::string Keeping::folder() const {
  const auto own = stores_.find(home_);
  return own == stores_.end() ? "" : own->second.folder();
}

// The windows' thread begins what the worker goes on with.
std::mutex mutex;
// Never destroyed: the worker may be at work until the process is gone.
std::unique_ptr<Keeping>& keeping = *new std::unique_ptr<Keeping>;

std::string end_of(const std::string& path) {
  std::error_code error;
  const fs::path end = fs::canonical(path, error);
  return error ? path : end.string();
}

bool asked(const std::string& path, const std::function<bool()>& question) {
  const std::lock_guard lock(mutex);
  return !keeping || keeping->is_nobodys(path) || question();
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
