#include "account/readers/kept.h"

#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <xxhash.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <optional>
#include <unordered_map>

#include "account/readers/digest.h"
#include "account/readers/text.h"

namespace account {
namespace {

constexpr const char* kept = ".brindle_before";
constexpr std::string_view nothing = "nothing", unknown = "unknown";
constexpr std::size_t most_names = 1'000'000;
constexpr std::size_t longest_row = std::size_t{1} << 20;

// ---- Files below a home whose owner may be somebody else
// ---------------------------------------------------

class Opened {
 public:
  explicit Opened(int file) : file_(file) {}
  ~Opened() {
    if (file_ >= 0) close(file_);
  }
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;

  int number() const { return file_; }
  explicit operator bool() const { return file_ >= 0; }

 private:
  int file_;
};

// Opens what lies at `path` below the open folder `top` over no link, with errno set when that fails.
int open_beneath(int top, const std::string& path, int flags) {
  open_how how{};
  how.flags = static_cast<std::uint64_t>(flags) | O_CLOEXEC;
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
  return static_cast<int>(syscall(SYS_openat2, top, path.c_str(), &how, sizeof how));
}

int open_below(const std::string& home, const std::string& path, int flags) {
  const Opened top(open(home.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  return top ? open_beneath(top.number(), path, flags) : -1;
}

std::string within_home(const std::string& run, const std::string& name) {
  return std::string(kept) + "/" + run + "/" + name;
}

// ---- Rows
// --------------------------------------------------------------------------------------------------

using Cells = std::array<std::string_view, 4>;  // kind, name, before, became, as they are written

// No value for a line that was cut, and for one that is no row.
std::optional<Cells> cells_of(std::string_view line) {
  if (!line.ends_with('\n')) return std::nullopt;
  line.remove_suffix(1);
  Cells cells;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    const std::size_t tab = line.find('\t');
    if ((tab == std::string_view::npos) != (i + 1 == cells.size())) return std::nullopt;
    cells[i] = line.substr(0, tab);
    if (i + 1 < cells.size()) line.remove_prefix(tab + 1);
  }
  constexpr std::array<std::string_view, 7> kinds = {"path",          "attributes", "gconf", "queue",
                                                     "default_queue", "account",    "run"};
  if (std::ranges::find(kinds, cells[0]) == kinds.end()) return std::nullopt;
  return cells;
}

// A backslash, a tab and a line feed are written \\, \t and \n.
std::string plain(std::string_view cell) {
  std::string text;
  for (std::size_t i = 0; i < cell.size(); ++i) {
    if (cell[i] != '\\' || i + 1 == cell.size()) {
      text += cell[i];
      continue;
    }
    const char c = cell[++i];
    text += c == 't' ? '\t' : c == 'n' ? '\n' : c;
  }
  return text;
}

// What lies at a path is told as "TYPE MODE OWNER GROUP TIME INODE CONTENT".
std::string_view type_in(std::string_view cell) { return cell.substr(0, cell.find(' ')); }

std::string_view content_in(std::string_view cell) {
  for (int blanks = 0; blanks < 6; ++blanks) {
    const std::size_t blank = cell.find(' ');
    if (blank == std::string_view::npos) return {};
    cell.remove_prefix(blank + 1);
  }
  return cell;
}

// Of large files only the names are written down, so that nobody can say that their content is another.
bool is_same_content(std::string_view before, std::string_view became) {
  if (type_in(before) != type_in(became)) return false;
  const std::string_view one = content_in(before), other = content_in(became);
  return one == other || (type_in(before) == "file" && (one.empty() || other.empty()));
}

bool is_folder_now(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// ---- A list
// ------------------------------------------------------------------------------------------------

struct HashOfDigest {
  std::size_t operator()(const Digest& digest) const noexcept { return digest.low; }
};

class Reading {
 public:
  /// False when there are too many.
  bool take(const Cells& cells) {
    if (cells[0] == "run") return take_run(cells);
    const auto [seen, is_new] = seen_.try_emplace(digest_of(cells));
    if (is_new) remember(seen->second, cells);
    seen->second.is_there = cells[3] != nothing;
    seen->second.is_left = cells[3] == unknown;
    if (seen->second.thing != none) things_[seen->second.thing].became = cells[3];
    return seen_.size() <= most_names;
  }

  KeptList result() {
    KeptList list;
    list.run = run_;
    list.undone = undone_;
    bool left = false;
    for (const auto& [digest, seen] : seen_) {
      if (seen.thing == none && seen.is_there) ++list.made;
      left |= seen.is_left;
    }
    for (const Thing& thing : things_) {
      if (const auto fate = fate_of(thing)) {
        list.things.push_back({thing.kind, thing.name, *fate});
      } else if (thing.before != thing.became && thing.became != unknown) {
        list.adjusted = true;
      }
    }
    const bool finished = run_.empty() ? !left : is_over_;
    list.state = finished ? KeptList::State::whole : KeptList::State::unfinished;
    return list;
  }

 private:
  struct Thing {
    std::string kind, name, before, became;
  };
  struct Seen {
    std::size_t thing = none;  // its place; none for what was not there before
    bool is_there = false, is_left = false;
  };
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  // Kind and name: they stand side by side.
  static Digest digest_of(const Cells& cells) {
    const char* const begin = cells[0].data();
    const char* const end = cells[1].data() + cells[1].size();
    const XXH128_hash_t hash = XXH3_128bits(begin, static_cast<std::size_t>(end - begin));
    return {hash.high64, hash.low64};
  }

  bool take_run(const Cells& cells) {
    if (cells[1] == "undone") undone_ = plain(cells[2]);
    if (cells[1] != "migration" && cells[1] != "undo") return true;
    run_ = cells[1];
    is_over_ = cells[3] == "over";
    return true;
  }

  void remember(Seen& seen, const Cells& cells) {
    if (cells[2] == nothing) return;
    seen.thing = things_.size();
    things_.push_back({std::string(cells[0]), plain(cells[1]), std::string(cells[2]), ""});
  }

  // No value when its content is the same.
  static std::optional<Fate> fate_of(const Thing& thing) {
    if (thing.kind == "attributes") return std::nullopt;
    const bool is_path = thing.kind == "path";
    if (thing.became == nothing) return Fate::removed;
    if (thing.became == unknown) {
      // A folder is also written down for what is made in it.
      if (is_path && type_in(thing.before) == "folder" && is_folder_now(thing.name)) return std::nullopt;
      return Fate::unknown;
    }
    const bool is_same = is_path ? is_same_content(thing.before, thing.became) : thing.before == thing.became;
    return is_same ? std::nullopt : std::optional(Fate::replaced);
  }

  std::unordered_map<Digest, Seen, HashOfDigest> seen_;
  std::vector<Thing> things_;
  std::string run_, undone_;
  bool is_over_ = false;
};

bool is_plain_file(int file) {
  struct stat status;
  return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

bool is_digits(std::string_view text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace

bool is_kept_run(std::string_view name) {
  constexpr std::string_view shape = "0000-00-00-000000";
  if (name.size() < shape.size()) return false;
  for (std::size_t i = 0; i < shape.size(); ++i)
    if (shape[i] == '-' ? name[i] != '-' : !is_digits(name.substr(i, 1))) return false;
  name.remove_prefix(shape.size());
  return name.empty() || (name.front() == '-' && is_digits(name.substr(1)));
}

std::vector<std::string> kept_runs(const std::string& home) {
  std::vector<std::string> runs;
  const int folder = open_below(home, kept, O_RDONLY | O_DIRECTORY);
  if (folder < 0) return runs;
  const std::unique_ptr<DIR, int (*)(DIR*)> open(fdopendir(folder), closedir);
  while (const dirent* const entry = open ? readdir(open.get()) : nullptr)
    if (is_kept_run(entry->d_name)) runs.emplace_back(entry->d_name);
  std::ranges::sort(runs, std::greater());
  return runs;
}

KeptList read_kept_list(const std::string& home, const std::string& run, const std::string& name) {
  KeptList unreadable;
  // A pipe there must not hold us up.
  const Opened file(open_below(home, within_home(run, name), O_RDONLY | O_NONBLOCK));
  if (!file && errno == ENOENT) return unreadable;
  unreadable.state = KeptList::State::unreadable;
  if (!file || !is_plain_file(file.number())) return unreadable;
  bool failed = false;
  LineReader lines(
      [&](std::span<char> buffer) {
        const ssize_t got = read(file.number(), buffer.data(), buffer.size());
        failed |= got < 0;
        return static_cast<std::size_t>(std::max<ssize_t>(got, 0));
      },
      longest_row);
  Reading reading;
  for (std::string line; lines.next(line);) {
    const auto cells = cells_of(line);
    if (cells && !reading.take(*cells)) return unreadable;
  }
  return failed ? unreadable : reading.result();
}

std::string kept_path(const std::string& home, const std::string& run, const std::string& name) {
  return home + "/" + within_home(run, name);
}

void look_for_old_ones(KeptList& list, const std::string& home, const std::string& run) {
  const Opened files(open_below(home, within_home(run, "files"), O_PATH | O_DIRECTORY));
  if (!files) return;
  for (KeptThing& thing : list.things) {
    if (thing.kind != "path" || !thing.name.starts_with('/')) continue;
    const Opened old(open_beneath(files.number(), thing.name.substr(1), O_PATH | O_NOFOLLOW));
    thing.is_kept = static_cast<bool>(old);
  }
}

}  // namespace account
