// until_mapped PROGRAM: starts the program, waits until its first window, of the wizard's size or framed by
// the window manager, is mapped, prints the milliseconds that took, and ends the program.
#include <X11/Xlib.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

int main(int, char** argv) {
  Display* display = XOpenDisplay(nullptr);
  if (display == nullptr) return 2;
  XSelectInput(display, DefaultRootWindow(display), SubstructureNotifyMask);
  XSync(display, False);
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    std::freopen("/dev/null", "w", stdout);
    execv(argv[1], argv + 1);
    _exit(127);
  }
  for (;;) {
    XEvent event;
    XNextEvent(display, &event);
    if (event.type != MapNotify) continue;
    XWindowAttributes window;
    if (XGetWindowAttributes(display, event.xmap.window, &window) && window.width >= 640) break;
  }
  const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
  std::printf("%.2f\n", took.count());
  kill(child, SIGTERM);
  waitpid(child, nullptr, 0);
}
