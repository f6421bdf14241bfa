// once COMMAND [ARGUMENT...]: runs a command with its standard output as it is and prints on standard error
// what it took: seconds, those of the processor in the program and in the kernel for it, the largest resident
// memory in kilobytes. A small program, since the kernel counts the memory of whoever starts a command as the
// command's. Ends as the command does.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace {

double seconds_of(const timeval& time) { return double(time.tv_sec) + double(time.tv_usec) / 1e6; }

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return 2;
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = vfork();
  if (child == 0) {
    execvp(argv[1], argv + 1);
    _exit(127);
  }
  int status = 0;
  rusage used{};
  if (child < 0 || wait4(child, &status, 0, &used) != child) return 2;
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::fprintf(stderr, "%.6f %.6f %.6f %ld\n", seconds.count(), seconds_of(used.ru_utime),
               seconds_of(used.ru_stime), used.ru_maxrss);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
