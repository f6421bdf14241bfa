// What an archive holds that no kind of data is looked for in, or that another entry takes the place of.
#ifndef BRINDLE_ACCOUNT_KINDS_LEFT_OVER_H
#define BRINDLE_ACCOUNT_KINDS_LEFT_OVER_H

#include <string_view>
#include <vector>

#include "account/kinds/case.h"
#include "account/kinds/entries.h"

namespace account {

/// A file that is never moved, because nothing is looked for where it lies or a later one has its name.
struct LeftOver {
  std::string_view name;  ///< in the person's folder; outside of the archive root the whole name
  Kind kind;              ///< that the person would look for it under
  Reason reason;
};

/// Those of one person, sorted. What lies in no person's folder belongs to who runs the wizard.
std::vector<LeftOver> left_over(const Archive& archive, const Person& person);

}  // namespace account

#endif
