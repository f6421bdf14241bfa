// brindle-undo: gives back what a migration has replaced or removed.
#include <csignal>
#include <cstdio>
#include <iostream>

#include "undo/undo.h"

int main(int count, char** words) {
  // In one file with standard error the lines stay whole and in order.
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  // Whoever reads the output may go: the work is done to its end.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    const undo::Options options = undo::read_options(count, words);
    if (options.help) return std::fputs(undo::usage, stdout), 0;
    return static_cast<int>(undo::run(options));
  } catch (const undo::UsageError& error) {
    std::cerr << "brindle-undo: " << error.what() << "; brindle-undo --help tells more\n";
    return static_cast<int>(undo::Outcome::nothing_done);
  }
}
