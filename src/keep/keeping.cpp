#include "keep/keeping.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace keep {

namespace {

namespace fs = std::filesystem;
using place::Content;
using place::Entry;

}  // namespace

bool Keeping::is_nobodys(const std::string& path) const {
  if (!path.starts_with('/')) return true;
  return is_within(fs::path(path).lexically_normal().native(), "/tmp") &&
         !is_within(homes_.own_folder(), "/tmp");
}

Store* Keeping::open_store(const Home& home) {
  const auto found = stores_.find(home.folder);
  if (found != stores_.end()) return &found->second;
  Descriptor copy;
  if (home.folder != homes_.own_folder()) {
    Store* const own = open_store(*homes_.own());
    if (own == nullptr) return nullptr;
    copy = own->open_list_of(home.login);
    if (!copy) return nullptr;
  }
  // Its own folder changes the home's time.
  const Descriptor top = place::open_top(home.folder);
  const std::optional<Entry> before =
      top ? place::look_beneath(top.number(), "", Content::not_read) : std::nullopt;
  if (!before) return nullptr;
  Store store(home.folder, date_time_);
  bool is_open = store.open(may_go_on_, std::move(copy));
  // Two runs in one second: the second has a name of its own.
  const std::string start = date_time_;
  for (int number = 2; !is_open && errno == EEXIST && stores_.empty() && number < 100; ++number) {
    date_time_ = start + "-" + std::to_string(number);
    store = Store(home.folder, date_time_);
    is_open = store.open(false);
  }
  if (!is_open || !begin_list(store, home, place::text_of(*before))) return nullptr;
  return &stores_.emplace(home.folder, std::move(store)).first->second;
}

bool Keeping::begin_list(Store& list, const Home& home, const std::string& before) {
  std::vector<Row> rows = {head_};
  if (home.folder != homes_.own_folder()) rows.push_back({Kind::run, "home", home.folder, "-"});
  if (!known_.has(home.folder) && !is_in_made(home.folder)) {
    rows.push_back({Kind::path, home.folder, before, unknown});
    known_.add(home.folder);
    pend({home.folder, homes_.of(home.folder, home.folder, home.login)}, before);
  }
  return list.add(rows);
}

bool Keeping::refused(const std::string& path, const char* why) const {
  const int error = errno;
  const char* const reason = why != nullptr ? why : error == EXDEV ? trap_on_way(path) : std::strerror(error);
  std::fprintf(stderr, "%s could not be kept as it is, so it stays and is not changed: %s\n", path.c_str(),
               reason);
  errno = ECANCELED;
  return false;
}

bool Keeping::write(const Where& where, const Row& row) {
  Store* const store = store_of(where);
  return store != nullptr && store->add({row});
}

void Keeping::pend(const Where& where, std::string before) {
  pending_.try_emplace(where.path, Pending{where.home, std::move(before)});
}

// What an unfinished run has written down counts as if this one had; what became of it is told at the end.
void Keeping::go_on(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    if (row.kind != Kind::path) {
      known_.add(std::string(word_of(row.kind)) + "\t" + row.name);
      continue;
    }
    const std::optional<Where> where = find(row.name);
    if (!where) continue;
    known_.add(where->path);
    if (row.before == nothing) made_.add(where->path);
    pend(*where, row.before);
  }
}

bool Keeping::thing(Kind kind, const std::string& name, const std::string& before) {
  const std::string key = std::string(word_of(kind)) + "\t" + name;  // no path begins so
  if (known_.has(key)) return true;
  if (!write({homes_.own_folder(), homes_.own()}, {kind, name, before, unknown})) return refused(name);
  known_.add(key);
  return true;
}

void Keeping::thing_is(Kind kind, const std::string& name, const std::string& became) {
  if (!write({homes_.own_folder(), homes_.own()}, {kind, name, nothing, became})) std::perror(name.c_str());
}

void Keeping::end() {
  settle();
  head_.became = "over";
  for (auto& [home, store] : stores_) {
    if (!store.add({head_})) std::perror(store.folder().c_str());
    store.complete();
  }
}

std::string Keeping::folder() const {
  const auto own = stores_.find(homes_.own_folder());
  return own == stores_.end() ? "" : own->second.folder();
}

}  // namespace keep
