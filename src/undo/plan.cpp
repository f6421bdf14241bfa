#include "undo/plan.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <set>
#include <utility>

namespace undo {

namespace {

using place::Content;
using place::Entry;
using place::Type;

constexpr const char* changed_since = "it has changed since";

std::size_t depth_of(const std::string& path) {
  return static_cast<std::size_t>(std::ranges::count(path, '/'));
}

bool is_time(const timespec& one, const timespec& other) {
  return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

}  // namespace

bool is_under_way(const Item& item, const place::Spot& spot) {
  // A file with further names is written in place; its copy lies beside it until that is done.
  if (item.before.type != Type::file || item.before.inode == 0 || !spot) return false;
  const std::optional<Entry> copy = look(beside(spot), Content::read);
  return copy && place::is_same_thing(*copy, item.before);
}

bool goes(const Item& item) {
  if (item.deed == Deed::take_away) return true;
  return item.deed == Deed::give_back && item.start.type == Type::folder && item.before.type != Type::folder;
}

Rights rights_of(const Item& item, const Entry& now) {
  const Entry& before = item.before;
  Rights rights{now, false};
  const bool knows = item.became && item.became->type == now.type;
  const bool may_be_ours = !item.became;
  // A folder that was just made again can be written by its owner until the end.
  const bool is_made_again = now.type == Type::folder && now.mode == (before.mode | 0700);
  const auto choose = [&](auto Entry::*field, bool is_ours) {
    if (now.*field == before.*field) return;
    if (is_ours || may_be_ours || (knows && now.*field == (*item.became).*field)) {
      rights.wanted.*field = before.*field;
    } else {
      rights.is_foreign = true;
    }
  };
  if (now.type != Type::link) choose(&Entry::mode, is_made_again);
  choose(&Entry::uid, false);
  choose(&Entry::gid, false);
  const timespec& start = item.start.modified;
  const bool is_time_ours = item.is_time_ours || item.start.type != now.type || may_be_ours ||
                            is_time(start, before.modified) ||
                            (knows && is_time(start, item.became->modified));
  if (!item.rights_only && is_time_ours) rights.wanted.modified = before.modified;
  return rights;
}

Plan::Plan(const std::vector<Lists>& lists, const Earlier& earlier, const std::vector<std::string>& only,
           const std::vector<std::string>& apart)
    : earlier_(earlier), only_(only), apart_(apart) {
  for (const Lists& one : lists) collect(one);
  for (std::size_t at = 0; at < items_.size(); ++at) {
    decide(items_[at]);
    add_below(at);
  }
  downwards_.resize(items_.size());
  std::iota(downwards_.rbegin(), downwards_.rend(), std::size_t{0});
  std::ranges::stable_sort(downwards_, {}, [this](std::size_t at) { return depth_of(items_[at].path); });
  keep_folders_of_others();
}

const Item* Plan::find(const std::string& path) const {
  const auto found = places_.find(path);
  return found == places_.end() ? nullptr : &items_[found->second];
}

bool Plan::is_covered(const Item& item) const {
  const Item* const above = find(folder_of(item.path));
  return above != nullptr && goes(*above);
}

bool Plan::does_anything() const {
  return std::ranges::any_of(
      items_, [](const Item& item) { return item.deed != Deed::none && item.deed != Deed::leave; });
}

bool Plan::is_wanted(const std::string& path) const {
  const auto has_it = [&path](const std::string& folder) { return is_within(path, folder); };
  if (!is_plain(path) || is_own_file(path) || std::ranges::any_of(apart_, has_it)) return false;
  return only_.empty() || std::ranges::any_of(only_, has_it);
}

// A folder that something wanted has to be put into.
bool Plan::is_missing_above(const Item& item) const {
  const auto lies_in_it = [&item](const std::string& path) { return is_within(path, item.path); };
  if (item.before.type != Type::folder || !is_plain(item.path) || std::ranges::none_of(only_, lies_in_it))
    return false;
  const std::optional<Entry> now = look(spot_of(*item.ground, item.path), Content::not_read);
  return now && now->type == Type::nothing;
}

void Plan::add(Item item) {
  if (!is_wanted(item.path) && !is_missing_above(item)) return;
  const auto [place, is_new] = places_.try_emplace(item.path, items_.size());
  if (is_new) items_.push_back(std::move(item));
}

void Plan::collect(const Lists& lists) {
  for (const keep::Row& row : *lists.rows) {
    if (row.kind == keep::Kind::path) add_path(*lists.ground, row);
    if (row.kind == keep::Kind::attributes) add_rights(*lists.ground, row);
  }
  for (const keep::Row& row : *lists.rows)
    if (row.kind == keep::Kind::names) add_new_names(*lists.ground, row);
  std::set<std::string> folders;
  for (const keep::Row& row : *lists.rows)
    if (row.kind == keep::Kind::path && row.became == keep::unknown) folders.insert(folder_of(row.name));
  for (const std::string& folder : folders) add_set_aside(*lists.ground, folder);
}

void Plan::add_path(const Ground& ground, const keep::Row& row) {
  const std::optional<Entry> before = place::entry_from(row.before);
  if (!before) return;
  const auto found = places_.find(row.name);
  if (found == places_.end()) {
    Item item;
    item.ground = &ground;
    item.path = row.name;
    item.before = *before;
    item.became = place::entry_from(row.became);
    return add(std::move(item));
  }
  // Its rights were changed first, so what they were is told there.
  Item& item = items_[found->second];
  if (!item.rights_only) return;
  const Entry rights = std::exchange(item.before, *before);
  item.before.mode = rights.mode;
  item.before.uid = rights.uid;
  item.before.gid = rights.gid;
  item.became = place::entry_from(row.became);
  item.rights_only = false;
}

void Plan::add_rights(const Ground& ground, const keep::Row& row) {
  const std::optional<Entry> before = place::entry_from(row.before);
  if (!before || before->type == Type::nothing) return;
  Item item;
  item.ground = &ground;
  item.path = row.name;
  item.before = *before;
  item.became = place::entry_from(row.became);
  item.rights_only = true;
  add(std::move(item));
}

// The run was killed before it could write down what was new there.
void Plan::add_new_names(const Ground& ground, const keep::Row& row) {
  if (row.became != keep::unknown) return;
  for (const std::string& name : names_in(spot_of(ground, row.name))) {
    if (("/" + row.before + "/").find("/" + name + "/") != std::string::npos) continue;
    Item item;
    item.ground = &ground;
    item.path = row.name + "/" + name;
    add(std::move(item));
  }
}

// The run was killed while it replaced something there.
void Plan::add_set_aside(const Ground& ground, const std::string& folder) {
  for (const std::string& name : names_in(spot_of(ground, folder))) {
    if (!is_set_aside(name)) continue;
    Item item;
    item.ground = &ground;
    item.path = folder + "/" + name;
    add(std::move(item));
  }
}

// What is in a folder without having a row: made by a killed run, or moved into the kept folder as a whole.
void Plan::add_below(std::size_t index) {
  const Item folder = items_[index];
  const bool is_made = folder.deed == Deed::take_away && !folder.became && folder.start.type == Type::folder;
  const Entry& now = folder.became ? *folder.became : folder.start;
  const bool is_gone = folder.before.type == Type::folder && now.type != Type::folder;
  if (is_made) {
    for (const std::string& name : names_in(spot_of(*folder.ground, folder.path))) {
      Item item;
      item.ground = folder.ground;
      item.path = folder.path + "/" + name;
      add(std::move(item));
    }
  }
  if (!is_gone) return;
  const std::vector<std::string> kept = names_in(kept_spot_of(*folder.ground, folder.path));
  const bool is_listed = std::ranges::any_of(
      kept, [&](const std::string& name) { return places_.contains(folder.path + "/" + name); });
  if (folder.deed == Deed::give_back && !folder.ground->is_others() && !is_listed && !kept.empty()) {
    items_[index].whole_tree = true;
    return;
  }
  for (const std::string& name : kept) {
    Item item;
    item.ground = folder.ground;
    item.path = folder.path + "/" + name;
    item.before = look(kept_spot_of(*folder.ground, item.path), Content::read).value_or(Entry());
    item.became = Entry();
    item.by_copy = true;
    if (item.before.type != Type::nothing) add(std::move(item));
  }
}

// How an unfinished undo has found it; of what is in a folder that it made, only the folder is told.
const Entry* Plan::begun_with(const std::string& path) const {
  const auto found = earlier_.begun.find(path);
  if (found != earlier_.begun.end()) return &found->second;
  for (std::string above = folder_of(path); above.size() > 1; above = folder_of(above)) {
    const auto folder = earlier_.begun.find(above);
    if (folder != earlier_.begun.end())
      return folder->second.type == Type::nothing ? &folder->second : nullptr;
  }
  return nullptr;
}

void Plan::decide(Item& item) {
  const place::Spot spot = spot_of(*item.ground, item.path);
  const std::optional<Entry> now = look(spot, item.rights_only ? Content::not_read : Content::read);
  if (!now) {
    item.deed = Deed::leave;
    item.why = std::strerror(errno);
    return;
  }
  item.start = *now;
  const Entry* const begun = begun_with(item.path);
  if (begun != nullptr) item.start.modified = begun->modified;
  const auto ended = earlier_.ended.find(item.path);
  // The wizard's own files come and go in a home after its list is closed.
  item.is_time_ours = item.path == item.ground->home || (begun != nullptr && begun->type != now->type) ||
                      (ended != earlier_.ended.end() && is_time(ended->second.modified, now->modified));
  const auto leave = [&item](const char* why) {
    item.deed = Deed::leave;
    item.why = why;
  };
  const bool is_as_before =
      item.rights_only ? now->type == item.before.type : place::is_same_thing(*now, item.before);
  if (is_as_before) {
    if (now->type == Type::nothing || item.by_copy) return;
    const Rights rights = rights_of(item, *now);
    if (rights.is_foreign) return leave("its owner or rights have changed since");
    if (!place::has_same_attributes(*now, rights.wanted)) item.deed = Deed::give_rights;
    return;
  }
  if (item.rights_only) return;  // what had these rights is gone
  const bool is_runs = !item.became || place::is_same_thing(*now, *item.became);
  if (item.before.type == Type::nothing) {
    if (item.became && item.became->type == Type::nothing) return;  // somebody else's
    if (!is_runs) return leave(changed_since);
    item.deed = Deed::take_away;
  } else {
    if (now->type != Type::nothing && !is_runs && !is_under_way(item, spot)) return leave(changed_since);
    item.deed = Deed::give_back;
  }
}

void Plan::keep_folders_of_others() {
  for (auto at = downwards_.rbegin(); at != downwards_.rend(); ++at) keep_folder_of_others(*at);
}

// A folder goes when all that is in it goes. Things that no list names are named in its stead.
void Plan::keep_folder_of_others(std::size_t index) {
  const Item folder = items_[index];
  if (!goes(folder) || folder.start.type != Type::folder) return;
  bool stays = false;
  for (const std::string& name : names_in(spot_of(*folder.ground, folder.path))) {
    const std::string path = folder.path + "/" + name;
    const Item* const known = find(path);
    if ((known != nullptr && goes(*known)) || is_left_over(name)) continue;
    stays = true;
    if (known != nullptr || is_own_file(path)) continue;
    Item item;
    item.ground = folder.ground;
    item.path = path;
    item.deed = Deed::leave;
    item.why = "it was added since";
    places_.emplace(path, items_.size());
    items_.push_back(std::move(item));
  }
  if (!stays) return;
  items_[index].deed = Deed::leave;
  if (folder.deed == Deed::give_back) items_[index].why = "a folder with other things is in its place";
}

}  // namespace undo
