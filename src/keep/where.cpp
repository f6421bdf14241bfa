#include "keep/where.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "keep/store.h"
#include "place/opened.h"

namespace keep {

namespace {

namespace fs = std::filesystem;
using place::Spot;

constexpr const char* leads_out = "a link leads out of its home";
constexpr const char* leads_elsewhere = "a link that somebody else has put there leads elsewhere";

// Without links in its folders. What ".." leads to is known only behind those.
std::string whole_path(const std::string& path) {
  const std::string plain = path.substr(0, path.find_last_not_of('/') + 1);
  const std::string name = fs::path(plain).filename();
  if (plain.empty() || name == "." || name == "..") return without_links(plain.empty() ? "/" : plain);
  const std::string folder = without_links(parent_of(plain));
  return (folder == "/" ? "" : folder) + "/" + name;
}

bool is_trusted(uid_t uid) { return uid == 0 || uid == geteuid(); }

void push(std::vector<fs::path>& ahead, const fs::path& path) {
  const std::vector<fs::path> names(path.begin(), path.end());
  ahead.insert(ahead.end(), names.rbegin(), names.rend());
}

// Goes the way of `path` as the kernel does.
bool is_over_anothers_link(const std::string& path) {
  std::vector<fs::path> ahead;
  push(ahead, path);
  fs::path at = "/";
  for (int links = 0; !ahead.empty() && links < most_links;) {
    const fs::path next = (at / ahead.back()).lexically_normal();
    ahead.pop_back();
    struct stat what {};
    if (lstat(next.c_str(), &what) != 0) return false;
    if (!S_ISLNK(what.st_mode)) {
      at = next;
      continue;
    }
    if (!is_trusted(what.st_uid)) return true;
    std::error_code error;
    push(ahead, fs::read_symlink(next, error));
    ++links;
  }
  return false;
}

std::optional<struct stat> look_at(const Spot& spot) {
  struct stat what {};
  const bool is_there =
      spot && fstatat(spot.folder.number(), spot.name.c_str(), &what, AT_SYMLINK_NOFOLLOW) == 0;
  return is_there ? std::optional(what) : std::nullopt;
}

bool may_be_written_by_others(const Spot& spot) {
  struct stat folder {};
  return fstat(spot.folder.number(), &folder) == 0 &&
         (!is_trusted(folder.st_uid) || (folder.st_mode & (S_IWGRP | S_IWOTH)) != 0);
}

bool belongs_to_owner_of(Home& home, uid_t uid) {
  struct stat top {};
  return uid != 0 && fstat(home.number(), &top) == 0 && top.st_uid == uid;
}

}  // namespace

bool is_within(std::string_view path, std::string_view folder) {
  if (folder == "/") return true;
  return path == folder || (path.starts_with(folder) && path[folder.size()] == '/');
}

std::string parent_of(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string without_links(const std::string& path) {
  std::error_code error;
  const fs::path found = fs::weakly_canonical(path, error);
  return error ? path : found.string();
}

std::string others_home(const std::string& path) {
  constexpr std::string_view start = "/home/";
  return path.starts_with(start) && path.size() > start.size() ? path.substr(0, path.find('/', start.size()))
                                                               : "";
}

bool is_in(const Paths& paths, const std::string& path) {
  for (std::string at = path; at.size() > 1; at = parent_of(at))
    if (paths.has(at)) return true;
  return false;
}

bool Where::is_kept_folder() const { return path == home->folder + "/" + folder_of_all; }

Home* Homes::of(const std::string& folder, const std::string& top, const std::string& login) {
  const auto [home, is_new] = homes_.try_emplace({folder, top});
  if (is_new) home->second = {folder, top, login, Descriptor()};
  return &home->second;
}

// A home that the run itself makes, since no account could be, is listed with the things of nobody.
bool Homes::is_somebodys(const std::string& home) const {
  std::error_code error;
  return !home.empty() && fs::is_directory(home, error) && !is_in(made_, home);
}

// A trap: what its owner could not write would be written, and given back, by us.
std::optional<Where> Homes::find(const std::string& path) {
  std::string named = fs::path(path).lexically_normal();
  while (named.size() > 1 && named.ends_with('/')) named.pop_back();
  const std::string whole = whole_path(path);
  const std::string others = is_within(named, own_) ? "" : others_home(named);
  if (named != others && is_somebodys(others)) {
    const std::string top = without_links(others);
    if (!is_within(whole, top)) return errno = EXDEV, std::nullopt;
    if (top != own_) return Where{whole, of(top, top, fs::path(others).filename())};
  }
  if (is_within(whole, own_)) return Where{whole, own()};
  const std::string home = others_home(whole);
  if (is_somebodys(home)) return Where{whole, of(home, home, fs::path(home).filename())};
  if (is_over_anothers_link(fs::path(named).parent_path())) return errno = EXDEV, std::nullopt;
  return Where{whole, nobodys()};
}

std::optional<Where> Homes::find_end(const std::string& path) {
  std::optional<Where> where = find(path);
  for (int links = 0; where && links < most_links; ++links) {
    const Spot spot = where->spot();
    const std::optional<struct stat> what = look_at(spot);
    if (!what || !S_ISLNK(what->st_mode)) return where;
    const std::optional<std::string> named = place::target_of_link(spot.folder.number(), spot.name.c_str());
    if (!named) return std::nullopt;
    const Home& home = *where->home;
    where = find(named->starts_with('/') ? *named : parent_of(where->path) + "/" + *named);
    const bool is_trap = (is_anothers(home) && where && where->home != &home) ||
                         (is_nobodys(home) && !is_trusted(what->st_uid));
    if (is_trap) return errno = EXDEV, std::nullopt;
  }
  if (where) errno = ELOOP;
  return std::nullopt;
}

const char* trap_on_way(const std::string& path) {
  return others_home(path).empty() ? leads_elsewhere : leads_out;
}

const char* trap_at(Homes& homes, const Where& where) {
  const bool is_anothers = homes.is_anothers(*where.home);
  if ((!is_anothers && !Homes::is_nobodys(*where.home)) || where.path == where.home->top) return nullptr;
  const Spot spot = where.spot();
  const std::optional<struct stat> what = look_at(spot);
  if (!what || S_ISDIR(what->st_mode)) return nullptr;
  if (S_ISLNK(what->st_mode)) {
    if (homes.find_end(where.path) || errno != EXDEV) return nullptr;
    return is_anothers ? leads_out : leads_elsewhere;
  }
  const bool is_owners =
      is_anothers ? belongs_to_owner_of(*where.home, what->st_uid) : is_trusted(what->st_uid);
  if (!S_ISREG(what->st_mode))
    return is_owners && !is_anothers ? nullptr : "it is neither a file nor a folder";
  const bool may_be_planted = is_anothers ? !is_owners : may_be_written_by_others(spot);
  return what->st_nlink > 1 && may_be_planted ? "it is a further name of somebody else's file" : nullptr;
}

}  // namespace keep
