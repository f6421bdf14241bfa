// Migration items: a folder or file of the archive, the migrator that serves it, and the progress mark that
// shows how it went.
#ifndef BRINDLE_PROCESS_RUN_ITEMS_H
#define BRINDLE_PROCESS_RUN_ITEMS_H

#include <string>

#include "state/posts.h"
#include "system/marks.h"

/// A mark's image widget with its result: the GUI thread's own record (interface/marks.h).
struct Image_Result;

/// A migrator: takes a path in the unpacked archive, returns 0 for success.
using func_t = int (*)(const char*);

/// Posts `mark` with `result`, 0 for success.
void post_mark(Mark mark, int result);

/// Posts that the item of `mark` begins, for the account `login`, or for the running user when it is empty.
void post_beginning(Mark mark, const std::string& login);

/// Posts that a part of the run begins that has no mark.
void post_beginning(Phase phase);

/// Runs one item of the default user and posts its mark, that of the widget called `image`: when `folder` can
/// be read in new_dir_path, `func(func_arg)` gives the result, otherwise it is -1. `folder` is logged either
/// way. `buf` is unused.
void item(Image_Result* buf, const char* image, const char* folder, func_t func, const char* func_arg);

/// Runs one item of a profile and returns its result, -1 for a missing folder. Posts nothing; `buf` and
/// `image` are unused.
int itemprofiles(Image_Result* buf, const char* image, const char* folder, func_t func, const char* func_arg);

/// Runs the migration of one whole profile. As itemprofiles, but a missing folder gives 0: a profile that
/// has nothing to migrate is no failure.
int itemprofiles2(Image_Result* buf, const char* image, const char* folder, func_t func,
                  const char* func_arg);

#endif
