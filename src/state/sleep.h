// The one clock of all fixed waits: for the person's answer, and for programs that were started and need
// their time. Whoever tries the program can have it wait by a clock of their own.
#ifndef BRINDLE_STATE_SLEEP_H
#define BRINDLE_STATE_SLEEP_H

#include <chrono>

namespace waiting {

/// Sleeps for so long, on the thread that calls it.
void sleep_for(std::chrono::milliseconds time);

/// What sleep_for does from now on, on every thread. Null: it sleeps, as it does from the start.
using Sleeper = void (*)(std::chrono::milliseconds time);
void sleep_with(Sleeper sleeper);

}  // namespace waiting

#endif
