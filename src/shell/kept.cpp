#include "shell/kept.h"

#include <pwd.h>
#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "keep/keep.h"
#include "place/beneath.h"

namespace {

namespace fs = std::filesystem;

bool told(bool kept) {
  if (!kept) errno = not_kept;
  return kept;
}

bool is_directory(const std::string& path) {
  std::error_code unknown;
  return fs::is_directory(path, unknown);
}

bool may_be_written(int folder, const char* name) {
  return faccessat(folder, ".", W_OK, 0) == 0 || faccessat(folder, name, W_OK, 0) == 0;
}

uid_t uid_of(const std::string& user) {
  const passwd* account = getpwnam(user.c_str());
  // What chown makes of another word, a number or a group behind a colon, is left to it: then all is noted.
  constexpr auto nobodys = static_cast<uid_t>(-1);
  return account == nullptr ? nobodys : account->pw_uid;
}

}  // namespace

bool can_be_written(const std::string& path) {
  const fs::path place = place::end_of_links(path);
  const fs::path folder = place.has_parent_path() ? place.parent_path() : ".";
  if (access(folder.c_str(), W_OK) == 0 || access(place.c_str(), W_OK) == 0) return true;
  // A disk that was mounted over the home meanwhile is not in the way of what we write ourselves.
  const place::Spot spot = keep::spot_at_end(path);
  return spot && may_be_written(spot.folder.number(), spot.name.c_str());
}

bool kept_before_change(const std::string& path) {
  return !can_be_written(path) || told(keep::before_change(path));
}

bool kept_before_writing(const std::string& path) { return is_directory(path) || kept_before_change(path); }

bool kept_before_copying(const std::string& from, const std::string& to) {
  // In a folder of that name the file gets its own.
  const std::string place = is_directory(to) ? to + "/" + fs::path(from).filename().string() : to;
  const bool can_be_copied = access(from.c_str(), R_OK) == 0 && can_be_written(place);
  return !can_be_copied || told(keep::before_copy_as(from, place));
}

bool kept_before_copying_entries(const std::string& from, const std::string& to) {
  return told(is_directory(to) ? keep::before_copy(from, to) : keep::before_change(to));
}

bool kept_before_chown(const std::string& user, const std::string& path) {
  return told(keep::before_owner(path, uid_of(user)));
}

bool kept_before_closing(const std::string& user, const std::string& path) {
  return told(keep::before_closing(path, uid_of(user)));
}

bool kept_before_linking(const std::string& name, const std::string& place) {
  return told(keep::before_change(is_directory(place) ? place + "/" + name : place));
}
