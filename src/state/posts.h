// What the worker may ask of the GUI thread. The callbacks are defined in main/idle.cpp; declared here,
// without GTK, so that the worker's code cannot touch a widget. post_to_gui, take_hand_over and
// remove_progress_timeout are defined in posts.cpp.
#ifndef BRINDLE_STATE_POSTS_H
#define BRINDLE_STATE_POSTS_H

#include <string>
#include <variant>

/// Queues `callback(data)` to run once on the GUI thread's main loop (g_idle_add). Everything the worker
/// wrote before the call is visible to the callback.
void post_to_gui(int (*callback)(void*), void* data);

/// First statement of every posted callback: the other half of post_to_gui's promise.
void take_hand_over();

// Idle callbacks. `data` is unused unless said; all return 0, so they run once.
int show_popup_window(void* data);
int show_popup_multi_user_error_window(void* data);
int show_popup_printer_error_window(void* data);
int show_popup_unpacking_stopped(void* data);
int show_popup_user_error_window(void* data);
int show_popup_window_select_driver(void* data);
int show_smb_username_password_window(void* data);
int done_button_bar(void* data);

/// The result of an item on its way to its progress mark. The worker makes it with new and does not touch it
/// after the post; draw_posted_mark deletes it.
struct PostedMark {
  int number;  ///< of the mark, as in "image_12"
  int result;  ///< 0: the item succeeded; anything else: it failed or was absent
};

/// Idle callback: shows the PostedMark that `data` points to.
int draw_posted_mark(void* data);

/// A part of a run that has no progress mark.
enum class Phase { unpacking, getting_ready, cleaning_up };

/// What begins: the item of a mark, by the mark's number, or a phase.
using Beginning = std::variant<int, Phase>;

/// A beginning on its way to the progress page. The worker makes it with new and does not touch it after the
/// post; show_posted_beginning deletes it.
struct PostedBeginning {
  Beginning what;
  std::string login;  ///< whose things are moved; empty: the running user's, or everybody's
};

/// Idle callback: says on the progress page what the PostedBeginning that `data` points to holds, unless the
/// run is cancelled.
int show_posted_beginning(void* data);

/// Timeout callback, every 200 ms from the start of the worker: moves the progress bar at a pace set by the
/// archive size in bytes, the int that `data` points to. Returns 0 when the bar is full and the timeout is
/// over, else 1.
int progress_timeout(void* data);

/// Ends the progress timeout with the source id `id`, if it still runs: it may have ended itself, and both
/// Cancel and the worker end it. 0: none has begun. From another thread than the main loop's it is ended by
/// the loop, before anything that is posted afterwards runs.
void remove_progress_timeout(int id);

#endif
