#include "undo/undo.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <deque>
#include <filesystem>
#include <iostream>
#include <optional>
#include <system_error>
#include <unordered_map>

#include "keep/keep.h"
#include "keep/store.h"
#include "undo/give_back.h"
#include "undo/matters.h"
#include "undo/plan.h"
#include "undo/words.h"

namespace undo {

namespace {

namespace fs = std::filesystem;
using keep::Kind;
using keep::Row;
using keep::Run;

// ---- Runs ------------------------------------------------------------------------------------------------

const Run* find_run(const std::vector<Run>& runs, const std::string& date_time) {
  const auto found = std::ranges::find(runs, date_time, &Run::date_time);
  return found == runs.end() ? nullptr : &*found;
}

// An undo can be undone as well, and then its run counts again. A list that names runs in a circle is
// nobody's.
bool is_undone(const std::vector<Run>& runs, const Run& run) {
  const Run* at = &run;
  for (std::size_t steps = 0; steps <= runs.size(); ++steps) {
    if (at->undone.empty()) return steps % 2 == 1;
    at = find_run(runs, at->undone);
    if (at == nullptr) return steps % 2 == 0;
  }
  return true;
}

// A run that was killed before it had written a line is none.
const Run* newest_migration(const std::string& home, const std::vector<Run>& runs) {
  const Run* newest = nullptr;
  for (const Run& run : runs)
    if (!run.is_undo && !is_undone(runs, run) && !keep::rows_of(home, run.date_time).empty()) newest = &run;
  return newest;
}

bool has_an_account_of(const std::string& home, const Run& run) {
  return std::ranges::any_of(keep::rows_of(home, run.date_time), [](const Row& row) {
    return row.kind == Kind::account && row.before == keep::nothing && getpwnam(row.name.c_str()) != nullptr;
  });
}

// The words at the end of an undo without the accounts send people here.
const Run* newest_with_accounts(const std::string& home, const std::vector<Run>& runs) {
  const Run* newest = nullptr;
  for (const Run& run : runs)
    if (!run.is_undo && is_undone(runs, run) && has_an_account_of(home, run)) newest = &run;
  return newest;
}

const Run* unfinished_undo_of(const std::vector<Run>& runs, const std::string& date_time) {
  const Run* found = nullptr;
  for (const Run& run : runs)
    if (run.is_undo && run.of == date_time && !run.over && run.undone.empty()) found = &run;
  return found;
}

std::time_t time_of(const std::string& date_time) {
  std::tm local{};
  local.tm_isdst = -1;
  if (std::sscanf(date_time.c_str(), "%4d-%2d-%2d-%2d%2d%2d", &local.tm_year, &local.tm_mon, &local.tm_mday,
                  &local.tm_hour, &local.tm_min, &local.tm_sec) != 6)
    return 0;
  local.tm_year -= 1900;
  local.tm_mon -= 1;
  return std::mktime(&local);
}

/// All lists of one run, and where each belongs.
class Record {
 public:
  Record(const std::string& home, const std::string& date_time) {
    add({"", home, store_in(home, date_time)}, keep::rows_of(home, date_time));
    for (keep::OtherHome& other : keep::other_homes(home, date_time))
      add({other.login, other.home, store_in(other.home, date_time)}, std::move(other.rows));
  }

  const std::vector<Lists>& lists() const { return lists_; }
  const std::vector<Row>& own_rows() const { return rows_.front(); }
  const Ground& own_ground() const { return grounds_.front(); }

  bool is_empty() const {
    return std::ranges::all_of(rows_, [](const auto& rows) { return rows.empty(); });
  }

  bool names(const std::string& path) const {
    const auto is_in_it = [&path](const Row& row) {
      return (row.kind == Kind::path || row.kind == Kind::attributes) && is_within(row.name, path);
    };
    return std::ranges::any_of(rows_, [&](const auto& rows) { return std::ranges::any_of(rows, is_in_it); });
  }

  /// Of every path: as it was before the run, or after it.
  std::unordered_map<std::string, place::Entry> states(std::string Row::*when) const {
    std::unordered_map<std::string, place::Entry> states;
    for (const auto& rows : rows_)
      for (const Row& row : rows)
        if (const auto state = place::entry_from(row.*when); state && row.kind == Kind::path)
          states.emplace(row.name, *state);
    return states;
  }

  std::size_t replaced() const {
    return count([](const Row& row) {
      const bool stays_a_folder = row.before.starts_with("folder ") && row.became.starts_with("folder ");
      return row.before != keep::nothing && row.before != row.became && !stays_a_folder;
    });
  }
  std::size_t made() const {
    return count([](const Row& row) { return row.before == keep::nothing && row.became != keep::nothing; });
  }

 private:
  static std::string store_in(const std::string& home, const std::string& date_time) {
    return home + "/" + keep::folder_of_all + "/" + date_time;
  }

