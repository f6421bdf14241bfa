#include "account/account.h"

#include <unistd.h>

#include "account/archive/charset.h"
#include "account/kinds/register.h"
#include "account/model/texts.h"
#include "account/people.h"

namespace account {
namespace {

// The wizard refuses an archive of several people to everybody but the administrator.
bool was_refused(const Case& of) { return of.several && !of.as_root; }

Tally compare(const Row& row, const Case& of) {
  Tally tally;
  row.compare(of, tally);
  // What makes all of a person's things stay behind is the cause of each of them.
  if (was_refused(of)) tally.explain_all(Cause::needs_root);
  if (!of.person.runs && !of.person.has_account) tally.explain_all(Cause::no_login, of.person.login);
  return tally;
}

}  // namespace

std::vector<PersonAccount> draw_up(const Archive& archive, const Options& options, System system) {
  const bool several = is_for_several(archive);
  std::vector<PersonAccount> result;
  for (const Person& person : people_in(archive, options)) {
    PersonAccount& account = result.emplace_back();
    account.person = person;
    for (const Row& row : rows()) {
      const Case of = {.archive = archive,
                       .person = account.person,
                       .system = system,
                       .several = several,
                       .as_root = getuid() == 0,
                       .charset = windows_charset(language_code(system)),
                       .place = row.places[static_cast<std::size_t>(system)],
                       .machine = ""};
      account.lines.push_back({row.kind, compare(row, of)});
    }
  }
  return result;
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

}  // namespace account
