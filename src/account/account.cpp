#include "account/account.h"

#include <algorithm>
#include <optional>
#include <ranges>
#include <string>

#include "account/archive/charset.h"
#include "account/kinds/left_over.h"
#include "account/kinds/register.h"
#include "account/model/texts.h"
#include "account/people.h"

namespace account {
namespace {

// What makes all of a person's things stay behind.
std::optional<Reason> reason_for_all(const Case& of) {
  const std::string& login = of.person.login;
  if (of.several && !of.as_root) return Reason{Cause::needs_root, ""};
  if (of.person.runs) return std::nullopt;
  if (!of.several) return Reason{Cause::for_one_person, ""};
  if (!is_login_name(login)) return Reason{Cause::refused_login, login};
  if (!of.person.has_account) return Reason{Cause::no_login, login};
  return std::nullopt;
}

// What lies in the home of a login that does not exist is nobody's yet: it has not arrived.
constexpr const char* no_home = "/dev/null/no-home";

Person as_compared(const Person& person, const Options& options) {
  Person compared = person;
  if (!person.runs && !person.has_account && !options.homes.contains(person.login)) compared.home = no_home;
  return compared;
}

Tally look_at(const Row& row, const Case& of, const std::vector<LeftOver>& others) {
  Tally tally = compare(row, of);
  for (const LeftOver& other : others) {
    if (other.kind != row.kind) continue;
    tally.find();
    tally.miss(std::string(other.name), other.reason.cause, other.reason.detail);
  }
  if (const auto reason = reason_for_all(of)) tally.explain_all(reason->cause, reason->detail);
  return tally;
}

}  // namespace

std::vector<PersonAccount> draw_up(const Archive& archive, const Options& options, System system) {
  const bool several = is_for_several(archive);
  const std::vector<Person> people = people_in(archive, options);
  const bool as_root = people.front().login == "root";
  std::vector<PersonAccount> result;
  for (const Person& person : people) {
    PersonAccount& account = result.emplace_back();
    account.person = person;
    const std::vector<LeftOver> others = left_over(archive, person);
    const Person compared = as_compared(person, options);
    for (const Row& row : rows()) {
      const Case of = {.archive = archive,
                       .person = compared,
                       .system = system,
                       .several = several,
                       .as_root = as_root,
                       .charset = windows_charset(language_of_windows(system)),
                       .place = row.places[static_cast<std::size_t>(system)],
                       .machine = ""};
      account.lines.push_back({row.kind, look_at(row, of, others)});
    }
  }
  return result;
}

void take_accounts_before(std::vector<PersonAccount>& people, const std::vector<RunNote::Somebody>& noted) {
  // The first in the note is no profile, though one may have the same name.
  const auto profiles = noted | std::views::drop(1);
  for (PersonAccount& account : people) {
    const auto found = std::ranges::find(profiles, account.person.login, &RunNote::Somebody::login);
    if (!account.person.runs && found != profiles.end()) account.had_account = found->had_account;
  }
}

Verdict verdict_of(const std::vector<PersonAccount>& people) {
  Verdict verdict = Verdict::all_arrived;
  for (const PersonAccount& person : people) {
    for (const Line& line : person.lines) {
      if (!line.tally.certain()) return Verdict::cannot_be_told;
      if (!line.tally.missing().empty()) verdict = Verdict::something_missing;
    }
  }
  return verdict;
}

Verdict verdict_of(const Account& account) {
  if (!account.fault.empty()) return Verdict::cannot_be_told;
  const Verdict verdict = verdict_of(account.people);
  return verdict == Verdict::all_arrived && !account.has_root ? Verdict::something_missing : verdict;
}

Text sentence_of(Verdict verdict) {
  switch (verdict) {
    case Verdict::all_arrived:
      return Text::all_arrived;
    case Verdict::something_missing:
      return Text::some_missing;
    case Verdict::cannot_be_told:
      break;
  }
  return Text::cannot_tell;
}

std::optional<Text> warning_of(Ending ending) {
  switch (ending) {
    case Ending::begun:
      return Text::run_unfinished;
    case Ending::cancelled:
      return Text::run_cancelled;
    case Ending::refused:
      return Text::run_refused;
    case Ending::unknown:
    case Ending::ended:
      break;
  }
  return std::nullopt;
}

bool has_nothing(const PersonAccount& person) {
  return std::ranges::all_of(
      person.lines, [](const Line& line) { return line.tally.found() == 0 && line.tally.certain(); });
}

}  // namespace account
