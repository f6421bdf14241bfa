// Address books of the Mozilla suite (Mork).
#ifndef BRINDLE_ACCOUNT_READERS_MORK_H
#define BRINDLE_ACCOUNT_READERS_MORK_H

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace account {

/// A row's values by the names of their columns ("DisplayName", "PrimaryEmail", ...).
using MorkRow = std::map<std::string, std::string>;

/// The rows of a Mork text with their last values, in no order. What cannot be understood is passed over.
std::vector<MorkRow> mork_rows(std::string_view text);

/// True for a text that begins as every Mork file does.
bool is_mork(std::string_view text);

}  // namespace account

#endif
