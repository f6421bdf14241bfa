// What the comparisons of files have in common.
#ifndef BRINDLE_ACCOUNT_KINDS_ENTRIES_H
#define BRINDLE_ACCOUNT_KINDS_ENTRIES_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "account/kinds/case.h"

namespace account {

/// Why something has not arrived.
struct Reason {
  Cause cause;
  std::string detail;  ///< for the cause's text
};

/// The name of `entry` within the folder `folder` of the archive, which it lies in.
std::string_view name_within(const Entry& entry, std::string_view folder);

/// Why an entry cannot arrive whatever the wizard does: it is encrypted, damaged beyond reading, unsafe, a
/// link or a device. Looks at the list alone.
std::optional<Cause> fault_of(const Entry& entry);

/// Holds the file at `path` against the entry, byte for byte, and counts it as arrived unchanged or as
/// missing under `name`. Does not count it as found.
void compare_file(const Archive& archive, const Entry& entry, const std::string& path, std::string name,
                  Tally& tally);

/// The same for an entry that may be an empty folder, which has arrived when a folder lies at `path`.
void compare_thing(const Archive& archive, const Entry& entry, const std::string& path, std::string name,
                   Tally& tally);

/// Hands every file and every empty folder below the folder `name` to `take`, sorted; other folders are seen
/// by what lies in them. Entries that a later one of the same name replaces are left out.
void for_each_thing(const Archive& archive, std::string_view name,
                    const std::function<void(const Entry&)>& take);

/// True when a later entry of the archive has the same name and so takes this one's place.
bool is_overridden(const Entry& entry, std::span<const Entry> among);

}  // namespace account

#endif
