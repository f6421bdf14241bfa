#include "shell/run.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "error/error.h"
#include "shell/ending.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/pieces.h"

namespace {

unsigned int seed = 0;

constexpr std::size_t first_line_limit = 255;

// For whoever started the program on a terminal; the log is for the administrator.
void tell(const char* cmd, const char* what, const char* why) {
  const int error = errno;  // the log's line ends with it
  std::fprintf(stderr, "brindle: %s %s: %s\n", cmd, what, why);
  errno = error;
}

// Not run here: turns a raw status of system() into the log line and the caller's result.
int report(int status, const char* cmd) {
  if (status == -1 && errno == ECANCELED) return -1;  // the program ends
  if (status == -1) {
    tell(cmd, "could not be started", std::strerror(errno));
    log_ret("fork failed, %s", cmd);
    return -1;
  }
  // The raw word, on purpose: the shell's exit status 127 for an unknown command is 127 << 8 here and
  // counts as an ordinary end.
  if (status == 127) {
    log_ret("exec failed, %s", cmd);
    return -1;
  }
  if ((status & 0x7f) != 0) {
    tell(cmd, "was ended by a signal", strsignal(WTERMSIG(status)));
    log_ret("abnormal termination %s", cmd);
    return -1;
  }
  const int exit_status = WEXITSTATUS(status);
  if (exit_status != 0) log_ret("normal termination, exit status %d, %s", exit_status, cmd);
  return 0;
}

int refuse(const char* cmd) {
  log_ret("refused, %s", cmd);
  return -1;
}

int run_logged(const char* cmd) { return report(shell::run_or_end(cmd), cmd); }

// Makes the file for a command's output. A name that is taken gets a number behind it: what lies there is
// somebody's, and a link there may lead anywhere. A home that takes no file is left for the command to tell.
std::string make_output_file(const std::string& home) {
  const std::string name = shell::tmp_file_name(home);
  std::string file = name;
  for (int number = 2;; ++number) {
    const int made = open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (made >= 0) close(made);
    if (made >= 0 || errno != EEXIST) return file;
    file = name + "-" + std::to_string(number);
  }
}

int read_first_line(const std::string& command, const std::string& file, std::string& line) {
  File output = open_file(file, "r");
  if (!output) {
    log_ret("fopen in execute_first, %s, %s", command.c_str(), file.c_str());
    return -1;
  }
  PieceReader reader(output.get(), first_line_limit);
  std::string_view piece;
  const bool found = reader.next(piece);
  line = piece;
  output.reset();
  if (std::remove(file.c_str()) != 0) {
    log_ret("remove error, %s", command.c_str());
    return -1;
  }
  return found ? 1 : 0;
}

}  // namespace

int SYSTEM(const shell::Command& cmd) {
  return cmd.refused() ? refuse(cmd.c_str()) : run_logged(cmd.c_str());
}

namespace shell {

int run_for_status(const Command& cmd) {
  if (cmd.refused()) return refuse(cmd.c_str());
  const int status = run_or_end(cmd.c_str());
  return report(status, cmd.c_str()) == 0 ? WEXITSTATUS(status) : -1;
}

int run_shown_as(const Command& cmd, const Command& shown) {
  return cmd.refused() ? refuse(shown.c_str()) : report(run_or_end(cmd.c_str()), shown.c_str());
}

void allow_long_commands() {
  constexpr rlim_t wanted = rlim_t{4} * 6 * 1024 * 1024;
  rlimit stack{};
  if (getrlimit(RLIMIT_STACK, &stack) != 0 || stack.rlim_cur >= wanted)
    return;  // unlimited is the highest number
  stack.rlim_cur = std::min(wanted, stack.rlim_max);
  if (setrlimit(RLIMIT_STACK, &stack) != 0) log_ret("setrlimit");
}

int run_unlogged(const Command& cmd) {
  if (!cmd.refused()) return run_or_end(cmd.c_str());
  errno = EINVAL;
  return -1;
}

int execute_first(const Command& cmd, const std::string& home, std::string& line) {
  const std::string file = make_output_file(home);
  const Command command = redirected(cmd, file);
  line.clear();
  if (SYSTEM(command) == 0) return read_first_line(command.text(), file, line);
  unlink(file.c_str());
  return -1;
}

std::string tmp_file_name(const std::string& home) {
  std::srand(seed);
  trace_home(home);
  const std::string name = home + "/." + std::to_string(std::rand());
  ++seed;
  return name;
}

}  // namespace shell

int SYSTEM(const char* cmd) { return run_logged(cmd); }

int execute_first(const char* cmd, char* result) {
  const std::string file = make_output_file(current_owner().home);
  const shell::Command output = shell::compose(" > %s", file);
  const std::string command = cmd + output.text();
  result[0] = '\0';
  if ((output.refused() ? refuse(command.c_str()) : run_logged(command.c_str())) != 0) {
    unlink(file.c_str());
    return -1;
  }
  std::string line;
  const int found = read_first_line(command, file, line);
  std::strcpy(result, line.c_str());  // at most 255 characters
  return found;
}

void tmp_file(char* buf) {
  const std::string name = shell::tmp_file_name(current_owner().home);
  const bool fits = name.size() < 64;
  std::strcpy(buf, fits ? name.c_str() : "");
}
