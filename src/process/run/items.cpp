#include "process/run/items.h"

#include <optional>

#include "error/log.h"
#include "shell/files.h"
#include "state/posts.h"
#include "state/state.h"

namespace {

int run_if_present(const char* where, const char* folder, func_t func, const char* func_arg) {
  const bool runs = func != nullptr && is_folder(where, folder) == 1;
  return runs ? func(func_arg) : -1;
}

}  // namespace

void post_mark(Mark mark, int result) {
  post_to_gui(draw_posted_mark, new PostedMark{static_cast<int>(mark), result});
}

void post_beginning(Mark mark, const std::string& login) {
  post_to_gui(show_posted_beginning, new PostedBeginning{static_cast<int>(mark), login});
}

void post_beginning(Phase phase) { post_to_gui(show_posted_beginning, new PostedBeginning{phase, ""}); }

void item(Image_Result* /*buf*/, const char* image, const char* folder, func_t func, const char* func_arg) {
  // Deliberate: part of the output. A missing item is logged as well.
  write_log(folder, fp_log);
  const int result = run_if_present(new_dir_path, folder, func, func_arg);
  if (const std::optional<Mark> mark = mark_of_image(image)) post_mark(*mark, result);
}

int itemprofiles(Image_Result* /*buf*/, const char* /*image*/, const char* folder, func_t func,
                 const char* func_arg) {
  write_log(folder, fp_log);
  return run_if_present(new_dir_path, folder, func, func_arg);
}

int itemprofiles2(Image_Result* /*buf*/, const char* /*image*/, const char* folder, func_t func,
                  const char* func_arg) {
  write_log(folder, fp_log);
  // Deliberate: part of the output. Unlike in itemprofiles a missing folder counts as success.
  return is_folder(new_dir_path, folder) == 1 ? func(func_arg) : 0;
}
