// The program in a process of its own, with another one that clears up behind it.
#ifndef BRINDLE_PACK_WATCH_H
#define BRINDLE_PACK_WATCH_H

#include <functional>

namespace pack {

/// Exit statuses of a program whose work has none, as it was ended: `failed`, or `untold` when what it was to
/// write is there whole.
struct Statuses {
  int failed;
  int untold;
};

/// Carries out `work` in a process of its own and returns the exit status of the program: that of `work`, or
/// one of those with a line on standard error. To be called first of all, with one thread.
///
/// SIGINT, SIGTERM and SIGHUP make `work` throw Interrupted at the next opportunity. When it has none within
/// a second, as on a disk that does not answer, or when they come a second time, it is ended at once. Then
/// and when `work` lets Interrupted pass, a line says that nothing is written, or that what was to stay is
/// there whole. What it has told of as a Trace is removed, however it ended.
int watched(const std::function<int()>& work, Statuses statuses);

}  // namespace pack

#endif
