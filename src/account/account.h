// The account of one migration: every person, every kind.
#ifndef BRINDLE_ACCOUNT_ACCOUNT_H
#define BRINDLE_ACCOUNT_ACCOUNT_H

#include <ctime>
#include <optional>
#include <string>
#include <vector>

#include "account/archive/archive.h"
#include "account/disk.h"
#include "account/kinds/case.h"
#include "account/note.h"
#include "account/options.h"
#include "account/replaced.h"

namespace account {

struct Line {
  Kind kind;
  Tally tally;
};

struct PersonAccount {
  Person person;
  std::vector<Line> lines;   ///< one a kind, in order
  bool had_account = false;  ///< before the run, which then left its password alone
};

/// All that is told of one run.
struct Account {
  std::string archive;   ///< its path
  std::string fault;     ///< why it cannot be read at all; empty when it can
  bool has_root = true;  ///< false: it has no folder that anything is looked for in
  Ending ending = Ending::unknown;
  std::time_t begun = 0;  ///< 0 when it cannot be told
  std::vector<PersonAccount> people;
  std::vector<Replaced> replaced;
  std::vector<DiskCount> disk;  ///< of the Windows disk that the archive was packed from
  bool of_family = false;       ///< the run was for several people
};

enum class Verdict { all_arrived = 0, something_missing = 1, cannot_be_told = 2 };

/// Looks at everything. `system`: of the run.
std::vector<PersonAccount> draw_up(const Archive& archive, const Options& options, System system);

/// Takes over which of the profiles had an account before the run.
void take_accounts_before(std::vector<PersonAccount>& people, const std::vector<RunNote::Somebody>& noted);

Verdict verdict_of(const std::vector<PersonAccount>& people);

/// The same; it cannot be told of an archive that cannot be read, and of one without its folder nothing
/// arrives.
Verdict verdict_of(const Account& account);

/// The verdict in a sentence.
Text sentence_of(Verdict verdict);

/// What must be said first of a run that did not end by itself.
std::optional<Text> warning_of(Ending ending);

/// True for a person who has nothing of any kind in the archive.
bool has_nothing(const PersonAccount& person);

}  // namespace account

#endif
