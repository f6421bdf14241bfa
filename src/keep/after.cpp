#include "keep/keeping.h"

#include <cstdio>

namespace keep {

namespace {

using place::Content;
using place::Entry;
using place::Type;

}  // namespace

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

// Of what was there before.
void Keeping::settle_old(const Where& where, const std::string& before) {
  if (where.is_kept_folder()) return;
  const std::optional<Entry> entry = where.look(Content::read);
  if (!entry) return std::perror(where.path.c_str());
  write_later(where, {Kind::path, where.path, before, place::text_of(*entry)});
  drop_if_same(where, before, *entry);
}

// Nothing of it was kept, so nobody has to wait until it is read. `names`: of several in the folder `where`.
void Keeping::settle_made(const Where& where, std::string names, std::vector<Where> above) {
  Store* const store = where.home->number() < 0 ? nullptr : store_of(where);
  if (store == nullptr) return std::perror(where.path.c_str());
  to_read_.push_back({where, store, std::move(names), std::move(above)});
}

// They may have been made after the folder that they lie in was told, or after they were told to be nothing.
std::vector<Where> Keeping::made_folders_above(const Where& where) const {
  std::vector<Where> folders;
  for (Where above = where; is_in_made(above.path = parent_of(above.path));) folders.push_back(above);
  return folders;
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
  const bool is_made = is_in_made(where.path);
  const bool was_nothing = before == nothing || (before.empty() && is_made);
  if (!was_nothing) settle_old(where, before);
  if (was_nothing || is_made) settle_made(where, "", made_folders_above(where));
  was_known_ = was_known_ || (was_nothing && !is_made);
}

void Keeping::settle_copied(const Where& folder, std::string names) {
  for_each_name(
      names, [&](const std::string& name) { was_known_ = was_known_ || !is_in_made(folder.in(name).path); });
  if (!names.empty()) settle_made(folder, std::move(names));
}

void Keeping::settle_names(const Where& where, const Paths& there) {
  std::string added;
  for (const std::string& name : where.names().value_or(std::vector<std::string>())) {
    const Where each = where.in(name);
    if (there.has(name) || each.is_kept_folder() || is_known(each)) continue;
    made_.add(each.path);
    added += name + "/";
  }
  if (!added.empty()) settle_made(where, std::move(added));
}

void Keeping::settle() {
  begin_to_settle();
  made_trees_.wait();
}

void Keeping::begin_to_settle() {
  const auto added_to = std::exchange(names_, {});
  for (const auto& [path, folder] : added_to) settle_names(folder.first, folder.second);
  for (auto& [path, names] : std::exchange(copied_, {}))
    settle_copied({path, names.home}, std::move(names.joined));
  for (const auto& [path, one] : std::exchange(pending_, {})) settle_one({path, one.home}, one.before);
  write_settled();
  if (!to_read_.empty()) made_trees_.read(std::exchange(to_read_, {}));
  // Of a name that was there once a later row may be written here, which is to stay the last; and what is
  // new in a folder is told before the folder's own names no longer count.
  if (std::exchange(was_known_, false) || !added_to.empty()) made_trees_.wait();
  for (const auto& [path, folder] : added_to) write_later(folder.first, {Kind::names, path, nothing, "told"});
  write_settled();
}

}  // namespace keep
