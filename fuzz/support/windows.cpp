// The windows that the worker asks for. Nobody opens one here: questions are declined before that, and a
// reader that posts a notice would wait for ever, which counts as a find.
#include "state/posts.h"

int show_popup_window(void*) { return 0; }
int show_popup_multi_user_error_window(void*) { return 0; }
int show_popup_printer_error_window(void*) { return 0; }
int show_popup_user_error_window(void*) { return 0; }
int show_popup_window_select_driver(void*) { return 0; }
int show_smb_username_password_window(void*) { return 0; }
int done_button_bar(void*) { return 0; }
int draw_posted_mark(void*) { return 0; }
int show_posted_beginning(void*) { return 0; }
int progress_timeout(void*) { return 0; }
