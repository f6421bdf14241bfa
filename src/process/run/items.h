// Migration items: a folder or file of the archive, the migrator that serves it, and the progress mark that
// shows how it went.
#ifndef BRINDLE_PROCESS_RUN_ITEMS_H
#define BRINDLE_PROCESS_RUN_ITEMS_H

typedef struct _GtkWidget GtkWidget;

/// A progress mark's result on its way from the worker to the GUI thread. The worker allocates it with
/// malloc and does not touch it after the post; `draw` frees it.
struct Image_Result {
  GtkWidget* image;  ///< the mark's image widget, or null
  int result;        ///< 0: the item succeeded; anything else: it failed or was absent
};

/// A migrator: takes a path in the unpacked archive, returns 0 for success.
using func_t = int (*)(const char*);

/// GUI thread: shows "gtk-apply" for result 0, else "gtk-cancel", and frees `data`. Returns 0 (run once).
int draw(Image_Result* data);

/// Posts the mark named `image` with `result`.
void post_mark(const char* image, int result);

/// Runs one item of the default user and posts its mark: when `folder` can be read in new_dir_path,
/// `func(func_arg)` gives the result, otherwise it is -1. `folder` is logged either way. `buf` is unused.
void item(Image_Result* buf, const char* image, const char* folder, func_t func, const char* func_arg);

/// Runs one item of a profile and returns its result, -1 for a missing folder. Posts nothing; `buf` and
/// `image` are unused.
int itemprofiles(Image_Result* buf, const char* image, const char* folder, func_t func, const char* func_arg);

/// Runs the migration of one whole profile. As itemprofiles, but a missing folder gives 0: a profile that
/// has nothing to migrate is no failure.
int itemprofiles2(Image_Result* buf, const char* image, const char* folder, func_t func,
                  const char* func_arg);

#endif
