// The account of one migration: every person, every kind.
#ifndef BRINDLE_ACCOUNT_ACCOUNT_H
#define BRINDLE_ACCOUNT_ACCOUNT_H

#include <string>
#include <vector>

#include "account/archive/archive.h"
#include "account/kinds/case.h"
#include "account/options.h"

namespace account {

struct Line {
  Kind kind;
  Tally tally;
};

struct PersonAccount {
  Person person;
  std::vector<Line> lines;  ///< one a kind, in order
};

enum class Verdict { all_arrived = 0, something_missing = 1, cannot_be_told = 2 };

/// Looks at everything. `system`: of the run.
std::vector<PersonAccount> draw_up(const Archive& archive, const Options& options, System system);

Verdict verdict_of(const std::vector<PersonAccount>& people);

}  // namespace account

#endif
