#include "undo/give_back.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <optional>
#include <ranges>
#include <set>
#include <system_error>

#include "keep/keep.h"
#include "keep/store.h"

namespace undo {

namespace {

using place::Content;
using place::Entry;
using place::Spot;
using place::Type;

// Another's files are made with our power, so they get no set-id bits from us.
bool is_of_another(const Item& item) {
  return item.ground->is_others() ||
         (is_within(item.path, "/home") && !is_within(item.path, item.ground->home));
}

std::optional<struct stat> status_of(const Spot& spot) {
  struct stat found {};
  if (!spot || fstatat(spot.folder.number(), spot.name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0)
    return std::nullopt;
  return found;
}

// One of several names of a file: the others are to have the old content as well.
bool is_still_itself(const Item& item, const Spot& spot) {
  const std::optional<struct stat> there = status_of(spot);
  return item.before.type == Type::file && item.before.inode != 0 && there && S_ISREG(there->st_mode) &&
         there->st_ino == item.before.inode;
}

bool rename_to(const Spot& from, const Spot& to) {
  return renameat(from.folder.number(), from.name.c_str(), to.folder.number(), to.name.c_str()) == 0;
}

// Access lists and other attributes that no list tells.
void copy_further_attributes(const Spot& from, const Spot& to) {
  if (!from || !to) return;
  const Descriptor source =
      place::open_beneath(from.folder.number(), from.name, O_RDONLY | O_DIRECTORY | O_NOCTTY);
  const Descriptor target =
      place::open_beneath(to.folder.number(), to.name, O_RDONLY | O_DIRECTORY | O_NOCTTY);
  if (!source || !target) return;
  std::vector<char> names(1 << 16);
  const ssize_t size = flistxattr(source.number(), names.data(), names.size());
  if (size <= 0) return;
  for (const char* name = names.data(); name < names.data() + size; name += std::strlen(name) + 1) {
    std::vector<char> value(1 << 16);
    const ssize_t length = fgetxattr(source.number(), name, value.data(), value.size());
    // As far as the file system takes them.
    if (length >= 0)
      static_cast<void>(fsetxattr(target.number(), name, value.data(), static_cast<std::size_t>(length), 0));
  }
}

bool copy_bytes(int from, int to) {
  std::vector<char> block(1 << 18);
  off_t at = 0;
  for (ssize_t size = 0; (size = pread(from, block.data(), block.size(), at)) != 0;) {
    if (size < 0) return false;
    for (ssize_t done = 0; done < size;) {
      const ssize_t count = pwrite(to, block.data() + done, static_cast<std::size_t>(size - done), at + done);
      if (count < 0) return false;
      done += count;
    }
    at += size;
  }
  return ftruncate(to, at) == 0;
}

// Before it is replaced or gets other rights. Nothing here goes through a link, so what one names, outside of
// its home perhaps, is nothing of ours. Of a folder what is in it stays.
bool is_kept_itself(const Item& item, Type now) {
  return now == Type::folder ? keep::before_change(item.path) : keep::before_removal(item.path);
}

}  // namespace

bool Giver::failed(const Item& item, const std::string& why) {
  const auto is_named = [&item](const Failure& one) { return one.name == item.path; };
  if (std::ranges::none_of(failures_, is_named)) failures_.push_back({item.path, why});
  return false;
}

bool Giver::keep_first() {
  for (const std::size_t at : plan_.downwards()) {
    const Item& item = plan_.items()[at];
    const bool is_touched = goes(item) || is_written_since(item);
    if (written_since_.empty() || !is_within(item.path, written_since_) || !is_touched) continue;
    if (!is_kept_itself(item, item.start.type)) return failed(item, "it could not be kept");
  }
  return true;
}

void Giver::carry_out() {
  for (const std::size_t at : plan_.downwards()) {
    const Item& item = plan_.items()[at];
    if (goes(item) && !plan_.is_covered(item)) take_away(item);
  }
  for (const std::size_t at : plan_.downwards()) {
    const Item& item = plan_.items()[at];
    if (item.deed == Deed::give_back || is_written_since(item) ||
        is_removed_since(item, spot_of(*item.ground, item.path)))
      give_back(item);
  }
  for (const std::size_t at : plan_.downwards() | std::views::reverse) give_rights(plan_.items()[at]);
}

bool Giver::is_written_since(const Item& item) const {
  return !written_since_.empty() && is_within(item.path, written_since_) && item.before.type == Type::file &&
         item.deed != Deed::leave && !item.rights_only;
}

// The daemon removes the folders that no setting is left in.
bool Giver::is_removed_since(const Item& item, const Spot& spot) const {
  if (written_since_.empty() || !is_within(item.path, written_since_) || item.rights_only) return false;
  if (item.before.type != Type::folder || item.start.type != Type::folder || item.deed == Deed::leave)
    return false;
  const std::optional<Entry> now = look(spot, Content::not_read);
  return now && now->type == Type::nothing;
}

// Somebody may have worked on it since the plan was made.
bool Giver::is_as_planned(const Item& item) {
  const std::optional<Entry> now = look(spot_of(*item.ground, item.path), Content::read);
  if (!now) return failed(item, std::strerror(errno));
  if (!written_since_.empty() && is_within(item.path, written_since_)) return true;
  if (now->type == Type::nothing || !item.became || place::is_same_thing(*now, *item.became)) return true;
  return place::is_same_thing(*now, item.start) || failed(item, "it has changed since");
}

void Giver::take_away(const Item& item) {
  if (!is_as_planned(item)) return;
  errno = 0;
  // What the daemon writes was kept before it wrote.
  const bool is_kept = !written_since_.empty() && is_within(item.path, written_since_);
  if (is_kept ? !place::remove_entry(spot_of(*item.ground, item.path)) : !keep::take(item.path)) {
    failed(item, errno == 0 || errno == ECANCELED ? "it could not be kept" : std::strerror(errno));
  } else if (item.deed == Deed::take_away) {
    ++taken_away_;
  }
}

void Giver::give_back(const Item& item) {
  const Spot spot = spot_of(*item.ground, item.path);
  if (!spot) {
    failed(item, errno == ENOENT ? "its folder is missing" : std::strerror(errno));
    return;
  }
  const std::optional<Entry> now = look(spot, Content::read);
  const bool is_back = now && place::is_same_thing(*now, item.before);  // with the tree that it is in
  if (!is_back && (!make_way(item, spot) || !make_again(item, spot))) return;
  // What the daemon has written or removed meanwhile was never announced.
  if (item.deed == Deed::give_back) ++given_back_;
}

// The place is free afterwards, or holds a file or link that a rename replaces.
bool Giver::make_way(const Item& item, const Spot& spot) {
  if (!is_as_planned(item)) return false;
  const std::optional<Entry> now = look(spot, Content::not_read);
  if (!now) return failed(item, std::strerror(errno));
  if (now->type == Type::folder) return failed(item, "a folder is in its place");
  const bool has_to_go = item.before.type == Type::folder && now->type != Type::nothing;
  const bool kept = has_to_go ? keep::take(item.path) : is_kept_itself(item, now->type);
  return kept || failed(item, "what is in its place could not be kept");
}

bool Giver::make_again(const Item& item, const Spot& spot) {
  if (is_under_way(item, spot) && is_still_itself(item, spot)) return write_in_place(item, spot);
  if (!place::remove_entry(beside(spot))) return failed(item, std::strerror(errno));
  if (item.before.type == Type::folder && !item.whole_tree) return make_folder(item, spot);
  if (item.before.type == Type::link) return make_link(item, spot);
  if (item.before.inode != 0 && item.before.type == Type::file && link_to_twin(item, spot)) return true;
  return copy_kept(item, spot);
}

bool Giver::make_folder(const Item& item, const Spot& spot) {
  const Spot copy = beside(spot);
  Entry like = item.before;
  like.mode |= 0700;  // until all is in it
  if (mkdirat(copy.folder.number(), copy.name.c_str(), 0700) != 0) return failed(item, std::strerror(errno));
  copy_further_attributes(kept_spot_of(*item.ground, item.path), copy);
  if (place::give_attributes(copy, like, is_of_another(item)) && rename_to(copy, spot)) return true;
  const int error = errno;
  static_cast<void>(place::remove_entry(copy));
  return failed(item, std::strerror(error));
}

bool Giver::make_link(const Item& item, const Spot& spot) {
  const Spot copy = beside(spot);
  if (symlinkat(item.before.content.c_str(), copy.folder.number(), copy.name.c_str()) == 0 &&
      place::give_attributes(copy, item.before) && rename_to(copy, spot))
    return true;
  const int error = errno;
  static_cast<void>(place::remove_entry(copy));
  return failed(item, std::strerror(error));
}

// Of what the run has left as it was there is no copy of the run's, but one that keep_first has made.
Spot Giver::kept_spot(const Item& item) const {
  const bool is_kept_first = is_written_since(item) && place::is_same_thing(item.start, item.before);
  if (!is_kept_first) return kept_spot_of(*item.ground, item.path);
  return kept_spot_of({item.ground->login, item.ground->home, keep::folder_of_run()}, item.path);
}

bool Giver::copy_kept(const Item& item, const Spot& spot) {
  const Spot kept = kept_spot(item);
  const Spot copy = beside(spot);
  const std::optional<Entry> found = look(kept, Content::read);
  if (!found || found->type == Type::nothing) return failed(item, "its kept copy is missing");
  if (!place::is_same_thing(*found, item.before)) return failed(item, "its kept copy has been changed");
  const auto give_up = [&](const char* why) {
    static_cast<void>(place::remove_entry(copy));
    return failed(item, why);
  };
  if (!place::copy_entry(kept, copy, is_of_another(item))) return give_up(std::strerror(errno));
  // The kept copy is its owner's, who may have changed it meanwhile.
  const std::optional<Entry> copied = look(copy, Content::read);
  if (!copied || !place::is_same_thing(*copied, item.before))
    return give_up("its kept copy has been changed");
  if (!item.whole_tree && !place::give_attributes(copy, item.before, is_of_another(item)))
    return give_up(std::strerror(errno));
  if (is_still_itself(item, spot)) return write_in_place(item, spot);
  return rename_to(copy, spot) || give_up(std::strerror(errno));
}

// The whole copy lies beside it until that is done.
bool Giver::write_in_place(const Item& item, const Spot& spot) {
  const Spot copy = beside(spot);
  const Descriptor from = place::open_beneath(copy.folder.number(), copy.name, O_RDONLY | O_NOCTTY);
  const Descriptor to =
      place::open_beneath(spot.folder.number(), spot.name, O_WRONLY | O_NOCTTY | O_NONBLOCK);
  if (!from || !to || !copy_bytes(from.number(), to.number()) || fsync(to.number()) != 0)
    return failed(item, std::strerror(errno));
  const bool given = place::give_attributes(spot, item.before, is_of_another(item));
  const int error = given ? 0 : errno;
  return (place::remove_entry(copy) && given) || failed(item, std::strerror(given ? errno : error));
}

// Another of its names that is the old file, or has been made again already. Nothing is said of a failure.
bool Giver::link_to_twin(const Item& item, const Spot& spot) {
  for (const Item& twin : plan_.items()) {
    if (&twin == &item || twin.before.inode != item.before.inode || twin.before.type != Type::file ||
        twin.ground != item.ground || twin.by_copy != item.by_copy)
      continue;
    if (link_to(twin.path, item, spot, twin.deed == Deed::give_back)) return true;
  }
  for (const std::string& path : unlisted_names_of(item))
    if (link_to(path, item, spot, false)) return true;
  return false;
}

// `is_new`: the file there has been made again, so that it has another number.
bool Giver::link_to(const std::string& path, const Item& item, const Spot& spot, bool is_new) {
  const Spot other = spot_of(*item.ground, path);
  const Spot copy = beside(spot);
  const std::optional<struct stat> there = status_of(other);
  const std::optional<Entry> now = look(other, Content::read);
  if (!there || !now || !place::is_same_thing(*now, item.before)) return false;
  if (there->st_ino != item.before.inode && !is_new) return false;
  const bool linked =
      linkat(other.folder.number(), other.name.c_str(), copy.folder.number(), copy.name.c_str(), 0) == 0 &&
      rename_to(copy, spot);
  static_cast<void>(place::remove_entry(copy));  // a rename to itself leaves both names
  return linked;
}

// A name that the run has not touched is in no list. All are looked up once, where a second name is missed.
std::vector<std::string> Giver::unlisted_names_of(const Item& item) {
  const std::string& home = item.ground->home;
  const std::string top = is_within(item.path, home) ? home : folder_of(item.path);
  const auto [names, is_first] = linked_names_.try_emplace(top);
  std::set<ino_t> missed;
  for (const Item& one : plan_.items()) missed.insert(one.before.inode);
  std::error_code error;
  constexpr auto hidden = std::filesystem::directory_options::skip_permission_denied;
  for (std::filesystem::recursive_directory_iterator at(top, hidden, error), end;
       is_first && !error && at != end; at.increment(error)) {
    struct stat found {};
    if (at->path().filename() == keep::folder_of_all) at.disable_recursion_pending();
    if (lstat(at->path().c_str(), &found) == 0 && S_ISREG(found.st_mode) && missed.contains(found.st_ino))
      names->second.emplace(found.st_ino, at->path().string());
  }
  std::vector<std::string> paths;
  const auto [first, last] = names->second.equal_range(item.before.inode);
  for (auto name = first; name != last; ++name) paths.push_back(name->second);
  return paths;
}

void Giver::give_rights(const Item& item) {
  const bool is_folder = item.before.type == Type::folder && item.deed != Deed::leave &&
                         (!item.by_copy || item.deed == Deed::give_back);
  if (item.deed != Deed::give_rights && !is_folder) return;
  const Spot spot = spot_of(*item.ground, item.path);
  const std::optional<Entry> now = look(spot, Content::not_read);
  if (!now || now->type != item.before.type) return;
  const Entry wanted = rights_of(item, *now).wanted;
  if (place::has_same_attributes(*now, wanted)) return;
  const bool kept = is_kept_itself(item, now->type);
  if (!kept || !place::give_attributes(spot, wanted, is_of_another(item)))
    failed(item, kept ? std::strerror(errno) : "it could not be kept");
}

}  // namespace undo