  void add(Ground ground, std::vector<Row> rows) {
    grounds_.push_back(std::move(ground));
    rows_.push_back(std::move(rows));
    lists_.push_back({&grounds_.back(), &rows_.back()});
  }

  template <typename Test>
  std::size_t count(Test test) const {
    std::size_t sum = 0;
    for (const auto& rows : rows_)
      sum += static_cast<std::size_t>(std::ranges::count_if(rows, [&test](const Row& row) {
        return row.kind != Kind::run && row.kind != Kind::names && row.kind != Kind::new_home && test(row);
      }));
    return sum;
  }

  std::deque<Ground> grounds_;  // at the same place all the time
  std::deque<std::vector<Row>> rows_;
  std::vector<Lists> lists_;
};

Earlier earlier_undos(const std::string& home, const std::vector<Run>& runs, const std::string& date_time) {
  Earlier earlier;
  if (const Run* const unfinished = unfinished_undo_of(runs, date_time); unfinished != nullptr)
    earlier.begun = Record(home, unfinished->date_time).states(&Row::before);
  for (const Run& run : runs) {
    if (!run.is_undo || run.of != date_time || !run.over) continue;
    for (auto& [path, state] : Record(home, run.date_time).states(&Row::became))
      earlier.ended.insert_or_assign(path, state);
  }
  return earlier;
}

// ---- What is asked for -----------------------------------------------------------------------------------

// As the lists have it: absolute, and without links in its folders.
std::string listed_name(const std::string& path) {
  std::error_code error;
  fs::path whole = fs::absolute(path, error).lexically_normal();
  if (!whole.has_filename()) whole = whole.parent_path();
  const fs::path folder = fs::weakly_canonical(whole.parent_path(), error);
  return error ? whole.string() : (folder / whole.filename()).string();
}

std::vector<std::string> listed_names(const std::vector<std::string>& only, const Record& record) {
  std::vector<std::string> names;
  for (const std::string& path : only) {
    names.push_back(listed_name(path));
    if (!record.names(names.back()))
      throw UsageError("the run has done nothing to " + shown(names.back()) + " or anything in it");
  }
  return names;
}

bool agrees() {
  std::cout << "\nGo on? [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  return answer == "y" || answer == "Y" || answer == "yes";
}

// ---- Accounts --------------------------------------------------------------------------------------------

using States = std::unordered_map<std::string, place::Entry>;

// What the homes of new accounts held before anything was migrated into them.
States new_homes(const Record& record) {
  States states;
  for (const Row& row : record.own_rows())
    if (const auto state = place::entry_from(row.became); state && row.kind == Kind::new_home)
      states.emplace(row.name, *state);
  return states;
}

// The first thing at or below `path` that neither the run nor the making of the account has left as it is.
std::string stranger_below(const Ground& ground, const std::string& path, const Plan& plan,
                           const States& new_home) {
  const place::Spot spot = spot_of(ground, path);
  const std::optional<place::Entry> now = look(spot, place::Content::read);
  if (is_own_file(path)) return "";
  if (!now) return shown(path) + " cannot be read";
  const auto listed = new_home.find(path);
  const bool is_new = listed != new_home.end() && place::is_same_thing(*now, listed->second);
  const Item* const item = plan.find(path);
  const bool is_runs = item != nullptr && !item->rights_only;
  if (now->type != place::Type::nothing && !is_new && !is_runs) return shown(path) + " was added or changed";
  if (now->type != place::Type::folder) return "";
  for (const std::string& name : names_in(spot))
    if (const std::string found = stranger_below(ground, path + "/" + name, plan, new_home); !found.empty())
      return found;
  return "";
}

// Why the account's home may not go; empty when it may, or is gone.
std::string use_of_home(const Record& record, const States& new_home, const std::string& login,
                        const std::string& home) {
  const Ground ground = {login, home, ""};
  const auto now = look(spot_of(ground, home), place::Content::not_read);
  if (now && now->type == place::Type::nothing) return "";
  const Earlier earlier;
  const std::vector<std::string> only = {home};
  const std::vector<std::string> apart;
  const Plan plan(record.lists(), earlier, only, apart);
  // Rights of a folder are no sign of use: the run closes the home to others at its end.
  const auto is_folder_still = [](const Item& item) {
    return item.before.type == place::Type::folder && item.start.type == place::Type::folder;
  };
  for (const Item& item : plan.items())
    if (item.deed == Deed::leave && !item.why.empty() && !is_folder_still(item))
      return shown(item.path) + " was added or changed";
  return stranger_below(ground, home, plan, new_home);
}

// The homes of the accounts that go: with all that was migrated into them. One that was there before the
// account stays without it.
std::vector<std::string> homes_that_go(const Record& record, Matters& matters) {
  const States new_home = new_homes(record);
  std::vector<std::string> homes;
  const std::vector<Matter> all_of_them = matters.all();
  for (const Matter& matter : all_of_them) {
    const std::string home = home_of(matter);
    if (matter.deed != Deed::take_away || !new_home.contains(home)) continue;
    const std::string use = use_of_home(record, new_home, matter.name, home);
    if (use.empty()) homes.push_back(home);
    if (!use.empty()) matters.leave(matter.name, use);
  }
  return homes;
}

void take_homes(Matters& matters, const std::vector<std::string>& homes, std::vector<Failure>& failures) {
  const std::vector<Matter> all_of_them = matters.all();
  for (const Matter& matter : all_of_them) {
    const std::string home = home_of(matter);
    if (matter.deed != Deed::take_away || std::ranges::find(homes, home) == homes.end() || keep::take(home))
      continue;
    failures.push_back({home, "it could not be kept"});
    matters.leave(matter.name, "its home could not be kept");
  }
}

// ---- One undo --------------------------------------------------------------------------------------------

std::uintmax_t size_of(const std::string& folder) {
  std::uintmax_t sum = 0;
  std::error_code error;
  const auto hidden = fs::directory_options::skip_permission_denied;
  for (fs::recursive_directory_iterator at(folder, hidden, error), end; !error && at != end;
       at.increment(error)) {
    std::error_code unknown;
    if (at->is_regular_file(unknown) && !at->is_symlink(unknown)) sum += at->file_size(unknown);
  }
  return sum;
}

void write_where_it_lies(const std::string& home, const std::string& date_time, const char* what) {
  const std::string folder = home + "/" + keep::folder_of_all + "/" + date_time;
  std::cout << what << " lies in " << shown(folder) << " (" << size_in_words(size_of(folder)) << ").";
}

bool restores_settings(const Plan& plan) {
  return std::ranges::any_of(plan.items(), [](const Item& item) {
    return item.deed != Deed::none && item.deed != Deed::leave &&
           item.path.find("/.gconf/") != std::string::npos && !item.ground->is_others();
  });
}

bool does_anything(const Matters& matters) {
  return std::ranges::any_of(matters.all(), [](const Matter& matter) {
    return matter.deed == Deed::give_back || matter.deed == Deed::take_away;
  });
}

class Undo {
 public:
  Undo(const std::string& home, const std::vector<Run>& runs, const Run& run, const Options& options)
      : home_(home),
        run_(run),
        options_(options),
        record_(home, run.date_time),
        only_(listed_names(options.only, record_)),
        unfinished_(unfinished_undo_of(runs, run.date_time)),
        earlier_(earlier_undos(home, runs, run.date_time)),
        matters_(only_.empty() ? record_.own_rows() : std::vector<Row>(), record_.own_ground().store,
                 options.accounts, time_of(run.date_time)),
        apart_(homes_that_go(record_, matters_)),
        plan_(record_.lists(), earlier_, only_, apart_) {}

