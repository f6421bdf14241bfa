// A session bus of the test's own, on which the real GConf daemon answers, and the client that the migrators
// share.
#ifndef BRINDLE_TESTS_SUPPORT_SESSION_H
#define BRINDLE_TESTS_SUPPORT_SESSION_H

#include <gconf/gconf-client.h>

#include <cstdlib>
#include <string>

#include "state/state.h"
#include "support/commands.h"

/// While it lives, `client` is a real client of a real daemon that writes to root's home, and the programs
/// this process starts use the same daemon.
class Session {
 public:
  Session() {
    setenv("HOME", "/root", 1);
    const std::string answer = output_of("dbus-daemon --session --fork --print-address=1 --print-pid=1");
    const std::size_t end = answer.find('\n');
    setenv("DBUS_SESSION_BUS_ADDRESS", answer.substr(0, end).c_str(), 1);
    bus_ = answer.substr(end + 1);
    client = gconf_client_get_default();
  }
  ~Session() {
    g_clear_object(&client);
    shell_quietly("gconftool-2 --shutdown; kill " + bus_);
    unsetenv("DBUS_SESSION_BUS_ADDRESS");
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// What gconftool-2 prints for `key`.
  static std::string get(const std::string& key) { return output_of("gconftool-2 -g " + key + " 2>&1"); }

 private:
  std::string bus_;  // its process id
};

#endif
