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

constexpr std::time_t begun = 1'795'000'000;

Entry look_at(const std::string& path) {
  const Descriptor top = place::open_top("/");
  return place::look_beneath(top.number(), path.substr(1), place::Content::read).value_or(Entry{});
}

bool is_looked_at(const fs::path& path) {
  const std::string name = path.filename();
  return name != ".brindle_before" && name != ".cache";
}

std::vector<std::string> homes() {
  std::vector<std::string> found = {"/root"};
  for (const fs::directory_entry& each : fs::directory_iterator("/home")) found.push_back(each.path());
  return found;
}

std::string home_of(const std::string& path) {
  for (const std::string& home : homes())
    if (path == home || path.starts_with(home + "/")) return home;
  return "/root";
}

// The word for it, empty when nothing of it changed.
std::string change(const Entry& before, const Entry& now) {
  if (place::is_same_thing(before, now)) {
    const bool is_alike = before.mode == now.mode && before.uid == now.uid && before.gid == now.gid;
    return is_alike ? "" : "attributes";
  }
  if (before.type == place::Type::nothing) return "made";
  return now.type == place::Type::nothing ? "removed" : "replaced";
}

bool is_as_it_was(const Entry& before, const Entry& now) {
  return place::is_same_thing(before, now) &&
         (before.type == place::Type::nothing || place::has_same_attributes(before, now));
}

Entry state(const std::string& text) { return place::entry_from(text).value_or(Entry{}); }

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
    for (fs::recursive_directory_iterator each(top), end; each != end; ++each) {
      if (is_looked_at(each->path())) {
        found[each->path()] = look_at(each->path());
      } else {
        each.disable_recursion_pending();
      }
    }
  }
  return found;
}

bool KeepingRun::is_below_tops(const std::string& path) const {
  return std::ranges::any_of(
      tops_, [&](const std::string& top) { return path == top || path.starts_with(top + "/"); });
}

std::map<std::string, keep::Row> KeepingRun::rows() const {
  std::map<std::string, keep::Row> found;
  for (const std::string& home : homes())
    for (const keep::Row& row : keep::rows_of(home, keep::name_of_run(begun)))
      if (row.kind == keep::Kind::path || row.kind == keep::Kind::attributes) found.emplace(row.name, row);
  return found;
}

std::vector<std::string> KeepingRun::listed() {
  keep::end_run();
  std::vector<std::string> result;
  for (const auto& [path, row] : rows()) {
    const std::string word = change(state(row.before), state(row.became));
    if (!word.empty()) result.push_back(word + " " + path);
  }
  std::ranges::sort(result);
  return result;
}

std::string KeepingRun::fault_of(const std::string& path, const Entries& now,
                                 const std::map<std::string, keep::Row>& rows) const {
  const auto in = [&](const Entries& entries) {
    const auto found = entries.find(path);
    return found == entries.end() ? Entry{} : found->second;
  };
  const Entry before = in(before_);
  const Entry after = in(now);
  const auto row = rows.find(path);
  if (row == rows.end()) return is_as_it_was(before, after) ? "" : "is not listed";
  if (row->second.kind == keep::Kind::attributes)
    return place::has_same_attributes(state(row->second.before), before) &&
                   place::is_same_thing(before, after)
               ? ""
               : "is listed with other attributes";
  if (row->second.before != place::text_of(before)) return "is listed as having been " + row->second.before;
  // An owner may be given later, to all of a home at once.
  if (!place::is_same_thing(state(row->second.became), after)) return "is listed as " + row->second.became;
  const bool is_gone = !place::is_same_thing(before, after) && before.type != place::Type::nothing;
  if (is_gone && before.type != place::Type::folder &&
      !is_as_it_was(before, look_at(kept(path, home_of(path)))))
    return "is not kept";
  return "";
}

testing::AssertionResult KeepingRun::has_kept_all() {
  keep::end_run();
  const Entries now = look();
  const std::map<std::string, keep::Row> listed = rows();
  std::set<std::string> paths;
  for (const auto& each : before_) paths.insert(each.first);
  for (const auto& each : now) paths.insert(each.first);
  for (const auto& each : listed)
    if (is_below_tops(each.first)) paths.insert(each.first);
  testing::AssertionResult result = testing::AssertionSuccess();
  for (const std::string& path : paths) {
    const std::string fault = fault_of(path, now, listed);
    if (!fault.empty())
      result = testing::AssertionFailure() << result.message() << path << " " << fault << "\n";
  }
  return result;
}

testing::AssertionResult KeepingRun::has_changed_nothing() const {
  const Entries now = look();
  for (const auto& [path, entry] : now) {
    const auto before = before_.find(path);
    if (before == before_.end()) return testing::AssertionFailure() << path << " is new";
    if (!is_as_it_was(before->second, entry)) return testing::AssertionFailure() << path << " is changed";
  }
  for (const auto& each : before_)
    if (!now.contains(each.first)) return testing::AssertionFailure() << each.first << " is gone";
  return testing::AssertionSuccess();
}

std::string KeepingRun::folder(const std::string& home) {
  return home + "/.brindle_before/" + keep::name_of_run(begun);
}

std::string KeepingRun::kept(const std::string& path, const std::string& home) {
  return keep::kept_path(home, keep::name_of_run(begun), path);
}

void KeepingRun::prevent(const std::string& home) { write_file(home + "/.brindle_before", "a file"); }
