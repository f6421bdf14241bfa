// What the program leaves of its surroundings when it begins, and leaves to them when it ends.
#ifndef BRINDLE_MAIN_SESSION_H
#define BRINDLE_MAIN_SESSION_H

/// Gives up the terminal that the program was started from: none of its commands can wait there for an
/// answer. Output still goes there, and Ctrl-C still ends the program. Before any other thread exists.
void leave_terminal();

/// From now on the unpacked archive goes when the program ends by itself, in whatever way.
void leave_nothing_behind();

/// Lets a signal that asks the program to end leave the main loop, as a closed window does.
void leave_main_loop_on_signals();

/// Ends the program by the signal that has left the main loop, if there was one.
void end_by_signal();

#endif
