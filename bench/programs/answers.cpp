// answers PROCESS-NAME FILE: asks the program of that name, every 20 ms from its first window to its end,
// whether it is there, as window managers do (_NET_WM_PING), which its main loop answers between two events
// as it would a click. FILE is a text that grows while the program works; prints for each question the
// milliseconds until the answer and the last line of FILE at the time of the question. One that is still open
// when the program ends has no answer.
#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <poll.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int pause_milliseconds = 20;

Display* display = nullptr;
bool is_gone = false;

Atom atom(const char* name) { return XInternAtom(display, name, False); }

int ignore(Display*, XErrorEvent* error) {
  if (error->error_code == BadWindow) is_gone = true;
  return 0;
}

// The window that stands for a whole program, from its first window to its end.
Window leader_of(Window window, const std::string& name) {
  Window root = 0, parent = 0, *children = nullptr, found = 0;
  unsigned int count = 0;
  XClassHint hint{};
  if (XGetClassHint(display, window, &hint) != 0 && hint.res_name == name) {
    Atom type = 0;
    int format = 0;
    unsigned long items = 0, rest = 0;
    unsigned char* value = nullptr;
    XGetWindowProperty(display, window, atom("WM_CLIENT_LEADER"), 0, 1, False, XA_WINDOW, &type, &format,
                       &items, &rest, &value);
    if (items == 1) return *reinterpret_cast<Window*>(value);
  }
  if (XQueryTree(display, window, &root, &parent, &children, &count) == 0) return 0;
  for (unsigned int at = 0; at < count && found == 0; ++at) found = leader_of(children[at], name);
  if (children != nullptr) XFree(children);
  return found;
}

void ask(Window window, long number) {
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = window;
  event.xclient.message_type = atom("WM_PROTOCOLS");
  event.xclient.format = 32;
  event.xclient.data.l[0] = static_cast<long>(atom("_NET_WM_PING"));
  event.xclient.data.l[1] = number;
  event.xclient.data.l[2] = static_cast<long>(window);
  XSendEvent(display, window, False, NoEventMask, &event);
  XFlush(display);
}

bool is_answer(const XEvent& event, long number) {
  return event.type == ClientMessage && event.xclient.message_type == atom("WM_PROTOCOLS") &&
         event.xclient.data.l[0] == static_cast<long>(atom("_NET_WM_PING")) &&
         event.xclient.data.l[1] == number;
}

// Milliseconds; less than nothing when the program has ended meanwhile.
double wait_for_answer(Window window, long number) {
  const auto start = Clock::now();
  ask(window, number);
  for (;;) {
    while (XPending(display) > 0) {
      XEvent event;
      XNextEvent(display, &event);
      if (is_answer(event, number))
        return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    }
    pollfd connection{ConnectionNumber(display), POLLIN, 0};
    if (poll(&connection, 1, 1000) > 0) continue;
    XWindowAttributes attributes;
    XGetWindowAttributes(display, window, &attributes);
    if (is_gone) return -1;
  }
}

std::string last_line(const char* path) {
  std::ifstream file(path);
  std::string line, last;
  file.seekg(0, std::ios::end);
  const auto size = static_cast<long>(file.tellg());
  file.seekg(size > 4096 ? size - 4096 : 0);
  while (std::getline(file, line)) last = line;
  return last.substr(0, 200);
}

}  // namespace

int main(int argc, char** argv) {
  display = argc == 3 ? XOpenDisplay(nullptr) : nullptr;
  if (display == nullptr) return 2;
  XSetErrorHandler(ignore);
  XSelectInput(display, DefaultRootWindow(display), SubstructureNotifyMask);
  Window leader = 0;
  while (leader == 0) {
    usleep(1000 * pause_milliseconds);
    leader = leader_of(DefaultRootWindow(display), argv[1]);
    is_gone = false;
  }
  for (long number = 1; !is_gone; ++number) {
    const std::string now = last_line(argv[2]);
    const double took = wait_for_answer(leader, number);
    if (took >= 0) std::printf("%.2f\t%s\n", took, now.c_str());
    usleep(1000 * pause_milliseconds);
  }
}
