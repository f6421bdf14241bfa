// A text as one field of a tab-separated table.
#ifndef BRINDLE_ACCOUNT_MODEL_FIELD_H
#define BRINDLE_ACCOUNT_MODEL_FIELD_H

#include <string>
#include <string_view>

namespace account {

/// Backslash, tab, line feed and carriage return are written \\, \t, \n, \r.
std::string field(std::string_view text);

}  // namespace account

#endif
