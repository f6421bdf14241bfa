#include "gconf/client.h"

#include <cstdio>
#include <memory>
#include <optional>

#include "error/log.h"
#include "gconf/kept_key.h"
#include "shell/run.h"
#include "state/state.h"
#include "things/gconf_calls.h"

namespace {

void spawn_daemon() { SYSTEM(compose("gconftool-2 --spawn")); }

// Deliberate: part of the output. A list is set after one start, everything else after two.
void spawn_daemon_twice() {
  spawn_daemon();
  spawn_daemon();
}

int failed(const char* text) {
  std::perror(text);
  return -1;
}

// An empty list is a null pointer as well, but no failure.
bool holds_empty_list(GConfClient* from, const char* key) {
  const std::unique_ptr<GConfValue, late::FreedBy<late::gconf_value_free>> value(
      late::gconf_client_get(from, key, nullptr));
  return value && value->type == GCONF_VALUE_LIST &&
         late::gconf_value_get_list_type(value.get()) == GCONF_VALUE_STRING &&
         late::gconf_value_get_list(value.get()) == nullptr;
}

// No value for a key that is missing or holds no list of strings. No error object, so that the client itself
// tells standard error what is wrong.
std::optional<GSList*> read_list(GConfClient* from, const char* key) {
  if (from == nullptr) return std::nullopt;
  GSList* list = late::gconf_client_get_list(from, key, GCONF_VALUE_STRING, nullptr);
  if (list == nullptr && !holds_empty_list(from, key)) return std::nullopt;
  return list;
}

}  // namespace

int set_gconf_string(const char* key, const char* val) {
  spawn_daemon_twice();
  write_log("before set string", fp_log);
  if (client == nullptr || !keep_key(client, key) ||
      late::gconf_client_set_string(client, key, val, nullptr) == FALSE)
    return failed("gconf_client_set_string : set");
  note_key(client, key);
  write_log("after set string", fp_log);
  return 0;
}

int set_gconf_bool(const char* key, gboolean val) {
  spawn_daemon_twice();
  write_log("before set bool", fp_log);
  if (client == nullptr || !keep_key(client, key) ||
      late::gconf_client_set_bool(client, key, val, nullptr) == FALSE)
    return failed("gconf_client_set_bool : set");
  note_key(client, key);
  write_log("after set bool", fp_log);
  return 0;
}

int set_gconf_list(const char* key, GSList* list) {
  std::printf("spawning the gconf tool.");
  spawn_daemon();
  std::printf("before gconf list");
  if (client == nullptr || !keep_key(client, key) ||
      late::gconf_client_set_list(client, key, GCONF_VALUE_STRING, list, nullptr) == FALSE)
    return failed("in set_gconf_list ");
  note_key(client, key);
  std::printf("after gconf list");
  return 0;
}

GSList* get_gconf_list(const char* key) {
  spawn_daemon_twice();
  const std::optional<GSList*> list = read_list(client, key);
  if (list) return *list;
  std::perror("gconf_client_set_string : get");  // Deliberate: part of the output. It was a get that failed.
  return nullptr;
}
