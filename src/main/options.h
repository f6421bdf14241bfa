// What the wizard is started with.
#ifndef BRINDLE_MAIN_OPTIONS_H
#define BRINDLE_MAIN_OPTIONS_H

#include <optional>

/// Reads the arguments and leaves them as they are: the toolkit has options of its own among them. Nothing
/// when the wizard is to start. Else the program's exit status: 0 after --help and --version, which are
/// answered on standard output, 2 for anything unknown, which is named on standard error. Needs no display
/// and writes no file.
std::optional<int> answer_options(int argc, char** argv);

#endif
