#include "keep/keeping.h"

#include <cstdio>

#include "place/opened.h"

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

void Keeping::settle_tree(const Where& where, const std::string& before) {
  if (where.is_kept_folder()) return;
  const std::optional<Entry> entry = where.look(Content::read);
  if (!entry) return std::perror(where.path.c_str());
  write_later(where, {Kind::path, where.path, before, place::text_of(*entry)});
  drop_if_same(where, before, *entry);
  if (before == nothing && entry->type == Type::folder) settle_made_folder(where);
}

void Keeping::settle_made_folder(const Where& where) {
  told_.add(where.path);
  for (const Where& folder : settle_made_entries(where)) settle_made_folder(folder);
}

// Each by its name in the open folder: the kernel need not go the whole way to every file. Returns the
// folders, which are opened when this one is closed: a tree may have more levels than a program may have
// files open.
std::vector<Where> Keeping::settle_made_entries(const Where& where) {
  std::vector<Where> folders;
  const Descriptor opened = where.open();
  const auto names = opened ? place::names_in(opened.number()) : std::nullopt;
  for (const std::string& name : names.value_or(std::vector<std::string>())) {
    const Where each = where.in(name);
    if (each.is_kept_folder()) continue;
    const std::optional<Entry> entry = place::look_in(opened.number(), name.c_str(), Content::read);
    if (!entry) std::perror(each.path.c_str());
    if (entry) write_later(each, {Kind::path, each.path, nothing, place::text_of(*entry)});
    if (entry && entry->type == Type::folder) folders.push_back(each);
  }
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
  const bool is_made = before.empty() && is_in_made(where.path);
  settle_tree(where, is_made ? nothing : before);
  if (is_in_made(where.path)) settle_folders_above(where);
}

void Keeping::settle_copied(const Where& folder, std::string_view names) {
  for (std::size_t end = 0; (end = names.find('/')) != names.npos; names.remove_prefix(end + 1))
    settle_tree(folder.in(std::string(names.substr(0, end))), nothing);
}

// They may have been made after the folder that they lie in was told, or after they were told to be nothing.
void Keeping::settle_folders_above(Where where) {
  for (;;) {
    where.path = parent_of(where.path);
    if (!is_in_made(where.path) || told_.has(where.path)) return;
    const std::optional<Entry> entry = where.look(Content::not_read);
    if (!entry || entry->type != Type::folder) return;
    write_later(where, {Kind::path, where.path, nothing, place::text_of(*entry)});
    told_.add(where.path);
  }
}

void Keeping::settle_names(const Where& where, const Paths& there) {
  for (const std::string& name : where.names().value_or(std::vector<std::string>())) {
    const Where each = where.in(name);
    if (there.has(name) || each.is_kept_folder() || is_known(each)) continue;
    made_.add(each.path);
    settle_tree(each, nothing);
  }
  write_later(where, {Kind::names, where.path, nothing, "told"});
}

void Keeping::settle() {
  for (const auto& [path, folder] : std::exchange(names_, {})) settle_names(folder.first, folder.second);
  for (const auto& [path, names] : std::exchange(copied_, {}))
    settle_copied({path, names.home}, names.joined);
  for (const auto& [path, one] : std::exchange(pending_, {})) settle_one({path, one.home}, one.before);
  write_settled();
}

}  // namespace keep
