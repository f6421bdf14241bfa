// What the program leaves of its surroundings when it begins, and leaves to them when it ends.
#ifndef BRINDLE_MAIN_SESSION_H
#define BRINDLE_MAIN_SESSION_H

#include <string>

/// Gives up the terminal that the program was started from: none of its commands can wait there for an
/// answer. Output still goes there, and Ctrl-C still ends the program. Before any other thread exists.
void leave_terminal();

/// The one wizard of a home: two at once would write into the same files. False, with a word on standard
/// error, when another one is running there. Held until the program ends, however it ends.
[[nodiscard]] bool be_the_only_one(const std::string& home);

/// While it lives, before there is a main loop: a signal that asks the program to end also ends the command
/// that is waited for. Such a signal then ends the program where this ends.
class SignalsAtStart {
 public:
  SignalsAtStart();
  ~SignalsAtStart();
  SignalsAtStart(const SignalsAtStart&) = delete;
  SignalsAtStart& operator=(const SignalsAtStart&) = delete;
};

/// The windows are served while the main thread waits for a command, from now on to the end of the main loop.
void serve_windows_meanwhile();

/// After the main loop: no window is left, no step and no command is begun any more, what runs may end within
/// a moment or is ended, and the worker comes to its end.
void end_worker();

/// From now on the unpacked archive goes when the program ends by itself, in whatever way.
void leave_nothing_behind();

/// Lets a signal that asks the program to end leave the main loop, as a closed window does.
void leave_main_loop_on_signals();

/// Ends the program by the signal that has left the main loop, if there was one.
void end_by_signal();

/// Ends the program at once, with status 0 and the work folder removed, when the worker has not come to its
/// end: it would reach for what goes away with main. Does nothing else.
void leave_worker_behind();

#endif
