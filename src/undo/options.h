// The command line of brindle-undo.
#ifndef BRINDLE_UNDO_OPTIONS_H
#define BRINDLE_UNDO_OPTIONS_H

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace undo {

struct Options {
  bool list = false;
  bool accounts = false;
  bool yes = false;
  bool help = false;
  std::vector<std::string> only;  ///< as given
  std::string date_time;          ///< of the run; empty: the newest that can be undone
};

/// What the person typed makes no sense; the text says why.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

extern const char* const usage;

/// Throws UsageError.
Options read_options(int count, const char* const* words);

/// True for the name of a run, as 2026-11-22-014530, or 2026-11-22-014530-2 for the second in that second.
bool is_date_time(std::string_view word);

}  // namespace undo

#endif
