#include "keep/store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "keep/name_hash.h"

namespace keep {

namespace {

constexpr mode_t for_owner_alone = 0700;
constexpr std::string_view tsv = ".tsv";

std::string file_of_home(const std::string& login) {
  return std::string(folder_of_homes) + "/" + login + std::string(tsv);
}

bool write_all(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = write(file, text.data(), text.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return false;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// A list has one name and belongs to whom the folder belongs to: nobody has slipped another file in.
bool is_own_list(int file, uid_t owner) {
  struct stat found {};
  if (fstat(file, &found) != 0) return false;
  errno = EPERM;
  return S_ISREG(found.st_mode) && found.st_nlink == 1 && found.st_uid == owner;
}

// Only a list that is new is given away: one that lies there may be a second name of any file.
Descriptor open_list(int folder, const std::string& name, uid_t uid, gid_t gid) {
  constexpr int flags = O_RDWR | O_APPEND | O_NOCTTY | O_NONBLOCK;
  Descriptor list = place::open_beneath(folder, name, flags | O_CREAT | O_EXCL, 0600);
  if (list) {
    static_cast<void>(fchown(list.number(), uid, gid));  // stays ours where we may not give it away
  } else if (errno == EEXIST) {
    list = place::open_beneath(folder, name, flags);
  }
  struct stat found {};
  if (!list || fstat(list.number(), &found) != 0) return Descriptor();
  const bool may_own = found.st_uid == uid || found.st_uid == geteuid();
  if (!may_own || !is_own_list(list.number(), found.st_uid)) return errno = EPERM, Descriptor();
  const bool begins = found.st_size == 0;
  if (begins && !write_all(list.number(), head_line())) return Descriptor();
  return list;
}

// ---- One row a name --------------------------------------------------------------------------------------

struct Lines {
  off_t first;
  off_t last;
};

std::size_t key_of(const Row& row) { return hash_of_name(std::string(word_of(row.kind)) + "\t" + row.name); }

// Calls `take` for every line of the list behind the head, with the offset at which it starts.
bool each_line(int file, const std::function<void(off_t at, const Row& row)>& take) {
  off_t at = 0;
  return read_lines(file, [&](std::string_view line) {
    if (const std::optional<Row> row = row_from(line)) take(at, *row);
    at += static_cast<off_t>(line.size() + 1);
  });
}

std::optional<Row> row_at(int file, off_t at) {
  std::string line;
  std::array<char, 4096> block;
  for (ssize_t size = 0; (size = pread(file, block.data(), block.size(), at)) > 0; at += size) {
    const std::string_view part(block.data(), static_cast<std::size_t>(size));
    const std::size_t end = part.find('\n');
    line += part.substr(0, end);
    if (end != part.npos) return row_from(line);
  }
  return std::nullopt;
}

// Two looks at the list instead of all of it in memory.
bool write_joined(int list, int to) {
  std::unordered_map<std::size_t, Lines> lines;
  if (!each_line(list, [&](off_t at, const Row& row) {
        lines.try_emplace(key_of(row), Lines{at, at}).first->second.last = at;
      }))
    return false;
  std::string text = head_line();
  bool written = true;
  const bool read = each_line(list, [&](off_t at, const Row& row) {
    const Lines& of = lines.at(key_of(row));
    if (of.first != at) return;
    const std::optional<Row> last = of.last == at ? row : row_at(list, of.last);
    text += line_of({row.kind, row.name, row.before, last ? last->became : row.became});
    if (text.size() < (1 << 16)) return;
    written = write_all(to, text) && written;
    text.clear();
  });
  return read && write_all(to, text) && written;
}

// In `folder`, in place of the list `name`.
void join_rows(int folder, const std::string& name, int list) {
  const std::string beside = name + "-new";
  struct stat old {};
  if (fstat(list, &old) != 0) return;
  const place::Spot spot = place::spot_beneath(folder, beside);
  if (!spot) return;
  Descriptor joined = place::open_beneath(folder, beside, O_WRONLY | O_CREAT | O_EXCL, 0600);
  if (!joined) return;
  static_cast<void>(fchown(joined.number(), old.st_uid, old.st_gid));
  const bool whole = write_joined(list, joined.number()) && fsync(joined.number()) == 0 && joined.close();
  const std::string last = spot.name.substr(0, spot.name.size() - 4);
  if (!whole || renameat(spot.folder.number(), spot.name.c_str(), spot.folder.number(), last.c_str()) != 0)
    unlinkat(spot.folder.number(), spot.name.c_str(), 0);
}

// True when all that lies at `from` lies at `to` as well.
bool is_whole_copy(const place::Spot& from, const place::Spot& to) {
  const std::optional<place::Entry> entry = place::look_at(from, place::Content::read);
  const std::optional<place::Entry> copy = place::look_at(to, place::Content::read);
  if (!entry || !copy || !place::is_same_thing(*entry, *copy)) return false;
  if (entry->type != place::Type::folder) return true;
  const auto names = place::names_beneath(from.folder.number(), from.name);
  const auto below = [](const place::Spot& spot, const std::string& name) {
    return place::spot_beneath(spot.folder.number(), spot.name + "/" + name);
  };
  return names && std::ranges::all_of(*names, [&](const std::string& name) {
           return is_whole_copy(below(from, name), below(to, name));
         });
}

}  // namespace

std::string name_of_run(std::time_t time) {
  std::array<char, 64> text{};
  std::tm local{};
  localtime_r(&time, &local);
  std::strftime(text.data(), text.size(), "%Y-%m-%d-%H%M%S", &local);
  return text.data();
}

// ---- Writing
// -------------------------------------------------------------------------------------------------

Store::Store(std::string home, std::string date_time)
    : home_(std::move(home)), date_time_(std::move(date_time)) {}

bool Store::has_own_folder() {
  const std::string path = std::string(folder_of_all) + "/" + date_time_;
  if (!place::make_folder_beneath(top_.number(), path, for_owner_alone, uid_, gid_)) return false;
  for (const std::string& each : {std::string(folder_of_all), path}) {
    const Descriptor folder = place::open_beneath(top_.number(), each, O_RDONLY | O_DIRECTORY);
    struct stat found {};
    if (!folder || fstat(folder.number(), &found) != 0) return false;
    // The home may have another owner since an earlier run, who made it an account's.
    const bool is_ours = found.st_uid == uid_ || found.st_uid == geteuid();
    if (!is_ours && (geteuid() != 0 || fchown(folder.number(), uid_, gid_) != 0)) return errno = EPERM, false;
    if ((found.st_mode & 07777) != for_owner_alone && fchmod(folder.number(), for_owner_alone) != 0)
      return false;
  }
  folder_ = place::open_beneath(top_.number(), path, O_RDONLY | O_DIRECTORY);
  return static_cast<bool>(folder_);
}

bool Store::open(bool may_go_on, Descriptor copy_of_list) {
  top_ = place::open_top(home_);
  struct stat found {};
  if (!top_ || fstat(top_.number(), &found) != 0) return false;
  uid_ = found.st_uid;
  gid_ = found.st_gid;
  if (!has_own_folder()) return false;
  struct stat list {};
  const bool is_there = fstatat(folder_.number(), list_name, &list, AT_SYMLINK_NOFOLLOW) == 0;
  if (is_there && !may_go_on) return errno = EEXIST, false;
  list_ = open_list(folder_.number(), list_name, uid_, gid_);
  // Until this process ends, however it does.
  if (list_ && flock(list_.number(), LOCK_EX | LOCK_NB) != 0) list_ = Descriptor();
  copy_ = std::move(copy_of_list);
  return is_open();
}

Descriptor Store::open_list_of(const std::string& login) const {
  if (!place::make_folder_beneath(folder_.number(), folder_of_homes, for_owner_alone, uid_, gid_))
    return Descriptor();
  return open_list(folder_.number(), file_of_home(login), uid_, gid_);
}

bool Store::add(const std::vector<Row>& rows) {
  std::string text;
  for (const Row& row : rows) text += line_of(row);
  const std::lock_guard lock(*adding_);
  if (!write_all(list_.number(), text)) return false;
  return !copy_ || write_all(copy_.number(), text);
}

std::optional<place::Spot> Store::place_for(const std::string& path) {
  const std::string place = folder_of_files + path;
  const std::string folder = place.substr(0, place.rfind('/'));
  if (!place::make_folder_beneath(folder_.number(), folder, for_owner_alone, uid_, gid_)) return std::nullopt;
  place::Spot spot = place::spot_beneath(folder_.number(), place);
  if (!spot) return std::nullopt;
  return spot;
}

// What a killed run has begun to copy is never taken for a copy: it has no name there yet.
bool Store::keep(const place::Spot& from, const std::string& path) {
  const std::optional<place::Spot> to = place_for(path);
  return to && (place::copy_entry(from, *to) || errno == EEXIST);
}

bool Store::take(const place::Spot& from, const std::string& path) {
  const std::optional<place::Spot> to = place_for(path);
  if (!to) return false;
  if (place::move_entry(from, *to)) return true;
  if (errno != EEXIST) return false;
  // A move to another disk that was interrupted: what is copied already goes.
  if (is_whole_copy(from, *to)) return place::remove_entry(from);
  errno = EEXIST;
  return false;
}

void Store::drop(const std::string& path) {
  int flags = 0;
  for (std::string place = folder_of_files + path; !place.empty(); place.erase(place.find_last_of('/'))) {
    const place::Spot spot = place::spot_beneath(folder_.number(), place);
    if (!spot || unlinkat(spot.folder.number(), spot.name.c_str(), flags) != 0) return;
    if (place.find('/') == std::string::npos) return;
    flags = AT_REMOVEDIR;
  }
}

void Store::complete() {
  if (list_) join_rows(folder_.number(), list_name, list_.number());
}

// ---- Runs that were
// --------------------------------------------------------------------------------------------

namespace {

Descriptor open_run(const std::string& home, const std::string& date_time, const std::string& name,
                    int flags) {
  const Descriptor top = place::open_top(home);
  if (!top) return Descriptor();
  return place::open_beneath(top.number(), std::string(folder_of_all) + "/" + date_time + "/" + name,
                             flags | O_NOCTTY | O_NONBLOCK);
}

std::vector<std::string> names_in(const std::string& home, const std::string& folder) {
  const Descriptor top = place::open_top(home);
  if (!top) return {};
  return place::names_beneath(top.number(), folder).value_or(std::vector<std::string>());
}

std::optional<Run> run_in(const std::string& home, const std::string& date_time) {
  const Descriptor list = open_run(home, date_time, list_name, O_RDONLY);
  if (!list) return std::nullopt;
  Run run;
  run.date_time = date_time;
  run.is_going_on = flock(list.number(), LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
  read_rows(list.number(), [&](const Row& row) {
    if (row.kind != Kind::run) return;
    if (row.name == "migration" || row.name == "undo") {
      run.is_undo = row.name == "undo";
      if (run.is_undo) run.of = row.before;
      run.over = row.became == "over";
    }
    if (row.name == "undone") run.undone = row.before;
  });
  return run;
}

}  // namespace

std::vector<Run> runs_in(const std::string& home) {
  std::vector<Run> runs;
  for (const std::string& name : names_in(home, folder_of_all))
    if (std::optional<Run> run = run_in(home, name)) runs.push_back(std::move(*run));
  return runs;
}

std::vector<Row> rows_of(const std::string& home, const std::string& date_time) {
  const Descriptor list = open_run(home, date_time, list_name, O_RDONLY);
  return list ? joined_rows(list.number()) : std::vector<Row>();
}

std::vector<OtherHome> other_homes(const std::string& home, const std::string& date_time) {
  std::vector<OtherHome> found;
  const std::string folder = std::string(folder_of_all) + "/" + date_time + "/" + folder_of_homes;
  for (const std::string& name : names_in(home, folder)) {
    if (!name.ends_with(tsv)) continue;
    OtherHome other;
    other.login = name.substr(0, name.size() - tsv.size());
    const Descriptor list = open_run(home, date_time, file_of_home(other.login), O_RDONLY);
    if (!list) continue;
    for (Row& row : joined_rows(list.number())) {
      if (row.kind == Kind::run && row.name == "home") other.home = row.before;
      other.rows.push_back(std::move(row));
    }
    if (!other.home.empty()) found.push_back(std::move(other));
  }
  return found;
}

std::string kept_path(const std::string& home, const std::string& date_time, const std::string& path) {
  return home + "/" + folder_of_all + "/" + date_time + "/" + folder_of_files + path;
}

bool mark_undone(const std::string& home, const std::string& date_time, const std::string& by) {
  const Descriptor list = open_run(home, date_time, list_name, O_WRONLY | O_APPEND);
  return list && write_all(list.number(), line_of({Kind::run, "undone", by, "over"}));
}

}  // namespace keep
