// Where these tests were built. One file alone is compiled with these places: what has them from here is the
// same in each clone, and need not be compiled again.
#ifndef BRINDLE_TESTS_SUPPORT_PROGRAMS_H
#define BRINDLE_TESTS_SUPPORT_PROGRAMS_H

#include <string>

namespace built {

// The whole paths of our programs that are tested from outside.
extern const std::string brindle_account, brindle_pack, brindle_undo;

extern const std::string source_folder;

}  // namespace built

#endif
