// Reading and writing settings through the shared GConf client.
#ifndef BRINDLE_GCONF_CLIENT_H
#define BRINDLE_GCONF_CLIENT_H

#include <glib.h>

// Each call makes sure first that the daemon runs. All need `client`; without one they fail like any other
// failing call: their text with the system error on standard error. A key that cannot be kept for an undo
// (kept_key.h) is not set, which is such a failure. What is the same for a profile, as a file, goes through
// settings.h.

/// Sets a string key. Returns 0, or -1 after "gconf_client_set_string : set".
int set_gconf_string(const char* key, const char* val);

/// Sets a boolean key. Returns 0, or -1 after "gconf_client_set_bool : set".
int set_gconf_bool(const char* key, gboolean val);

/// Sets a key to a list of strings (a list of char*, which stays the caller's).
/// Returns 0, or -1 after "in set_gconf_list ".
int set_gconf_list(const char* key, GSList* list);

/// The list of strings under `key`; the caller frees the list and its strings with g_free. Null when the
/// key is missing, empty or unreadable; missing and unreadable print "gconf_client_set_string : get".
GSList* get_gconf_list(const char* key);

#endif
