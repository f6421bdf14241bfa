#include "undo/ground.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <functional>

#include "place/stage.h"

namespace undo {

namespace {

namespace fs = std::filesystem;

const std::string under_way = ".brindle-undo-";

place::Spot below(const std::string& top, const std::string& path) {
  const Descriptor opened = place::open_top(top);
  return opened ? place::spot_beneath(opened.number(), path) : place::Spot{Descriptor(), ""};
}

std::string relative(const std::string& path, const std::string& top) {
  return path.substr(std::min(path.size(), top == "/" ? 1 : top.size() + 1));
}

}  // namespace

place::Spot spot_of(const Ground& ground, const std::string& path) {
  const bool in_others = ground.is_others() && path != ground.home;
  const std::string top = in_others ? ground.home : "/";
  if (in_others && !is_within(path, top)) return errno = EXDEV, place::Spot{Descriptor(), ""};
  return below(top, relative(path, top));
}

place::Spot kept_spot_of(const Ground& ground, const std::string& path) {
  return below(ground.home, relative(ground.store, ground.home) + "/files" + path);
}

std::string kept_path_of(const Ground& ground, const std::string& path) {
  return ground.store + "/files" + path;
}

std::optional<place::Entry> look(const place::Spot& spot, place::Content content) {
  if (spot) return place::look_at(spot, content);
  if (errno == ENOENT || errno == ENOTDIR) return place::Entry();
  return std::nullopt;
}

std::vector<std::string> names_in(const place::Spot& spot) {
  return (spot ? place::names_beneath(spot.folder.number(), spot.name) : std::nullopt)
      .value_or(std::vector<std::string>());
}

place::Spot beside(const place::Spot& spot) {
  // Another folder's file of that name would not be another name: the hash keeps it short.
  const std::string name = under_way + std::to_string(std::hash<std::string>()(spot.name));
  return {Descriptor(fcntl(spot.folder.number(), F_DUPFD_CLOEXEC, 0)), name};
}

bool is_left_over(const std::string& name) {
  return name.starts_with(under_way) || name.starts_with(".brindle_copy");
}

bool is_set_aside(const std::string& name) {
  constexpr std::string_view start = ".brindle-";
  if (!name.starts_with(start)) return false;
  const std::string numbers = name.substr(start.size());
  const std::size_t dash = numbers.find('-');
  return dash != 0 && dash < numbers.size() - 1 && numbers.find_first_not_of("0123456789") == dash &&
         numbers.find_first_not_of("0123456789", dash + 1) == numbers.npos;
}

void clear_beside(const place::Spot& spot) {
  if (!spot) return;
  const auto names = place::names_beneath(spot.folder.number(), "");
  if (!names || std::ranges::none_of(*names, is_left_over)) return;
  static_cast<void>(place::remove_entry(beside(spot)));
  const place::Stage clears_what_is_left(spot);
}

bool is_within(std::string_view path, std::string_view folder) {
  if (folder == "/") return true;
  return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

std::string folder_of(const std::string& path) { return fs::path(path).parent_path(); }

bool is_own_file(const std::string& path) {
  constexpr std::array<std::string_view, 4> names = {".brindle_log", ".brindle_run", ".brindle_first_run",
                                                     "Brindle account.html"};
  constexpr std::string_view kept = "/.brindle_before";
  const std::string home = folder_of(path);
  const bool is_in_home = home == "/root" || folder_of(home) == "/home";
  if (is_in_home && std::ranges::find(names, fs::path(path).filename().string()) != names.end()) return true;
  return path.ends_with(kept) || path.find(std::string(kept) + "/") != std::string::npos;
}

bool is_plain(const std::string& path) {
  return path.size() > 1 && path.front() == '/' && path.back() != '/' &&
         path.find('\0') == std::string::npos && fs::path(path).lexically_normal() == path &&
         path.find("//") == std::string::npos;
}

}  // namespace undo
