// Aligned columns for a terminal.
#ifndef BRINDLE_ACCOUNT_COLUMNS_H
#define BRINDLE_ACCOUNT_COLUMNS_H

#include <ostream>
#include <string>
#include <vector>

namespace account {

/// A row of words that went through shown(): the first is aligned to the left, the others are numbers.
using Words = std::vector<std::string>;

/// All rows are as long as the first, of which there must be one.
void write_columns(std::ostream& out, const std::vector<Words>& rows);

}  // namespace account

#endif
