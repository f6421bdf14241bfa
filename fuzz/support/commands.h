// A stand-in for the shell, in this process: the few commands that readers of archives run, done by library
// calls.
//
// A command line is read as the shell reads it. One in which anything is live that no template of the program
// has (a "$", a backquote, ";", "&", "<", a parenthesis outside quotes) is a find: a value came out of its
// quotes.
#ifndef BRINDLE_FUZZ_SUPPORT_COMMANDS_H
#define BRINDLE_FUZZ_SUPPORT_COMMANDS_H

#include <string>
#include <vector>

namespace fuzz {

using Words = std::vector<std::string>;

/// What was run since the last call, each as its words; a pipeline as those of its first program.
std::vector<Words> commands_run();

/// From now on `program` prints `output`, whatever it is asked. Without an answer a program that is not known
/// here prints nothing.
void answer(const std::string& program, const std::string& output);

/// The words of a command line; for the text that a shell is started with.
Words words_of(const std::string& text);

}  // namespace fuzz

#endif
