// Kinds that are files and arrive as they are.
#ifndef BRINDLE_ACCOUNT_KINDS_FILES_H
#define BRINDLE_ACCOUNT_KINDS_FILES_H

#include "account/kinds/case.h"

namespace account {

void compare_documents(const Case& of, Tally& tally);
void compare_desktop(const Case& of, Tally& tally);
void compare_shared_files(const Case& of, Tally& tally);
void compare_fonts(const Case& of, Tally& tally);

}  // namespace account

#endif
