#include "account/readers/gconf.h"

#include <glib.h>
#include <libxml/parser.h>
#include <pwd.h>
#include <unistd.h>

#include <memory>
#include <string_view>

namespace account {
namespace {

bool can_read(const std::string& path) { return access(path.c_str(), R_OK) == 0; }

// ---- The daemon -----------------------------------------------------------------------------------------

// What gconftool-2 prints; no value when it cannot be run or fails.
std::optional<std::string> ask_gconftool(const char* option, const char* key = nullptr) {
  std::string tool = "gconftool-2", word = option, last = key == nullptr ? "" : key;
  char* words[] = {tool.data(), word.data(), key == nullptr ? nullptr : last.data(), nullptr};
  // It prints in the character set of its locale, and a person's texts are UTF-8.
  const std::unique_ptr<char*, decltype(&g_strfreev)> environment(
      g_environ_setenv(g_get_environ(), "LC_ALL", "C.UTF-8", TRUE), g_strfreev);
  char* printed = nullptr;
  int status = 0;
  const bool ran = g_spawn_sync(nullptr, words, environment.get(),
                                static_cast<GSpawnFlags>(G_SPAWN_SEARCH_PATH | G_SPAWN_STDERR_TO_DEV_NULL),
                                nullptr, nullptr, &printed, nullptr, &status, nullptr) != FALSE;
  const std::unique_ptr<char, decltype(&g_free)> owner(printed, g_free);
  if (!ran || !g_spawn_check_wait_status(status, nullptr) || printed == nullptr) return std::nullopt;
  std::string answer = printed;
  if (answer.ends_with('\n')) answer.pop_back();
  return answer;
}

bool is_own(const std::string& home) {
  const passwd* const entry = getpwuid(getuid());
  return (entry != nullptr && home == entry->pw_dir) || home == g_get_home_dir();
}

// A list is printed as [one,two], with a backslash before commas, brackets and backslashes of its texts.
std::vector<std::string> elements_of(const std::string& printed) {
  std::vector<std::string> elements;
  if (printed.size() <= 2) return elements;
  elements.emplace_back();
  for (std::size_t i = 1; i + 1 < printed.size(); ++i) {
    if (printed[i] == ',') {
      elements.emplace_back();
    } else {
      if (printed[i] == '\\') ++i;
      elements.back() += printed[i];
    }
  }
  return elements;
}

std::optional<GConfValue> read_from_daemon(const std::string& key) {
  const std::string type = ask_gconftool("--get-type", key.c_str()).value_or("");
  if (type.empty()) return std::nullopt;
  const std::string printed = ask_gconftool("--get", key.c_str()).value_or("");
  GConfValue result;
  if (type == "string") result.value = printed;
  if (type == "bool") result.value = printed == "true";
  if (type == "list") result.value = elements_of(printed);
  return result;
}

// ---- The files ------------------------------------------------------------------------------------------

// One settings file on its way through the parser, which stops at the first fault: what was read until then
// is what GConf has.
struct Reading {
  std::string wanted;  // the entry's name
  std::optional<GConfValue> found;
  bool in_wanted = false;
  bool in_text = false;
};

std::string_view view(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

Reading& reading_of(void* context) { return *static_cast<Reading*>(context); }

// The attribute `name` among the parser's five pointers an attribute; empty when it is not there.
std::string attribute(const char* name, int count, const xmlChar** attributes) {
  for (int i = 0; i < count; ++i, attributes += 5)
    if (view(attributes[0]) == name)
      return {reinterpret_cast<const char*>(attributes[3]), reinterpret_cast<const char*>(attributes[4])};
  return {};
}

void start_entry(Reading& reading, int count, const xmlChar** attributes) {
  reading.in_wanted = attribute("name", count, attributes) == reading.wanted;
  if (!reading.in_wanted) return;
  reading.found.emplace();
  const std::string type = attribute("type", count, attributes);
  if (type == "string") reading.found->value = std::string();
  if (type == "bool") reading.found->value = attribute("value", count, attributes) == "true";
  if (type == "list") reading.found->value = std::vector<std::string>();
}

void start_element(void* context, const xmlChar* element, const xmlChar*, const xmlChar*, int,
                   const xmlChar**, int count, int, const xmlChar** attributes) {
  Reading& reading = reading_of(context);
  const std::string_view name = view(element);
  if (name == "entry") return start_entry(reading, count, attributes);
  if (!reading.in_wanted) return;
  auto* const list = std::get_if<std::vector<std::string>>(&reading.found->value);
  if (name == "li" && list != nullptr) list->emplace_back();
  reading.in_text = name == "stringvalue";
}

void take_text(void* context, const xmlChar* bytes, int length) {
  Reading& reading = reading_of(context);
  if (!reading.in_wanted || !reading.in_text) return;
  auto& value = reading.found->value;
  auto* const list = std::get_if<std::vector<std::string>>(&value);
  auto* text = std::get_if<std::string>(&value);
  if (list != nullptr && !list->empty()) text = &list->back();
  if (text != nullptr) text->append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(length));
}

void end_element(void* context, const xmlChar* element, const xmlChar*, const xmlChar*) {
  Reading& reading = reading_of(context);
  if (view(element) == "stringvalue") reading.in_text = false;
  if (view(element) == "entry") reading.in_wanted = false;
}

// GConf sees a folder only when each one above it has a settings file as well, if an empty one.
bool is_seen(const std::string& root, const std::string& folder) {
  for (std::size_t slash = folder.find('/', 1); slash != std::string::npos;
       slash = folder.find('/', slash + 1))
    if (!can_read(root + folder.substr(0, slash) + "/%gconf.xml")) return false;
  return true;
}

std::optional<GConfValue> read_from_files(const std::string& home, const std::string& key) {
  const std::size_t slash = key.rfind('/');
  const std::string root = home + "/.gconf", folder = key.substr(0, slash);
  const std::string file = root + folder + "/%gconf.xml";
  if (!can_read(file) || !is_seen(root, folder)) return std::nullopt;

  Reading reading;
  reading.wanted = key.substr(slash + 1);
  xmlSAXHandler handler = {};
  handler.initialized = XML_SAX2_MAGIC;
  handler.startElementNs = start_element;
  handler.endElementNs = end_element;
  handler.characters = take_text;
  handler.ignorableWhitespace = take_text;
  handler.cdataBlock = take_text;
  const bool well_formed = xmlSAXUserParseFile(&handler, &reading, file.c_str()) == 0;
  const bool reached = reading.found && !reading.in_wanted;
  if (!well_formed && !reached) return GConfValue{.value = {}, .damaged = true};
  return reading.found;
}

}  // namespace

std::string GConfValue::text() const {
  const auto* const text = std::get_if<std::string>(&value);
  return text == nullptr ? std::string() : *text;
}

std::vector<std::string> GConfValue::list() const {
  const auto* const list = std::get_if<std::vector<std::string>>(&value);
  return list == nullptr ? std::vector<std::string>() : *list;
}

std::optional<GConfValue> read_gconf(const std::string& home, const std::string& key) {
  if (is_own(home) && ask_gconftool("--ping")) return read_from_daemon(key);
  return read_from_files(home, key);
}

}  // namespace account
