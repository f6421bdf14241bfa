#include "gconf/client.h"

#include <gconf/gconf-client.h>

#include <cstdio>
#include <memory>

#include "error/log.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

void spawn_daemon() { SYSTEM(compose("gconftool-2 --spawn")); }

int failed(const char* text) {
  std::perror(text);
  return -1;
}

// A key without a value counts as a failure, an empty list does not.
bool read_list(const char* key, GSList*& list) {
  const std::unique_ptr<GConfValue, void (*)(GConfValue*)> value(
      client == nullptr ? nullptr : gconf_client_get(client, key, nullptr), gconf_value_free);
  if (!value) return false;
  GError* error = nullptr;
  list = gconf_client_get_list(client, key, GCONF_VALUE_STRING, &error);
  const bool read = error == nullptr;
  g_clear_error(&error);
  return read;
}

}  // namespace

int set_gconf_string(const char* key, const char* val) {
  // Twice, as in the two routines below: one start may race with a daemon that is just leaving.
  spawn_daemon();
  spawn_daemon();
  write_log("before set string", fp_log);
  if (client == nullptr || gconf_client_set_string(client, key, val, nullptr) == FALSE)
    return failed("gconf_client_set_string : set");
  write_log("after set string", fp_log);
  return 0;
}

int set_gconf_bool(const char* key, gboolean val) {
  spawn_daemon();
  spawn_daemon();
  write_log("before set bool", fp_log);
  if (client == nullptr || gconf_client_set_bool(client, key, val, nullptr) == FALSE)
    return failed("gconf_client_set_bool : set");
  write_log("after set bool", fp_log);
  return 0;
}

int set_gconf_list(const char* key, GSList* list) {
  std::printf("spawning the gconf tool.");
  spawn_daemon();
  std::printf("before gconf list");
  if (client == nullptr || gconf_client_set_list(client, key, GCONF_VALUE_STRING, list, nullptr) == FALSE)
    return failed("in set_gconf_list ");
  std::printf("after gconf list");
  return 0;
}

GSList* get_gconf_list(const char* key) {
  spawn_daemon();
  spawn_daemon();
  GSList* list = nullptr;
  if (!read_list(key, list)) {
    // "set" in the text of a getter: kept, people search their logs for it.
    std::perror("gconf_client_set_string : get");
    return nullptr;
  }
  return list;
}
