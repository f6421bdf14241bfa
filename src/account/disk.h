// What brindle-pack counted on the Windows disk when it made the archive, as the archive tells it.
#ifndef BRINDLE_ACCOUNT_DISK_H
#define BRINDLE_ACCOUNT_DISK_H

#include <cstdint>
#include <string>
#include <vector>

#include "account/archive/archive.h"
#include "account/model/texts.h"

namespace account {

/// One kind of things of one person.
struct DiskCount {
  std::string person;  ///< as Windows showed the name
  std::string login;   ///< empty for what all people share
  std::string kind;    ///< brindle-pack's word
  std::uint64_t found = 0;
  std::uint64_t packed = 0;
  std::uint64_t left_out = 0;
};

/// All counts in the archive's table, in its order. None for an archive that was packed otherwise. Lines that
/// cannot be understood are passed over: the table is as much a stranger's as the rest.
std::vector<DiskCount> disk_counts_in(const Archive& archive);

/// What a person calls it.
std::string kind_shown(const DiskCount& count, const Texts& texts);

/// Who a count is of: the name, with the login when it is another one.
std::string owner_shown(const DiskCount& count);

/// True when something of them was not packed.
bool leave_something_out(const std::vector<DiskCount>& counts);

}  // namespace account

#endif
