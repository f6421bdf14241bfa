// Notes.
#ifndef BRINDLE_ACCOUNT_KINDS_NOTES_H
#define BRINDLE_ACCOUNT_KINDS_NOTES_H

#include "account/kinds/case.h"

namespace account {

void compare_notes(const Case& of, Tally& tally);

}  // namespace account

#endif
