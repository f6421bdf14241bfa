// Programs run by their words, without a shell.
#ifndef BRINDLE_THINGS_PROGRAM_H
#define BRINDLE_THINGS_PROGRAM_H

#include <string>
#include <vector>

namespace things {

/// Runs the program `words[0]` of the system's folders with `input` on its standard input, and waits for it.
/// True when it ended with 0; otherwise `error` has what it said, or how it ended.
[[nodiscard]] bool run_program(const std::vector<std::string>& words, const std::string& input,
                               std::string& error);

/// The same, and `output` is what it wrote on its standard output.
[[nodiscard]] bool run_program_for(std::string& output, const std::vector<std::string>& words,
                                   std::string& error);

}  // namespace things

#endif
