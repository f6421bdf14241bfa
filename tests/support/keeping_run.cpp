#include "support/keeping_run.h"

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <set>

#include "keep/keep.h"
#include "keep/store.h"
#include "place/beneath.h"
#include "support/files.h"

namespace {

namespace fs = std::filesystem;
using place::Entry;
using place::Type;

constexpr std::time_t begun = 1'795'000'000;

Entry look_at(const std::string& path) {
  const Descriptor top = place::open_top("/");
  return place::look_beneath(top.number(), path.substr(1), place::Content::read).value();
}

bool is_looked_at(const fs::directory_entry& each) {
  const std::string name = each.path().filename();
  return !(name == keep::folder_of_all && each.is_directory()) && name != ".cache";
}

bool is_below(const std::string& path, const std::vector<std::string>& folders) {
  return std::ranges::any_of(
      folders, [&](const std::string& folder) { return path == folder || path.starts_with(folder + "/"); });
}

// Of the person who runs it first.
std::vector<std::string> homes() {
  std::vector<std::string> found = {"/root"};
  for (const fs::directory_entry& each : fs::directory_iterator("/home")) found.push_back(each.path());
  return found;
}

std::string name_of_run() { return keep::name_of_run(begun); }

std::map<std::string, keep::Row> all_rows() {
  std::map<std::string, keep::Row> found;
  for (const std::string& home : homes())
    for (const keep::Row& row : keep::rows_of(home, name_of_run()))
      if (row.kind == keep::Kind::path || row.kind == keep::Kind::attributes) found.emplace(row.name, row);
  return found;
}

// The files and links in the kept folders, by the path they had.
std::map<std::string, Entry> all_copies() {
  std::map<std::string, Entry> copies;
  for (const std::string& home : homes()) {
    const std::string files = keep::kept_path(home, name_of_run(), "");
    std::error_code none;
    for (const fs::directory_entry& each : fs::recursive_directory_iterator(files, none))
      if (each.is_symlink() || !each.is_directory())
        copies[each.path().string().substr(files.size())] = look_at(each.path());
  }
  return copies;
}

Entry of(const std::map<std::string, Entry>& entries, const std::string& path) {
  const auto found = entries.find(path);
  return found == entries.end() ? Entry{} : found->second;
}

// The word for it, empty when nothing of it changed.
std::string change(const Entry& before, const Entry& now) {
  if (place::is_same_thing(before, now)) {
    const bool is_alike = before.mode == now.mode && before.uid == now.uid && before.gid == now.gid;
    return is_alike ? "" : "attributes";
  }
  if (before.type == Type::nothing) return "made";
  return now.type == Type::nothing ? "removed" : "replaced";
}

bool is_as_it_was(const Entry& before, const Entry& now) {
  return place::text_of(before) == place::text_of(now);
}

// Of a folder nothing else counts.
bool must_be_kept(const Entry& before, const Entry& now) {
  return before.type != Type::nothing && before.type != Type::folder && !place::is_same_thing(before, now);
}

Entry state(const std::string& text) { return place::entry_from(text).value(); }

// Empty where all is well.
std::string fault_of(const Entry& before, const Entry& now, const keep::Row* row, bool is_given_away) {
  if (row == nullptr)
    return is_as_it_was(before, now)
               ? ""
               : "no row; was " + place::text_of(before) + ", is " + place::text_of(now);
  if (row->kind == keep::Kind::attributes)
    return place::has_same_attributes(state(row->before), before) && place::is_same_thing(before, now)
               ? ""
               : "is listed with other attributes";
  if (row->before != place::text_of(before)) return "was " + place::text_of(before) + ", not " + row->before;
  Entry became = state(row->became);
  if (is_given_away && before.type == Type::nothing) became.uid = now.uid;
  return is_as_it_was(became, now) ? "" : "is " + place::text_of(now) + ", not " + row->became;
}

}  // namespace

KeepingRun::KeepingRun(std::vector<std::string> others) : tops_(std::move(others)) {
  tops_.insert(tops_.end(), {"/root", "/home", "/Share"});
  before_ = look();
  keep::begin_run("/root", begun);
}

KeepingRun::~KeepingRun() { keep::end_run(); }

KeepingRun::Entries KeepingRun::look() const {
  Entries found;
  for (const std::string& top : tops_) {
    if (!exists(top)) continue;
    found[top] = look_at(top);
    if (!fs::is_directory(top)) continue;
    for (fs::recursive_directory_iterator each(top), end; each != end; ++each) {
      if (is_looked_at(*each)) {
        found[each->path()] = look_at(each->path());
      } else {
        each.disable_recursion_pending();
      }
    }
  }
  return found;
}

std::vector<std::string> KeepingRun::listed() {
  keep::end_run();
  std::vector<std::string> result;
  for (const auto& [path, row] : all_rows()) {
    const std::string word = change(state(row.before), state(row.became));
    if (!word.empty()) result.push_back(word + " " + path);
  }
  return result;
}

testing::AssertionResult KeepingRun::has_kept_all(const Liberties& liberties) {
  keep::end_run();
  const Entries after = look();
  const std::map<std::string, keep::Row> rows = all_rows();
  const Entries copies = all_copies();
  std::set<std::string> paths;
  for (const Entries* entries : std::initializer_list<const Entries*>{&before_, &after, &copies})
    for (const auto& each : *entries)
      if (is_below(each.first, tops_)) paths.insert(each.first);
  for (const auto& each : rows)
    if (is_below(each.first, tops_)) paths.insert(each.first);
  testing::AssertionResult result = testing::AssertionSuccess();
  const auto fail = [&](const std::string& path, const std::string& what) {
    if (result) result = testing::AssertionFailure();
    result << path << ": " << what << "\n";
  };
  for (const std::string& path : paths) {
    const Entry was = of(before_, path);
    const Entry is = of(after, path);
    const Entry copy = of(copies, path);
    const auto row = rows.find(path);
    const std::string fault =
        fault_of(was, is, row == rows.end() ? nullptr : &row->second, path.starts_with(liberties.given_away));
    if (!fault.empty()) fail(path, fault);
    if (must_be_kept(was, is) && !is_as_it_was(was, copy)) fail(path, "kept is " + place::text_of(copy));
    if (!must_be_kept(was, is) && copy.type != Type::nothing && !path.starts_with(liberties.more_kept))
      fail(path, "kept, and has not changed");
  }
  return result;
}

testing::AssertionResult KeepingRun::has_changed_nothing(const std::vector<std::string>& folders) const {
  const Entries after = look();
  testing::AssertionResult result = testing::AssertionSuccess();
  std::set<std::string> paths;
  for (const Entries* entries : {&before_, &after})
    for (const auto& each : *entries)
      if (is_below(each.first, folders)) paths.insert(each.first);
  for (const std::string& path : paths) {
    const Entry was = of(before_, path);
    const Entry is = of(after, path);
    if (is_as_it_was(was, is)) continue;
    if (result) result = testing::AssertionFailure();
    result << path << " was " << place::text_of(was) << ", is " << place::text_of(is) << "\n";
  }
  return result;
}

std::string KeepingRun::folder(const std::string& home) {
  return home + "/" + keep::folder_of_all + "/" + name_of_run();
}

std::string KeepingRun::kept(const std::string& path, const std::string& home) {
  return keep::kept_path(home, name_of_run(), path);
}

void KeepingRun::prevent(const std::string& home) {
  write_file(home + "/" + keep::folder_of_all, "a file of the person's");
}

std::string KeepingRun::left(const std::string& path) {
  return path + " could not be kept as it is, so it stays and is not changed: ";
}
