#include "keep/made_trees.h"

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "place/opened.h"

namespace keep {

namespace {

using place::Content;
using place::Entry;
using place::Type;

Row row_of(const Where& where, const Entry& entry) {
  return {Kind::path, where.path, nothing, place::text_of(entry)};
}

}  // namespace

void for_each_name(std::string_view joined, const std::function<void(const std::string& name)>& take) {
  for (std::size_t end = 0; (end = joined.find('/')) != joined.npos; joined.remove_prefix(end + 1))
    take(std::string(joined.substr(0, end)));
}

void MadeTrees::write_later(Store* store, Row row) {
  std::vector<Row>& rows = rows_[store];
  rows.push_back(std::move(row));
  if (rows.size() >= most_rows) write_rows();
}

void MadeTrees::write_rows() {
  for (auto& [store, rows] : rows_)
    if (!store->add(rows)) std::perror(store->folder().c_str());
  rows_.clear();
}

void MadeTrees::tell(const Where& where, Store* store) {
  if (where.is_kept_folder()) return;
  const std::optional<Entry> entry = where.look(Content::read);
  if (!entry) return std::perror(where.path.c_str());
  write_later(store, row_of(where, *entry));
  if (entry->type == Type::folder) tell_folder(where, store);
}

void MadeTrees::tell_folder(const Where& where, Store* store) {
  told_.add(where.path);
  for (const Where& folder : tell_entries(where, store)) tell_folder(folder, store);
}

// Each by its name in the open folder: the kernel need not go the whole way to every file. Returns the
// folders, which are opened when this one is closed: a tree may have more levels than a program may have
// files open.
std::vector<Where> MadeTrees::tell_entries(const Where& where, Store* store) {
  std::vector<Where> folders;
  const Descriptor opened = where.open();
  const auto names = opened ? place::names_in(opened.number()) : std::nullopt;
  for (const std::string& name : names.value_or(std::vector<std::string>())) {
    const Where each = where.in(name);
    if (each.is_kept_folder()) continue;
    const std::optional<Entry> entry = place::look_in(opened.number(), name.c_str(), Content::read);
    if (!entry) std::perror(each.path.c_str());
    if (entry) write_later(store, row_of(each, *entry));
    if (entry && entry->type == Type::folder) folders.push_back(each);
  }
  return folders;
}

// They may have been made after the folder that they lie in was told, or after they were told to be nothing.
void MadeTrees::tell_above(const MadeTree& tree) {
  for (const Where& folder : tree.above) {
    if (told_.has(folder.path)) return;
    const std::optional<Entry> entry = folder.look(Content::not_read);
    if (!entry || entry->type != Type::folder) return;
    write_later(tree.store, row_of(folder, *entry));
    told_.add(folder.path);
  }
}

void MadeTrees::read_now(const std::vector<MadeTree>& trees) {
  for (const MadeTree& tree : trees) {
    for_each_name(tree.names, [&](const std::string& name) { tell(tree.where.in(name), tree.store); });
    if (tree.names.empty()) tell(tree.where, tree.store);
    tell_above(tree);
  }
  write_rows();
}

// In their order: what is told last of a name counts.
void MadeTrees::read(std::vector<MadeTree> trees) {
  const auto all = std::make_shared<const std::vector<MadeTree>>(std::move(trees));
  const auto earlier = std::make_shared<std::future<void>>(std::move(reading_));
  const auto work = [this, all, earlier] {
    if (earlier->valid()) earlier->get();
    read_now(*all);
  };
  std::packaged_task<void()> task(work);
  reading_ = task.get_future();
  try {
    // Detached: a wizard that is left meanwhile ends without it.
    std::thread(std::move(task)).detach();
  } catch (const std::system_error&) {
    reading_ = {};
    work();
  }
}

void MadeTrees::wait() {
  if (reading_.valid()) reading_.get();
}

}  // namespace keep
