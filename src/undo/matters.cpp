#include "undo/matters.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "keep/keep.h"
#include "things/account.h"
#include "things/gconf_calls.h"
#include "things/queue.h"
#include "things/setting.h"

namespace undo {

namespace {

using keep::Kind;

constexpr const char* of_group = "group ";

bool is_group(const Matter& matter) { return matter.name.starts_with(of_group); }

std::string group_of(const Matter& matter) { return matter.name.substr(std::string(of_group).size()); }

// The one for which a thing with a state of its own counts; a run's default queue is named by nobody.
bool is_thing(Kind kind) {
  return kind == Kind::gconf || kind == Kind::queue || kind == Kind::default_queue || kind == Kind::account;
}

int order_of(const Matter& matter) {
  switch (matter.kind) {
    case Kind::queue:
      return 0;
    case Kind::default_queue:
      return 1;
    case Kind::gconf:
      return 2;
    default:
      return is_group(matter) ? 4 : 3;
  }
}

std::string queues_in(const std::string& store) { return store + "/queues"; }

}  // namespace

std::string name_of(const Matter& matter) {
  switch (matter.kind) {
    case Kind::queue:
      return "the print queue " + matter.name;
    case Kind::default_queue:
      return "the default print queue";
    case Kind::gconf:
      return "the setting " + matter.name;
    default:
      return is_group(matter) ? "the group " + group_of(matter) : "the account " + matter.name;
  }
}

std::string home_of(const Matter& matter) {
  constexpr std::string_view passwd = "passwd ";
  if (matter.kind != Kind::account || !matter.became.starts_with(passwd)) return "";
  const std::string line = matter.became.substr(0, matter.became.find('\n'));
  std::size_t begin = 0;
  for (int field = 0; field < 5; ++field) {
    const std::size_t colon = line.find(':', begin);
    if (colon == line.npos) return "";
    begin = colon + 1;
  }
  return line.substr(begin, line.find(':', begin) - begin);
}

Matters::Matters(const std::vector<keep::Row>& rows, std::string store, bool with_accounts, std::time_t since)
    : store_(std::move(store)), with_accounts_(with_accounts), since_(since) {
  for (const keep::Row& row : rows)
    if (is_thing(row.kind)) all_.push_back({row.kind, row.name, row.before, row.became, "", Deed::none, ""});
  std::ranges::reverse(all_);
  std::ranges::stable_sort(all_, {}, order_of);
  const auto is_setting = [](const Matter& matter) { return matter.kind == Kind::gconf; };
  if (std::ranges::any_of(all_, is_setting)) client_ = late::gconf_client_get_default();
  for (Matter& matter : all_) decide(matter);
}

Matters::~Matters() {
  if (client_ != nullptr) g_object_unref(client_);
}

std::string Matters::state_of(const Matter& matter, bool& is_told, std::string& error) {
  std::optional<std::string> state;
  switch (matter.kind) {
    case Kind::queue:
      state = things::queue_state(matter.name, error);
      break;
    case Kind::default_queue:
      state = things::default_queue_state(error);
      break;
    case Kind::gconf:
      state = things::setting_state(client_, matter.name, error);
      break;
    default:
      state = is_group(matter) ? things::group_state(group_of(matter), error)
                               : things::account_state(matter.name, error);
  }
  is_told = state.has_value();
  return state.value_or("");
}

void Matters::decide(Matter& matter) {
  if (matter.before == matter.became || matter.before.empty()) return;
  if (is_group(matter) && !matter.is_made()) return;  // its members come and go with their accounts
  std::string error;
  bool is_told = false;
  const std::string now = state_of(matter, is_told, error);
  matter.start = now;
  if (!is_told) {
    matter.deed = Deed::leave;
    matter.why = error;
  } else if (now == matter.before) {
    return;
  } else if (now != matter.became && matter.became != keep::unknown && now != keep::nothing) {
    matter.deed = Deed::leave;
    matter.why = "it has changed since";
  } else {
    matter.deed = matter.is_made() ? Deed::take_away : Deed::give_back;
    if (matter.kind == Kind::account && matter.is_made()) decide_account(matter);
  }
}

void Matters::decide_account(Matter& matter) {
  if (!with_accounts_) {
    matter.why = "it goes only with --accounts";
  } else if (!is_group(matter)) {
    matter.why = things::use_of_account(matter.name, since_);
  }
  if (!matter.why.empty()) matter.deed = Deed::leave;
}

void Matters::leave(const std::string& account, const std::string& why) {
  for (Matter& matter : all_) {
    if (matter.kind != Kind::account || matter.name != account) continue;
    matter.deed = Deed::leave;
    matter.why = why;
  }
}

bool Matters::change(const Matter& matter, std::string& error) {
  switch (matter.kind) {
    case Kind::queue:
      return things::give_queue(matter.name, matter.before, queues_in(store_), error);
    case Kind::default_queue:
      return things::give_default_queue(matter.before, error);
    case Kind::gconf:
      return things::give_setting(client_, matter.name, matter.before, error);
    default:
      return is_group(matter) ? things::give_group(group_of(matter), matter.before, error)
                              : things::give_account(matter.name, matter.before, error);
  }
}

bool Matters::give(const Matter& matter, std::string& error) {
  bool is_told = false;
  const std::string now = state_of(matter, is_told, error);
  if (!is_told) return false;
  if (now == matter.before && matter.start == matter.before) return true;
  error = "its present state could not be kept";
  if (!keep::before_change_of(matter.kind, matter.name, matter.start)) return false;
  if (matter.kind == Kind::queue && !things::keep_queue(matter.name, queues_in(keep::folder_of_run()), error))
    return false;
  const bool changed = change(matter, error);
  std::string unused;
  const std::string after = state_of(matter, is_told, unused);
  if (is_told) keep::now_is(matter.kind, matter.name, after);
  return changed;
}

void Matters::give_back(Kind kind, std::vector<Failure>& failures) {
  for (Matter& matter : all_) {
    if (matter.kind != kind || (matter.deed != Deed::give_back && matter.deed != Deed::take_away)) continue;
    std::string error;
    if (give(matter, error)) {
      ++done_;
    } else {
      failures.push_back({name_of(matter), error});
    }
  }
}

void Matters::give_back_before_files(std::vector<Failure>& failures) {
  give_back(Kind::queue, failures);
  give_back(Kind::default_queue, failures);
  give_back(Kind::gconf, failures);
  write_settings(failures);
}

bool Matters::has_settings() const {
  return std::ranges::any_of(all_, [](const Matter& matter) {
    return matter.kind == Kind::gconf && (matter.deed == Deed::give_back || matter.deed == Deed::take_away);
  });
}

void Matters::write_settings(std::vector<Failure>& failures) {
  if (client_ == nullptr) return;
  std::string error;
  if (has_settings() && !things::write_settings(client_, error)) failures.push_back({"the settings", error});
}

void Matters::give_back_accounts(std::vector<Failure>& failures) { give_back(Kind::account, failures); }

void end_settings_daemon() {
  char program[] = "gconftool-2";
  char option[] = "--shutdown";
  char* words[] = {program, option, nullptr};
  pid_t child = 0;
  // Where it is missing there is no daemon either.
  if (posix_spawnp(&child, program, nullptr, nullptr, words, environ) == 0) waitpid(child, nullptr, 0);
}

}  // namespace undo
