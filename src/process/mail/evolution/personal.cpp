#include "process/mail/evolution/personal.h"

#include <glib.h>

#include <cstdio>
#include <cstring>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "gconf/client.h"
#include "process/mail/evolution/gconf_file.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

constexpr std::size_t uid_size = 128;
constexpr std::size_t uid2_size = 3072;

void copy_with_trace(const shell::Command& copy) {
  std::printf("%s", copy.c_str());
  SYSTEM(copy);
}

void copy_calendar(const char* args, const std::string& home, bool evolution_2) {
  if (!evolution_2) {
    copy_with_trace(compose("cp -f %s/Calendar/calendar.ics %s/evolution/local/Calendar", args, home));
    return;
  }
  shell::run_unlogged(compose("mkdir -p %s/.evolution/calendar/local/system", home));
  copy_with_trace(compose("cp -f %s/Calendar/calendar.ics %s/.evolution/calendar/local/system", args, home));
  display_calendar();
  std::printf("Calendar Display Over.");
}

void copy_contacts(const char* args, const std::string& home, bool evolution_2) {
  if (!evolution_2) {
    copy_with_trace(compose("cp -f %s/Contacts/addressbook.db %s/evolution/local/Contacts", args, home));
    return;
  }
  shell::run_unlogged(compose("mkdir -p %s/.evolution/addressbook", home));
  shell::run_unlogged(compose("mkdir -p %s/.evolution/addressbook/local", home));
  shell::run_unlogged(compose("mkdir -p %s/.evolution/addressbook/local/system", home));
  copy_with_trace(
      compose("cp -f %s/Contacts/addressbook.db %s/.evolution/addressbook/local/system", args, home));
}

void copy_tasks(const char* args, const std::string& home, bool evolution_2) {
  if (!evolution_2) {
    copy_with_trace(compose("cp -f %s/Tasks/tasks.ics %s/evolution/local/Tasks", args, home));
    return;
  }
  shell::run_unlogged(compose("mkdir -p %s/.evolution/tasks/local/system", home));
  copy_with_trace(compose("cp -f %s/Tasks/tasks.ics %s/.evolution/tasks/local/system", args, home));
  display_tasks();
}

/// A list of sources and the setting that says which of them are shown.
struct Shown {
  const char* sources_key;
  const char* selected_key;
  const char* selected;        ///< name of the setting in its file
  const char* sources_folder;  ///< below .gconf/apps/evolution in a profile's home
  const char* selected_folder;
  const char* trace;
  int without_sources;  ///< result for a profile without a list of sources
};

constexpr Shown calendars = {"/apps/evolution/calendar/sources",
                             "/apps/evolution/calendar/display/selected_calendars",
                             "selected_calendars",
                             "calendar",
                             "calendar/display",
                             "In display_calendar for other user.",
                             -1};
// Evolution keeps the shown task lists below the calendar.
constexpr Shown task_lists = {"/apps/evolution/tasks/sources",
                              "/apps/evolution/calendar/tasks/selected_tasks",
                              "selected_tasks",
                              "tasks",
                              "calendar/tasks",
                              "In display_task for other user.",
                              0};

// The time-stamp is fixed and the same for both files: GConf never looks at it.
constexpr const char* selected_file = R"(<?xml version="1.0"?>
<gconf>
<entry name="@selected@" mtime="1114567268" type="list" ltype="string">
<li type="string">
<stringvalue>@uid@</stringvalue>
</li>
</entry>
</gconf>)";

/// What stands between the `open` and the `close` that follow "source uid=" in `text`.
std::optional<std::string> source_uid(std::string_view text, std::string_view open, std::string_view close) {
  const std::string_view name = "source uid=";
  const std::size_t at = text.find(name);
  const std::size_t before = at == text.npos ? at : text.find(open, at + name.size());
  const std::size_t begin = before == text.npos ? before : before + open.size();
  const std::size_t end = begin == text.npos ? begin : text.find(close, begin);
  if (end != text.npos) return std::string(text.substr(begin, end - begin));
  std::perror("get_source_uid ");
  return std::nullopt;
}

std::optional<std::string> plain_uid(std::string_view text) { return source_uid(text, "\"", "\""); }

std::optional<std::string> escaped_uid(std::string_view text) {
  const std::string_view start = "source uid=&quot;";
  const std::size_t at = text.find(start);
  return source_uid(at == text.npos ? "" : text.substr(at), "&quot;", "&quot;");
}

int copy_uid(const std::optional<std::string>& uid, char* buf, std::size_t size) {
  if (!uid || uid->size() >= size) return -1;
  std::memcpy(buf, uid->c_str(), uid->size() + 1);
  return 0;
}

struct ListFreer {
  void operator()(GSList* list) const { g_slist_free_full(list, g_free); }
};

// A source group without a uid selects an empty one: kept, the list is stored all the same.
int display_for_running_user(const Shown& shown) {
  const std::unique_ptr<GSList, ListFreer> sources(get_gconf_list(shown.sources_key));
  if (!sources) return 0;
  std::string uid = plain_uid(static_cast<const char*>(sources->data)).value_or("");
  GSList only = {uid.data(), nullptr};
  set_gconf_list(shown.selected_key, &only);
  return 0;
}

std::optional<std::string> whole_file(const std::string& path) {
  const File file = open_file(path, "r");
  if (!file) return std::nullopt;
  std::string text;
  char block[4096];
  for (std::size_t size = sizeof block; size == sizeof block;) {
    size = std::fread(block, 1, sizeof block, file.get());
    text.append(block, size);
  }
  return text;
}

int display_for_profile(const Shown& shown) {
  std::printf("%s", shown.trace);
  const std::string folder = user_home() + "/.gconf/apps/evolution/";
  const std::optional<std::string> sources = whole_file(folder + shown.sources_folder + "/%gconf.xml");
  if (!sources) return shown.without_sources;
  const std::string uid = escaped_uid(*sources).value_or("");
  SYSTEM(compose("mkdir %s%s", folder, shown.selected_folder));
  const std::string text = fill(selected_file, {{"selected", shown.selected}, {"uid", uid}});
  return write_gconf_file(folder + shown.selected_folder, text) ? 0 : -1;
}

int display(const Shown& shown) {
  return isDefaultUser == 1 ? display_for_running_user(shown) : display_for_profile(shown);
}

}  // namespace

int calendar_contacts_tasks(const char* args) {
  // Evolution would hold its files open.
  shell::run_unlogged(compose("evolution --force-shutdown"));
  const std::string home = user_home();
  if (home.empty()) return 0;
  const bool evolution_2 = is_folder(home.c_str(), ".evolution") != 0;
  std::printf("In Calendar Contacts Tasks::%s", args);
  if (is_folder(args, "Calendar") != 0) copy_calendar(args, home, evolution_2);
  if (is_folder(args, "Contacts") != 0) copy_contacts(args, home, evolution_2);
  if (is_folder(args, "Tasks") != 0) copy_tasks(args, home, evolution_2);
  return 0;
}

int display_calendar() { return display(calendars); }

int display_tasks() { return display(task_lists); }

int get_source_uid(const char* str, char* buf) { return copy_uid(plain_uid(str), buf, uid_size); }

int get_source_uid2(const char* str, char* buf) { return copy_uid(escaped_uid(str), buf, uid2_size); }
