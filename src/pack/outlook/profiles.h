// What the registry says of Outlook's profiles.
#ifndef BRINDLE_PACK_OUTLOOK_PROFILES_H
#define BRINDLE_PACK_OUTLOOK_PROFILES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "pack/registry/hive.h"

namespace pack {

/// The keys of the profiles of all versions of Outlook, newest version first.
std::vector<std::string> outlook_profiles(const Hive& hive);

/// The keys of a profile's accounts.
std::vector<std::string> accounts_in(const Hive& hive, const std::string& profile);

/// A text, which Outlook keeps as a text or as the bytes of one; empty when it is not there.
std::string outlook_text(const Hive& hive, const std::string& key, std::string_view value);

/// The data files (PST, OST) that the profiles name, as Windows writes their paths, each once.
std::vector<std::string> data_files_in(const Hive& hive);

}  // namespace pack

#endif
