// The commands a test's code ran, taken at system(3): each one is recorded and then really run.
#ifndef BRINDLE_TESTS_SUPPORT_COMMANDS_H
#define BRINDLE_TESTS_SUPPORT_COMMANDS_H

#include <functional>
#include <string>
#include <vector>

/// All texts handed to system() so far, in order, from every thread.
std::vector<std::string> commands_run();

/// Forgets them.
void forget_commands();

/// The next command handed to system() that begins with `start` is recorded but not run: system() answers
/// `status`, a raw status word, with `error` in errno. The first `before` of them are run.
void answer_command(const std::string& start, int status, int error = 0, int before = 0);

/// Calls `action` when the next command that begins with `start` is handed to system(), before it is run.
void when_command(const std::string& start, const std::function<void()>& action);

/// Runs `text` through the shell without recording it, for a test's own preparations. Returns its exit
/// status, or -1 when a signal ended it.
int shell_quietly(const std::string& text);

/// Standard output of `text` run through the shell, without recording it.
std::string output_of(const std::string& text);

#endif
