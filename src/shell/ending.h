// Commands and the end of the program: a command that hangs holds up neither the windows nor the end, and
// none of them outlives the program.
#ifndef BRINDLE_SHELL_ENDING_H
#define BRINDLE_SHELL_ENDING_H

namespace shell {

/// For the calling thread: while it waits for a command, `meanwhile` is called every few milliseconds. False
/// from it ends the command and all that it has started; is_told_to_end is true from then on. Null: the
/// thread waits for its commands whatever happens, as every other thread does.
void while_waiting(bool (*meanwhile)());

/// Sleeps for so long, and before that calls the thread's `meanwhile`, as waiting for a command does. False
/// once the thread has been told to end, without sleeping.
bool pause_and_serve(unsigned int microseconds);

/// True once a `meanwhile` was false: whoever ran the command has nothing more to do.
bool is_told_to_end();

/// The end of the program has begun: from now on only the calling thread starts commands. On the others each
/// one is answered like one that could not be started, without a word to the system log.
void start_no_more_commands();

/// True after start_no_more_commands: nothing new is begun any more.
bool starts_no_more_commands();

/// While it lives, the thread's commands are run although the end has begun: those that end what an earlier
/// one has started.
class EvenAtTheEnd {
 public:
  EvenAtTheEnd();
  ~EvenAtTheEnd();
  EvenAtTheEnd(const EvenAtTheEnd&) = delete;
  EvenAtTheEnd& operator=(const EvenAtTheEnd&) = delete;
};

/// Sleeps for so many seconds, or until the end begins.
void pause_for(unsigned int seconds);

/// How hard the commands that run are asked to end.
enum class Asked { kindly, to_death };

/// Asks all that this program has started and still waits for to end, with what came from it. Returns
/// whether there was anything.
bool end_commands(Asked how);

/// The raw status of `cmd` run through the shell as system() does it; -1 with errno set when it was not run.
int run_or_end(const char* cmd);

}  // namespace shell

#endif
