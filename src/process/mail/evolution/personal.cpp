#include "process/mail/evolution/personal.h"

#include <glib.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "gconf/client.h"
#include "gconf/folders.h"
#include "gconf/settings.h"
#include "keep/keep.h"
#include "process/archive/layout.h"
#include "process/mail/folders/evolution.h"
#include "process/mail/old_file.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/kept.h"
#include "shell/run.h"
#include "system/home_folder.h"

namespace {

// ---- What Evolution 2 shows --------------------------------------------------------------------------

/// A list of sources and the setting that says which of them are shown.
struct Shown {
  const char* sources_key;
  const char* sources_folder;  ///< below .gconf in a profile's home
  const char* selected_key;
  const char* selected_folder;
  const char* selected;  ///< name of the setting in its file
  const char* trace;
  int without_sources;  ///< result for a profile without a list of sources
};

constexpr Shown shown_calendars = {.sources_key = "/apps/evolution/calendar/sources",
                                   .sources_folder = "apps/evolution/calendar",
                                   .selected_key = "/apps/evolution/calendar/display/selected_calendars",
                                   .selected_folder = "apps/evolution/calendar/display",
                                   .selected = "selected_calendars",
                                   .trace = "In display_calendar for other user.",
                                   .without_sources = -1};
// The shown task lists are a setting below the calendar's.
constexpr Shown shown_tasks = {.sources_key = "/apps/evolution/tasks/sources",
                               .sources_folder = "apps/evolution/tasks",
                               .selected_key = "/apps/evolution/calendar/tasks/selected_tasks",
                               .selected_folder = "apps/evolution/calendar/tasks",
                               .selected = "selected_tasks",
                               .trace = "In display_task for other user.",
                               .without_sources = 0};

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

constexpr std::size_t uid_size = 128;
constexpr std::size_t uid2_size = 3072;

int copy_uid(const std::optional<std::string>& uid, char* buf, std::size_t size) {
  if (!uid || uid->size() >= size) return -1;
  std::memcpy(buf, uid->c_str(), uid->size() + 1);
  return 0;
}

// Deliberate: part of the format. The time-stamp is fixed.
constexpr const char* selected_file = R"(<?xml version="1.0"?>
<gconf>
<entry name="@selected@" mtime="1114567268" type="list" ltype="string">
<li type="string">
<stringvalue>@uid@</stringvalue>
</li>
</entry>
</gconf>)";

// The tasks' setting lies below the calendar's folder, which only has to be there for the calendar.
void make_parent(const Target& target, const Shown& shown) {
  // Not looked at, like a setting that cannot be written itself.
  static_cast<void>(
      make_settings_folder(target.home, std::filesystem::path(shown.selected_folder).parent_path()));
}

// Deliberate: part of the output. Sources without a uid show an empty one.
int store_shown(const Target& target, const Shown& shown, const std::optional<std::string>& source) {
  if (!target.is_running_user) make_parent(target, shown);
  const std::string uid = source.value_or("");
  const SettingsFile file = {.folder = shown.selected_folder,
                             .new_folders = {shown.selected_folder},
                             .text = fill(selected_file, {{"selected", shown.selected}, {"uid", uid}})};
  const Stored stored = store_settings(target, {{shown.selected_key, std::vector{uid}}}, file);
  // A client that fails counts as done.
  return stored == Stored::not_in_file ? -1 : 0;
}

struct ListFreer {
  void operator()(GSList* list) const { g_slist_free_full(list, g_free); }
};

int show_first_of_client(const Target& target, const Shown& shown) {
  const std::unique_ptr<GSList, ListFreer> sources(get_gconf_list(shown.sources_key));
  if (!sources) return 0;
  return store_shown(target, shown, plain_uid(static_cast<const char*>(sources->data)));
}

int show_first_of_file(const Target& target, const Shown& shown) {
  std::printf("%s", shown.trace);
  trace_home(target.home);
  const auto sources = read_whole(target.home + "/.gconf/" + shown.sources_folder + "/%gconf.xml");
  if (!sources) return shown.without_sources;
  return store_shown(target, shown, escaped_uid(*sources));
}

int show_first(const Target& target, const Shown& shown) {
  return target.is_running_user ? show_first_of_client(target, shown) : show_first_of_file(target, shown);
}

// ---- The copies --------------------------------------------------------------------------------------