  bool is_unreadable() const { return record_.is_empty(); }
  bool has_work() const { return plan_.does_anything() || does_anything(matters_); }
  bool is_unfinished() const { return unfinished_ != nullptr; }
  Outcome outcome() const {
    return failures_.empty() && count_left(plan_, matters_) == 0 ? Outcome::as_it_was
                                                                 : Outcome::something_left;
  }

  void show(std::size_t most) const { write_plan(std::cout, plan_, matters_, run_.date_time, most); }
  void show_left() const { write_left(std::cout, plan_, matters_); }

  void carry_out() {
    keep::begin_undo(home_, std::time(nullptr), run_.date_time);
    clear_left_overs();
    Giver giver(plan_, matters_.has_settings() ? home_ + "/.gconf" : "");
    if (giver.keep_first()) {
      matters_.give_back_before_files(failures_);
      if (matters_.has_settings() || restores_settings(plan_)) end_settings_daemon();
      giver.carry_out();
    }
    failures_.insert(failures_.end(), giver.failures().begin(), giver.failures().end());
    take_homes(matters_, apart_, failures_);
    matters_.give_back_accounts(failures_);
    const std::string folder = keep::folder_of_run();
    keep::end_run();
    given_back_ = giver.given_back();
    taken_away_ = giver.taken_away();
    name_ = fs::path(folder).filename();
    finish();
  }

