// Mode, owner, times and extended attributes, from one entry to another.
#ifndef BRINDLE_PLACE_LIKENESS_H
#define BRINDLE_PLACE_LIKENESS_H

#include <sys/stat.h>

namespace place {

/// Gives the open file or folder `copy` all that `original` has beside its content; `like` is what fstat said
/// of it. What we may not give is left, and set-id bits with an owner that is not given. False, with errno
/// set, for any other failure.
bool give_everything(int copy, int original, const struct stat& like, bool without_set_id);

/// The same, without extended attributes, for what lies under `name` in a folder that nobody else can reach.
bool give_everything_to(int folder, const char* name, const struct stat& like, bool without_set_id);

}  // namespace place

#endif
