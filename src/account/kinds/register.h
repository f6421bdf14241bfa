// The register: every kind of data, where it lies in the archive, where it lies on each system, how it is
// compared.
#ifndef BRINDLE_ACCOUNT_KINDS_REGISTER_H
#define BRINDLE_ACCOUNT_KINDS_REGISTER_H

#include <array>
#include <span>

#include "account/kinds/case.h"

namespace account {

/// Finds what the archive holds of one kind for the person, and what became of each thing. Never writes,
/// never follows a link out of the archive, and names everything that has not arrived.
using Compare = void (*)(const Case& of, Tally& tally);

struct Row {
  Kind kind;
  const char* name;  ///< in the person's folder of the archive
  std::array<const char*, system_count>
      places;  ///< below the home or from the root; null: no place on that system
  Compare compare;
};

/// Holds what the archive has of the row's kind against what the person has.
Tally compare(const Row& row, const Case& of);

/// One row a kind, in the order of the kinds.
std::span<const Row> rows();

}  // namespace account

#endif
