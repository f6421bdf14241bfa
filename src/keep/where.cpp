#include "keep/where.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "keep/store.h"

namespace keep {

namespace {

namespace fs = std::filesystem;

// Without links in its folders. What ".." leads to is known only behind those.
std::string whole_path(const std::string& path) {
  const std::string plain = path.substr(0, path.find_last_not_of('/') + 1);
  const std::string name = fs::path(plain).filename();
  if (plain.empty() || name == "." || name == "..") return without_links(plain.empty() ? "/" : plain);
  const std::string folder = without_links(parent_of(plain));
  return (folder == "/" ? "" : folder) + "/" + name;
}

// A home that the run itself makes, since no account could be, is listed with the things of nobody.
bool is_somebodys(const std::string& home, const Paths& made) {
  std::error_code error;
  return !home.empty() && fs::is_directory(home, error) && !is_in(made, home);
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

// Of whoever runs the program, of somebody else, or of nobody. In another's home a link that leads out of it
// is a trap: what that other could not write would be written, and given back, by us.
std::optional<Where> Homes::find(const std::string& path, const Paths& made) {
  std::string named = fs::path(path).lexically_normal();
  while (named.size() > 1 && named.ends_with('/')) named.pop_back();
  const std::string whole = whole_path(path);
  const std::string others = is_within(named, own_) ? "" : others_home(named);
  if (named != others && is_somebodys(others, made)) {
    const std::string top = without_links(others);
    if (!is_within(whole, top)) return errno = EXDEV, std::nullopt;
    if (top != own_) return Where{whole, of(top, top, fs::path(others).filename())};
  }
  if (is_within(whole, own_)) return Where{whole, own()};
  const std::string home = others_home(whole);
  if (is_somebodys(home, made)) return Where{whole, of(home, home, fs::path(home).filename())};
  return Where{whole, nobodys()};
}

}  // namespace keep
