#include "shell/ending.h"

#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <set>
#include <thread>

#include "place/descriptor.h"
#include "shell/processes.h"
#include "state/sleep.h"

namespace {

thread_local bool (*meanwhile)() = nullptr;
std::atomic<bool> told_to_end{false};

std::atomic<bool> ends{false};
std::atomic<std::thread::id> ending_thread{};

thread_local bool even_at_the_end = false;

bool may_start() { return !ends || even_at_the_end || ending_thread.load() == std::this_thread::get_id(); }

using shell::Asked;

// Kindly only those that have started nothing: a shell that went before its command would leave it to nobody,
// and ends with it anyway.
void ask(const shell::Processes& processes, const std::set<pid_t>& which, Asked how) {
  for (const pid_t id : which) {
    if (how == Asked::to_death) kill(id, SIGKILL);
    if (how == Asked::kindly && processes.tree_of(id).size() == 1) kill(id, SIGTERM);
  }
}

// Since 2.29 the GNU C library answers for a shell that it could not start as one that ended with 127 would,
// and leaves the reason in errno: these are the statuses that stand for the two reasons.
int run_by_system(const char* cmd) {
  constexpr int not_found = 127;
  constexpr int exec_failed = 127;
  errno = 0;
  const int status = std::system(cmd);
  if (status == -1 || !WIFEXITED(status) || WEXITSTATUS(status) != not_found || errno == 0) return status;
  const bool no_process = errno == EAGAIN || errno == ENOMEM;
  return no_process ? -1 : exec_failed;
}

// The same words as system() has.
pid_t start(const char* cmd) {
  char name[] = "sh";
  char option[] = "-c";
  char* words[] = {name, option, const_cast<char*>(cmd), nullptr};
  pid_t child = -1;
  const int error = posix_spawn(&child, "/bin/sh", nullptr, nullptr, words, environ);
  if (error == 0) return child;
  errno = error;
  return -1;
}

// A command is asked to end at once and is given a moment for it.
void end_tree(pid_t child, int rounds) {
  constexpr int rounds_to_end = 25;
  const shell::Processes processes;
  ask(processes, processes.tree_of(child), rounds < rounds_to_end ? Asked::kindly : Asked::to_death);
}

// Pauses, but not beyond the end of `process`. Without one, on a kernel that has no descriptors of processes,
// it pauses all the same.
void pause_beside(const Descriptor& process, std::chrono::microseconds pause) {
  pollfd ending{process.number(), POLLIN, 0};
  const timespec longest{0, std::chrono::nanoseconds(pause).count()};
  ppoll(&ending, 1, &longest, nullptr);
}

int wait_for(pid_t child) {
  constexpr std::chrono::microseconds first_pause{500};
  constexpr std::chrono::microseconds longest_pause{20'000};
  const Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
  int status = 0;
  int rounds_to_end = 0;
  for (auto pause = first_pause;; pause = std::min(2 * pause, longest_pause)) {
    const pid_t ended = waitpid(child, &status, WNOHANG);
    if (ended == child) return status;
    if (ended < 0 && errno != EINTR) return -1;
    if (!meanwhile()) told_to_end = true;
    if (told_to_end) end_tree(child, rounds_to_end++);
    pause_beside(process, pause);
  }
}

}  // namespace

namespace shell {

void while_waiting(bool (*now)()) { meanwhile = now; }

bool pause_and_serve(unsigned int microseconds) {
  if (meanwhile != nullptr && !meanwhile()) told_to_end = true;
  if (meanwhile != nullptr && told_to_end) return false;
  usleep(microseconds);
  return true;
}

bool is_told_to_end() { return told_to_end; }

void start_no_more_commands() {
  ending_thread = std::this_thread::get_id();
  ends = true;
}

bool starts_no_more_commands() { return ends; }

EvenAtTheEnd::EvenAtTheEnd() { even_at_the_end = true; }

EvenAtTheEnd::~EvenAtTheEnd() { even_at_the_end = false; }

void pause_for(unsigned int seconds) {
  constexpr auto between_looks = std::chrono::milliseconds(50);
  for (auto left = std::chrono::seconds(seconds) / between_looks; left > 0 && !ends; --left)
    waiting::sleep_for(between_looks);
}

bool end_commands(Asked how) {
  const Processes processes;
  const std::set<pid_t> commands = processes.own();
  ask(processes, commands, how);
  return !commands.empty();
}

int run_or_end(const char* cmd) {
  if (!may_start() || (meanwhile != nullptr && told_to_end)) {
    errno = ECANCELED;
    return -1;
  }
  if (meanwhile == nullptr) return run_by_system(cmd);
  const pid_t child = start(cmd);
  return child < 0 ? -1 : wait_for(child);
}

}  // namespace shell
