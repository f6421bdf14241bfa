// A session bus and a GConf daemon for a test, and the client that the migrators share.
#ifndef BRINDLE_TESTS_SUPPORT_SESSION_H
#define BRINDLE_TESTS_SUPPORT_SESSION_H

#include <gconf/gconf-client.h>

#include <cstdlib>
#include <string>

#include "state/state.h"
#include "support/commands.h"

/// While it lives, `client` is a real client of a real daemon that writes to root's home.
class Session {
 public:
  Session() {
    setenv("HOME", "/root", 1);
    std::string address = output_of("dbus-daemon --session --fork --print-address");
    address.erase(address.find('\n'));
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    client = gconf_client_get_default();
  }
  ~Session() {
    g_clear_object(&client);
    shell_quietly("gconftool-2 --shutdown");
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// What gconftool-2 prints for `key`.
  std::string get(const std::string& key) const { return output_of("gconftool-2 -g " + key + " 2>&1"); }
};

#endif
