// A session bus of the test's own, on which the real GConf daemon starts when it is asked for.
#ifndef BRINDLE_TESTS_SUPPORT_SESSION_BUS_H
#define BRINDLE_TESTS_SUPPORT_SESSION_BUS_H

#include <cstdlib>
#include <string>

#include "support/commands.h"

/// Starts the bus and points this process and its children to it; ends it, and the settings daemon first,
/// when destroyed.
class SessionBus {
 public:
  SessionBus() {
    const std::string answer = output_of("dbus-daemon --session --fork --print-address=1 --print-pid=1 2>&1");
    const std::size_t end = answer.find('\n');
    setenv("DBUS_SESSION_BUS_ADDRESS", answer.substr(0, end).c_str(), 1);
    pid_ = answer.substr(end + 1);
  }

  ~SessionBus() {
    shell_quietly("gconftool-2 --shutdown; kill " + pid_);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
  }

  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;

 private:
  std::string pid_;
};

#endif
