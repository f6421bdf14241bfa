// What the worker may ask of the GUI thread. The functions are defined in main/idle.cpp; declared here,
// without GTK, so that the worker's code cannot touch a widget.
#ifndef BRINDLE_STATE_POSTS_H
#define BRINDLE_STATE_POSTS_H

#include <unistd.h>

/// Queues `callback(data)` to run once on the GUI thread's main loop (g_idle_add). Everything the worker
/// wrote before the call is visible to the callback.
void post_to_gui(int (*callback)(void*), void* data);

/// First statement of every posted callback: the other half of post_to_gui's promise.
void take_hand_over();

/// Sleeps one second at a time until `flag` is no longer 1.
template <typename Flag>
void wait_while_open(const Flag& flag);

// Idle callbacks. `data` is unused unless said; all return 0, so they run once.
int show_popup_window(void* data);
int show_popup_multi_user_error_window(void* data);
int show_popup_printer_error_window(void* data);
int show_popup_user_error_window(void* data);
int show_popup_window_select_driver(void* data);
int show_smb_username_password_window(void* data);
int done_button_bar(void* data);

/// Timeout callback, every 200 ms from the start of the worker: moves the progress bar at a pace set by the
/// archive size in bytes, the int that `data` points to. Returns 0 when the bar is full and the timeout is
/// over, else 1.
int progress_timeout(void* data);

// ---------------------------------------------------------------------------------------------------

template <typename Flag>
void wait_while_open(const Flag& flag) {
  while (flag == 1) sleep(1);
}

#endif
