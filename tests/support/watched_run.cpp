#include "support/watched_run.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "keep/keep.h"
#include "keep/store.h"
#include "place/beneath.h"
#include "place/entry.h"
#include "support/files.h"

namespace {

namespace fs = std::filesystem;

constexpr std::time_t noon = 1'795'000'000;
constexpr const char* no_entry = "nothing";

std::string state_of(const std::string& path) {
  const Descriptor top = place::open_top("/");
  return place::text_of(place::look_beneath(top.number(), path.substr(1), place::Content::read).value());
}

std::string word_of(const std::string& state) { return state.substr(0, state.find(' ')); }

// Of a folder nothing else counts.
bool is_another_thing(const std::string& before, const std::string& became) {
  return !place::is_same_thing(place::entry_from(before).value(), place::entry_from(became).value());
}

// Of the person who runs it first.
std::vector<std::string> homes_with_lists() {
  std::vector<std::string> homes;
  std::error_code none;
  for (const fs::directory_entry& home : fs::directory_iterator("/home", none))
    if (exists(home.path().string() + "/.brindle_before/" + keep::name_of_run(noon)))
      homes.push_back(home.path());
  homes.insert(homes.begin(), "/root");
  return homes;
}

// By path.
std::map<std::string, keep::Row> all_rows() {
  std::map<std::string, keep::Row> rows;
  for (const std::string& home : homes_with_lists())
    for (keep::Row& row : keep::rows_of(home, keep::name_of_run(noon)))
      if (row.kind == keep::Kind::path) rows.try_emplace(row.name, row);
  return rows;
}

// The files and links in the kept folders, by the path they had.
std::map<std::string, std::string> all_copies() {
  std::map<std::string, std::string> copies;
  for (const std::string& home : homes_with_lists()) {
    const std::string files = keep::kept_path(home, keep::name_of_run(noon), "");
    std::error_code none;
    for (const fs::directory_entry& each : fs::recursive_directory_iterator(files, none))
      if (each.is_symlink() || !each.is_directory())
        copies[each.path().string().substr(files.size())] = state_of(each.path());
  }
  return copies;
}

std::string of(const std::map<std::string, std::string>& states, const std::string& path) {
  const auto found = states.find(path);
  return found == states.end() ? no_entry : found->second;
}

}  // namespace

WatchedRun::WatchedRun(std::vector<std::string> folders) : folders_(std::move(folders)), before_(look()) {
  keep::begin_run("/root", noon);
}

WatchedRun::~WatchedRun() { keep::end_run(); }

WatchedRun::States WatchedRun::look() const {
  States states;
  for (const std::string& folder : folders_) {
    if (!exists(folder)) continue;
    states[folder] = state_of(folder);
    if (!fs::is_directory(folder)) continue;
    for (auto each = fs::recursive_directory_iterator(folder); each != fs::end(each); ++each) {
      if (each->path().filename() == ".brindle_before" && each->is_directory()) {
        each.disable_recursion_pending();
        continue;
      }
      states[each->path()] = state_of(each->path());
    }
  }
  return states;
}

bool WatchedRun::is_looked_at(const std::string& path) const {
  return std::ranges::any_of(
      folders_, [&](const std::string& folder) { return path == folder || path.starts_with(folder + "/"); });
}

std::vector<std::string> WatchedRun::told() {
  keep::end_run();
  std::vector<std::string> changes;
  for (const auto& [path, row] : all_rows()) {
    if (!is_another_thing(row.before, row.became)) continue;
    const char* what = row.before == no_entry ? "made " : row.became == no_entry ? "removed " : "replaced ";
    changes.push_back(what + path);
  }
  return changes;
}

testing::AssertionResult WatchedRun::is_whole(const std::string& more_kept) {
  keep::end_run();
  const States after = look();
  const std::map<std::string, keep::Row> rows = all_rows();
  const std::map<std::string, std::string> copies = all_copies();
  std::set<std::string> paths;
  for (const auto& [path, state] : before_) paths.insert(path);
  for (const auto& [path, state] : after) paths.insert(path);
  for (const auto& [path, row] : rows)
    if (is_looked_at(path)) paths.insert(path);
  for (const auto& [path, state] : copies)
    if (is_looked_at(path)) paths.insert(path);
  testing::AssertionResult result = testing::AssertionSuccess();
  const auto fail = [&](const std::string& path, const std::string& what) {
    if (result) result = testing::AssertionFailure();
    result << path << ": " << what << "\n";
  };
  for (const std::string& path : paths) {
    const std::string was = of(before_, path);
    const std::string is = of(after, path);
    const auto row = rows.find(path);
    if (row == rows.end() && was != is) fail(path, "no row; was " + was + ", is " + is);
    if (row != rows.end() && row->second.before != was)
      fail(path, "was " + was + ", not " + row->second.before);
    if (row != rows.end() && row->second.became != is) fail(path, "is " + is + ", not " + row->second.became);
    const bool is_replaced = is_another_thing(was, is) && was != no_entry && word_of(was) != "folder";
    const std::string copy = of(copies, path);
    if (is_replaced && copy != was) fail(path, "was " + was + ", kept is " + copy);
    if (!is_replaced && copy != no_entry && !path.starts_with(more_kept))
      fail(path, "kept, and has not changed");
  }
  return result;
}

testing::AssertionResult WatchedRun::changed_nothing() const {
  const States after = look();
  if (after == before_) return testing::AssertionSuccess();
  testing::AssertionResult result = testing::AssertionFailure();
  for (const auto& [path, state] : after)
    if (of(before_, path) != state)
      result << path << " was " << of(before_, path) << ", is " << state << "\n";
  for (const auto& [path, state] : before_)
    if (!after.contains(path)) result << path << " is gone\n";
  return result;
}

std::string kept_file(const std::string& path) {
  return keep::kept_path("/root", keep::name_of_run(noon), path);
}

void block_keeping(const std::string& home) {
  write_file(home + "/.brindle_before", "a file of the person's");
}

std::string left(const std::string& path) {
  return path + " could not be kept as it is, so it stays and is not changed: ";
}