/// A kind of data and where it goes, below the home.
struct Kind {
  const char* folder;  ///< in the archive: without it there are no such data
  const char* file;
  const char* evolution_1;
  std::span<const char* const> evolution_2;  ///< made one after the other; the last one takes the file
};

constexpr const char* calendar_folders[] = {".evolution/calendar/local/system"};
constexpr const char* contacts_folders[] = {".evolution/addressbook", ".evolution/addressbook/local",
                                            ".evolution/addressbook/local/system"};
constexpr const char* tasks_folders[] = {".evolution/tasks/local/system"};

constexpr Kind calendar = {layout::calendar, layout::calendar_file, "evolution/local/Calendar",
                           calendar_folders};
constexpr Kind contacts = {layout::contacts, layout::contacts_file, "evolution/local/Contacts",
                           contacts_folders};
constexpr Kind tasks = {layout::tasks, layout::tasks_file, "evolution/local/Tasks", tasks_folders};

// Null when it may not be made.
const char* make_store(const std::string& home, const Kind& kind, bool evolution_2) {
  const char* store = evolution_2 ? kind.evolution_2.back() : kind.evolution_1;
  // Another failure is not looked at: behind a link out of the home only the commands make anything.
  if (!make_home_folder(home, store) && errno == not_kept) return nullptr;
  if (!evolution_2) return store;
  for (const char* folder : kind.evolution_2) shell::run_unlogged(compose("mkdir -p %s/%s", home, folder));
  return store;
}

// What is not in the archive leaves the old file alone.
bool is_copied(const std::string& from, const std::string& to) {
  return !open_file(from, "r") || same_content(from, to);
}

enum class Copied { not_there, whole, not_whole, not_kept };

/// A copy that is not whole leaves the old file.
Copied copy(const Target& target, const std::string& folder, const Kind& kind, const char* store) {
  const std::string from = folder + "/" + kind.file;
  const std::string name = std::filesystem::path(kind.file).filename();
  const std::string to = target.home + "/" + store + "/" + name;
  const shell::Command command = compose("cp -f %s/%s %s/%s", folder, kind.file, target.home, store);
  std::printf("%s", command.c_str());
  if (!keep::before_change(to)) return Copied::not_kept;
  OldFile old = OldFile::copy_of(to);
  if (!old.is_safe()) return Copied::not_whole;
  SYSTEM(command);
  if (is_copied(from, to)) return Copied::whole;
  old.put_back();
  return Copied::not_whole;
}

Copied copy_if_there(const Target& target, const std::string& folder, const Kind& kind, bool evolution_2) {
  if (is_folder(folder.c_str(), kind.folder) == 0) return Copied::not_there;
  const char* store = make_store(target.home, kind, evolution_2);
  return store == nullptr ? Copied::not_kept : copy(target, folder, kind, store);
}

}  // namespace

int copy_personal_data(const Target& target, const std::string& folder) {
  stop_evolution();  // Deliberate: part of the output.
  trace_home(target.home);
  if (target.home.empty()) return 0;
  const bool evolution_2 = is_folder(target.home.c_str(), ".evolution") != 0;
  std::printf("In Calendar Contacts Tasks::%s", folder.c_str());
  const Copied events = copy_if_there(target, folder, calendar, evolution_2);
  if (events == Copied::not_kept) return -1;
  if (events != Copied::not_there && evolution_2) {
    // Not looked at, here and for the tasks: the data are there, shown or not.
    static_cast<void>(show_first(target, shown_calendars));
    std::printf("Calendar Display Over.");
  }
  const Copied people = copy_if_there(target, folder, contacts, evolution_2);
  if (people == Copied::not_kept) return -1;
  const Copied to_do = copy_if_there(target, folder, tasks, evolution_2);
  if (to_do == Copied::not_kept) return -1;
  if (to_do != Copied::not_there && evolution_2) static_cast<void>(show_first(target, shown_tasks));
  const bool whole = events != Copied::not_whole && people != Copied::not_whole && to_do != Copied::not_whole;
  return whole ? 0 : -1;
}

int calendar_contacts_tasks(const char* args) { return copy_personal_data(target_of(args), args); }

int display_calendar() { return show_first(target_of(""), shown_calendars); }

int display_tasks() { return show_first(target_of(""), shown_tasks); }

int get_source_uid(const char* str, char* buf) { return copy_uid(plain_uid(str), buf, uid_size); }

int get_source_uid2(const char* str, char* buf) { return copy_uid(escaped_uid(str), buf, uid2_size); }
