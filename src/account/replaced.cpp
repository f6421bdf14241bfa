#include "account/replaced.h"

#include <algorithm>
#include <array>
#include <ctime>
#include <functional>
#include <optional>
#include <span>

#include "account/model/field.h"

namespace account {
namespace {

using State = KeptList::State;

// What stands before the name of a group among the accounts.
constexpr std::string_view group = "group ";

std::string folder_name(std::time_t time) {
  std::tm parts = {};
  std::array<char, 32> text;
  if (localtime_r(&time, &parts) == nullptr) return "";
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d-%H%M%S", &parts)};
}

// Of a run that could not say so: the newest that did not begin earlier. Undoing makes folders as well.
std::string run_in(const std::string& home, const RunNote& note) {
  if (!note.kept.empty()) return note.kept;
  if (note.begun == 0) return "";
  const std::string first = folder_name(note.begun);
  for (const std::string& run : kept_runs(home))
    if (run >= first && read_kept_list(home, run, "list.tsv").run != "undo") return run;
  return "";
}

Replaced of_runner(const RunNote& note) {
  const RunNote::Somebody& runner = note.people.front();
  Replaced replaced;
  replaced.login = runner.login;
  replaced.home = runner.home;
  replaced.run = run_in(runner.home, note);
  replaced.path = kept_path(runner.home, replaced.run, "list.tsv");
  if (!replaced.run.empty()) replaced.list = read_kept_list(runner.home, replaced.run, "list.tsv");
  return replaced;
}

Replaced of_other(const RunNote::Somebody& person, const Replaced& runner, const RunNote& note) {
  Replaced replaced;
  replaced.login = person.login;
  replaced.home = person.home;
  replaced.run = runner.run;
  const std::string copy = "homes/" + person.login + ".tsv";
  replaced.path = kept_path(runner.home, runner.run, copy);
  if (!runner.run.empty()) replaced.list = read_kept_list(runner.home, runner.run, copy);
  if (replaced.list.state != State::none) return replaced;
  if (replaced.run.empty()) replaced.run = run_in(person.home, note);
  replaced.path = kept_path(person.home, replaced.run, "list.tsv");
  if (!replaced.run.empty()) replaced.list = read_kept_list(person.home, replaced.run, "list.tsv");
  return replaced;
}

// An undo is a run as well, and may be undone.
bool is_undone(const Replaced& runner) {
  constexpr int most_undos = 100;  // a list could name itself
  bool result = false;
  std::string undo = runner.list.undone;
  for (int i = 0; i < most_undos && is_kept_run(undo); ++i) {
    result = !result;
    undo = read_kept_list(runner.home, undo, "list.tsv").undone;
  }
  return result;
}

bool is_path(const KeptThing& thing) { return thing.kind == "path"; }

// Where the old one lies or its value stands.
std::string place_of(const Replaced& replaced, const KeptThing& thing) {
  return is_path(thing) ? kept_path(replaced.home, replaced.run, "files" + thing.name) : replaced.path;
}

bool is_there(const KeptThing& thing) { return !is_path(thing) || thing.is_kept; }

const char* word_of(Fate fate) {
  switch (fate) {
    case Fate::replaced:
      return "replaced";
    case Fate::removed:
      return "removed";
    case Fate::unknown:
      break;
  }
  return "unknown";
}

Text text_of(Fate fate) {
  switch (fate) {
    case Fate::replaced:
      return Text::was_replaced;
    case Fate::removed:
      return Text::was_removed;
    case Fate::unknown:
      break;
  }
  return Text::may_be_replaced;
}

bool can_be_undone(const Replaced& replaced) {
  const KeptList& list = replaced.list;
  return list.state == State::unreadable || list.made > 0 || list.adjusted || !list.things.empty();
}

}  // namespace

std::vector<Replaced> replaced_in(const RunNote& note) {
  std::vector<Replaced> all = {of_runner(note)};
  for (const RunNote::Somebody& person : std::span(note.people).subspan(1))
    all.push_back(of_other(person, all.front(), note));
  const bool undone = is_undone(all.front());
  for (Replaced& replaced : all) {
    replaced.is_undone = undone;
    if (undone) {
      replaced.list = KeptList();
      replaced.list.state = State::whole;
    }
    look_for_old_ones(replaced.list, replaced.home, replaced.run);
  }
  std::erase_if(all, [](const Replaced& replaced) { return replaced.list.state == State::none; });
  return all;
}

std::string name_of(const KeptThing& thing, const Texts& texts) {
  if (thing.kind == "gconf") return texts(Text::a_setting, thing.name);
  if (thing.kind == "queue") return texts(Text::a_queue, thing.name);
  if (thing.kind == "default_queue") return texts(Text::the_default_queue);
  if (thing.kind == "account" && thing.name.starts_with(group))
    return texts(Text::a_group, std::string_view(thing.name).substr(group.size()));
  if (thing.kind == "account") return texts(Text::an_account, thing.name);
  return thing.name;
}

std::string told(const Replaced& replaced, const KeptThing& thing, const Texts& texts) {
  Text where = is_path(thing) ? Text::old_one_at : Text::old_value_in;
  if (!is_there(thing)) where = Text::old_one_gone;
  return texts(text_of(thing.fate)) + " " + texts(where, place_of(replaced, thing));
}

bool has_names(const std::vector<Replaced>& replaced) {
  return std::ranges::any_of(replaced, [](const Replaced& one) {
    return one.list.state == State::unreadable || !one.list.things.empty();
  });
}

std::vector<std::string> way_back(const std::vector<Replaced>& replaced, bool several, const Texts& texts) {
  if (std::ranges::any_of(replaced, &Replaced::is_undone)) return {texts(Text::was_undone)};
  if (std::ranges::none_of(replaced, can_be_undone)) return {};
  return {texts(several ? Text::go_back_as_root : Text::go_back), texts(Text::changed_stays)};
}

void write_table_of_replaced(std::ostream& out, const std::vector<Replaced>& replaced) {
  out << "person\tkind\tname\tchange\told\n";
  for (const Replaced& one : replaced) {
    if (one.list.state == State::unreadable)
      out << field(one.login) << "\tlist\t" << field(one.path) << "\tunknown\t-\n";
    for (const KeptThing& thing : one.list.things)
      out << field(one.login) << "\t" << thing.kind << "\t" << field(thing.name) << "\t"
          << word_of(thing.fate) << "\t" << (is_there(thing) ? field(place_of(one, thing)) : "-") << "\n";
  }
}

}  // namespace account
