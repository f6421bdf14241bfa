#include "gconf/gconf_calls.h"

#include <dlfcn.h>
#include <gconf/gconf-client.h>

namespace {

std::vector<std::string> calls;
std::vector<std::string> lists;
bool is_refused = false;

template <typename Function>
Function* really(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

const std::vector<std::string>& settings_made() { return calls; }

const std::vector<std::string>& lists_asked_for() { return lists; }

void refuse_settings() { is_refused = true; }

// These take the place of the library's in this program.

extern "C" gboolean gconf_client_set_string(GConfClient* client, const gchar* key, const gchar* val,
                                            GError** error) {
  calls.push_back(std::string("string ") + key + " " + val);
  if (is_refused) return FALSE;
  return really<decltype(gconf_client_set_string)>("gconf_client_set_string")(client, key, val, error);
}

extern "C" gboolean gconf_client_set_bool(GConfClient* client, const gchar* key, gboolean val,
                                          GError** error) {
  calls.push_back(std::string("bool ") + key + (val == FALSE ? " false" : " true"));
  if (is_refused) return FALSE;
  return really<decltype(gconf_client_set_bool)>("gconf_client_set_bool")(client, key, val, error);
}

extern "C" gboolean gconf_client_set_list(GConfClient* client, const gchar* key, GConfValueType type,
                                          GSList* list, GError** error) {
  std::string call = std::string("list ") + key;
  for (const GSList* at = list; at != nullptr; at = at->next)
    call += std::string(" ") + static_cast<const char*>(at->data);
  calls.push_back(call);
  if (is_refused) return FALSE;
  return really<decltype(gconf_client_set_list)>("gconf_client_set_list")(client, key, type, list, error);
}

extern "C" GSList* gconf_client_get_list(GConfClient* client, const gchar* key, GConfValueType type,
                                         GError** error) {
  lists.push_back(std::string(key) + (error == nullptr ? "" : " with an error object"));
  return really<decltype(gconf_client_get_list)>("gconf_client_get_list")(client, key, type, error);
}
