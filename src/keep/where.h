// Where a path lies, and in whose home.
#ifndef BRINDLE_KEEP_WHERE_H
#define BRINDLE_KEEP_WHERE_H

#include <fcntl.h>

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "keep/paths.h"
#include "place/beneath.h"
#include "place/entry.h"

namespace keep {

inline constexpr int most_links = 40;  ///< as many as the kernel follows

bool is_within(std::string_view path, std::string_view folder);

std::string parent_of(const std::string& path);

/// `path` without links, as far as it is there.
std::string without_links(const std::string& path);

/// The folder below /home that `path` lies in; empty when it lies in none.
std::string others_home(const std::string& path);

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
  bool is_kept_folder() const;
  std::optional<place::Entry> look(place::Content content) const {
    const int top = home->number();
    return top < 0 ? std::nullopt : place::look_beneath(top, below(), content);
  }
  std::optional<std::vector<std::string>> names() const {
    const int top = home->number();
    return top < 0 ? std::nullopt : place::names_beneath(top, below());
  }
  Descriptor open() const { return place::open_beneath(home->number(), below(), O_RDONLY | O_DIRECTORY); }
  place::Spot spot() const { return place::spot_beneath(home->number(), below()); }
};

/// All homes that something was looked for in. Whoever runs the program has one of them.
class Homes {
 public:
  /// `made` are the paths that the run has made; it outlives this.
  Homes(const std::string& own, const Paths& made) : own_(without_links(own)), made_(made) {}

  /// The folder of whoever runs the program.
  const std::string& own_folder() const { return own_; }

  /// Each lives as long as this.
  Home* own() { return of(own_, own_, ""); }
  Home* of(const std::string& folder, const std::string& top, const std::string& login);
  /// For what lies in no home.
  Home* nobodys() { return of(own_, "/", ""); }

  bool is_anothers(const Home& home) const { return home.top == home.folder && home.folder != own_; }
  static bool is_nobodys(const Home& home) { return home.top == "/"; }

  /// In the home of whoever runs the program, of somebody else, or of nobody. No value, with errno EXDEV,
  /// where a link on the way may be a trap: in another's home one that leads out of it, in nobody's one that
  /// belongs neither to the superuser nor to us. The last name is not looked at.
  std::optional<Where> find(const std::string& path);

  /// The same for what `path` names in the end, when its last name is a link, too. ELOOP for links without an
  /// end.
  std::optional<Where> find_end(const std::string& path);

 private:
  bool is_somebodys(const std::string& home) const;

  std::string own_;
  const Paths& made_;
  std::map<std::pair<std::string, std::string>, Home> homes_;  // by folder and top
};

/// Whether `path` or a folder above it is among `paths`.
bool is_in(const Paths& paths, const std::string& path);

/// Why a path for which Homes finds nothing, with errno EXDEV, may be a trap.
const char* trap_on_way(const std::string& path);

/// Why whoever writes at `where` as the superuser might write elsewhere, or wait for ever; null when there is
/// no reason. Only what its owner, or somebody where all may write, can have put there counts: a link as
/// Homes has it, a further name of a file that belongs to somebody else, and what is neither file nor folder.
const char* trap_at(Homes& homes, const Where& where);

}  // namespace keep

#endif
