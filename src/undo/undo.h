// brindle-undo: gives back what a run has replaced, and takes away what it has made.
#ifndef BRINDLE_UNDO_UNDO_H
#define BRINDLE_UNDO_UNDO_H

#include <string>

#include "undo/options.h"

namespace undo {

enum class Outcome {
  as_it_was = 0,
  something_left = 1,
  nothing_done = 2,
};

/// "/root" or "/home/NAME" of whoever runs this program, as the wizard takes it.
std::string home_of_runner();

/// All of it: says on standard output what it finds, does and leaves, and asks on the terminal. Throws
/// UsageError, before anything is done.
Outcome run(const Options& options);

}  // namespace undo

#endif