  void report() const {
    std::cout << "\n"
              << counted(given_back_, "file or folder was", "files and folders were") << " given back, "
              << counted(taken_away_, "was", "were") << " removed with all in them.\n";
    if (matters_.done() > 0)
      std::cout << counted(matters_.done(), "setting, queue or account was",
                           "settings, queues and accounts were")
                << " given back or removed.\n";
    for (const Failure& failure : failures_)
      std::cout << "not given back: " << shown(failure.name) << ": " << shown(failure.why) << "\n";
    if (!failures_.empty())
      std::cout << "When the cause is gone, such as a full disk, start brindle-undo again: it goes on.\n";
    show_left();
    write_where_it_lies(home_, run_.date_time, "What the run had kept still");
    // The only old state of what was left, and all that is needed to give back the rest.
    const bool is_of_use = !only_.empty() || outcome() != Outcome::as_it_was;
    std::cout << (is_of_use ? " Keep it for what was not given back.\n" : " You may delete it.\n");
    if (name_.empty()) return;
    write_where_it_lies(home_, name_, "What this undo has replaced or removed");
    std::cout << "\nbrindle-undo " << name_ << " brings that state back.\n";
  }

 private:
  void clear_left_overs() const {
    if (!run_.is_undo || run_.over) return;
    for (const Item& item : plan_.items()) clear_beside(spot_of(*item.ground, item.path));
  }

  // One that could not do all is tried again the next time.
  void finish() {
    if (!only_.empty() || !failures_.empty() || name_.empty()) return;
    if (!keep::mark_undone(home_, run_.date_time, name_)) std::perror(run_.date_time.c_str());
  }

  const std::string& home_;
  const Run& run_;
  const Options& options_;
  Record record_;
  std::vector<std::string> only_;
  const Run* unfinished_;
  Earlier earlier_;
  Matters matters_;
  std::vector<std::string> apart_;
  Plan plan_;
  std::vector<Failure> failures_;
  std::string name_;
  std::size_t given_back_ = 0;
  std::size_t taken_away_ = 0;
};

Outcome refuse(const std::string& why) {
  std::cerr << "brindle-undo: " << why << "\n";
  return Outcome::nothing_done;
}

Outcome list_runs(const std::string& home, const std::vector<Run>& runs) {
  if (runs.empty()) std::cout << "No run of Brindle has kept anything in " << shown(home) << ".\n";
  for (const Run& run : runs) {
    const Record record(home, run.date_time);
    if (record.is_empty()) continue;
    write_run(std::cout, run, is_undone(runs, run), record.replaced(), record.made());
  }
  return Outcome::as_it_was;
}

// Two at once would both move the same things. Empty when another one is at work.
Descriptor only_one(const std::string& home) {
  Descriptor folder(open((home + "/" + keep::folder_of_all).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder && flock(folder.number(), LOCK_EX | LOCK_NB) != 0) return Descriptor();
  return folder;
}

Outcome undo_run(const std::string& home, const std::vector<Run>& runs, const Run& run,
                 const Options& options) {
  Undo undo(home, runs, run, options);
  if (undo.is_unreadable()) return refuse("the list of " + run.date_time + " is empty or cannot be read");
  if (options.list) return undo.show(all), Outcome::as_it_was;
  if (!undo.has_work() && !undo.is_unfinished()) {
    std::cout << "There is nothing left to undo of " << run.date_time << ".\n";
    return undo.show_left(), undo.outcome();
  }
  std::cout << "Undoing the " << (run.is_undo ? "undo" : "run") << " of " << run.date_time
            << " does this:\n\n";
  undo.show(some);
  if (!options.yes && isatty(STDIN_FILENO) == 0)
    return refuse("nothing was done, since there is no terminal to ask on; --yes does not ask");
  if (!options.yes && !agrees()) return refuse("nothing was done");
  undo.carry_out();
  undo.report();
  return undo.outcome();
}

}  // namespace

std::string home_of_runner() {
  const passwd* const account = getpwuid(getuid());
  if (getuid() == 0) return "/root";
  return account == nullptr ? "" : std::string("/home/") + account->pw_name;
}

Outcome run(const Options& options) {
  const std::string home = home_of_runner();
  if (home.empty()) return refuse("this user has no account");
  const Descriptor lock = only_one(home);
  if (!lock && errno == EWOULDBLOCK) return refuse("another brindle-undo is at work");
  const std::vector<Run> runs = keep::runs_in(home);
  if (options.list && options.date_time.empty() && options.only.empty()) return list_runs(home, runs);
  if (!options.list && std::ranges::any_of(runs, &Run::is_going_on))
    return refuse("a migration is at work; try again when it has ended");
  const Run* chosen =
      options.date_time.empty() ? newest_migration(home, runs) : find_run(runs, options.date_time);
  if (chosen == nullptr && options.date_time.empty() && options.accounts)
    chosen = newest_with_accounts(home, runs);
  if (chosen == nullptr && !options.date_time.empty())
    return refuse("there is no run of " + options.date_time);
  if (chosen == nullptr) {
    std::cout << "There is nothing to undo.\n";
    return Outcome::as_it_was;
  }
  return undo_run(home, runs, *chosen, options);
}

}  // namespace undo
