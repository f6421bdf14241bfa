#include "process/mail/evolution/new_home.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

#include "keep/keep.h"
#include "process/mail/folders/background.h"
#include "process/mail/folders/evolution.h"
#include "shell/ending.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/pieces.h"
#include "shell/replace.h"
#include "shell/run.h"

namespace {

// ---- Lists of sources --------------------------------------------------------------------------------

struct Group {
  const char* folder;  ///< below .gconf/apps/evolution in the home
  int group;           ///< serial numbers in the two uids
  int source;
  const char* store;  ///< after the home
};

// In the order of enum SourceList.
// Deliberate: part of the format. Only the calendar's store ends in a slash.
constexpr Group groups[] = {{"addressbook", 1, 2, "/.evolution/addressbook/local"},
                            {"calendar", 4, 5, "/.evolution/calendar/local/"},
                            {"tasks", 9, 10, "/.evolution/tasks/local"}};

// Deliberate: part of the format. It takes the place of the whole line and brings no newline: the line that
// follows is joined to it, and what stood before the group on its line is gone.
constexpr const char* group_line =
    R"(&lt;group uid=&quot;@group@&quot; name=&quot;On This Computer&quot; base_uri=&quot;file://@store@)"
    R"(&quot; readonly=&quot;no&quot;&gt;&lt;source uid=&quot;@source@)"
    R"(&quot; name=&quot;Personal&quot; relative_uri=&quot;system&quot;/&gt;&lt;/group&gt;)";

// Deliberate: part of the format. The same for every user and day, with a fixed word for the host.
std::string uid(int serial) { return "1115761140.10532." + std::to_string(serial) + "@linux"; }

std::string line_of(const Group& group, const std::string& home) {
  return fill(group_line,
              {{"group", uid(group.group)}, {"store", home + group.store}, {"source", uid(group.source)}});
}

// Deliberate: part of the output. A longer line comes in pieces, and each is judged and replaced as a line of
// its own.
constexpr std::size_t line_limit = 1023;

std::string text_with_group(std::FILE* from, const std::string& group) {
  PieceReader reader(from, line_limit);
  std::string text;
  std::string_view piece;
  while (reader.next(piece)) {
    const std::string line(piece);
    std::printf("Line::%s", line.c_str());
    text += contains(line, "file:///root") ? group : line;
  }
  return text;
}

bool rewrite(const std::string& from, const std::string& to, const std::string& group) {
  if (!same_content(from, to)) return false;  // a copy that is cut off
  const File in = open_file(from, "r");
  return in && replace_file(to, text_with_group(in.get(), group));
}

// ---- First start -------------------------------------------------------------------------------------

constexpr unsigned int seconds_for_evolution = 10;

bool has_evolution(const std::string& home) {
  return is_folder(home.c_str(), "evolution") != 0 || is_folder(home.c_str(), ".evolution") != 0;
}

// Where Evolutions of its time and of today keep their settings, below the home.
constexpr const char* settings_folders[] = {".gconf/apps/evolution", ".gnome2", ".gnome2_private",
                                            ".camel_certs", ".config/evolution"};

// Its stores are new or, today's, somebody's mail, to which folders are added.
constexpr const char* stores[] = {"evolution", ".evolution", ".local/share/evolution"};

bool keep_for_evolution(const std::string& home) {
  const auto path = [&](const char* folder) { return home + "/" + folder; };
  return std::ranges::all_of(settings_folders,
                             [&](const char* each) { return keep::before_program(path(each)); }) &&
         std::ranges::all_of(stores, [&](const char* each) { return keep::before_adding(path(each)); });
}

void start_evolution() {
  static shell::Command command = compose("evolution");  // outlives the thread
  GThread* thread = g_thread_try_new("evolution", func, &command, nullptr);
  if (thread == nullptr) {
    std::perror("launch evolution ");
    return;
  }
  // Never joined: it lives as long as Evolution does.
  g_thread_unref(thread);
}

}  // namespace

int repair_source_list(const Target& target, SourceList list) {
  trace_home(target.home);
  if (target.home.empty()) return -1;
  std::printf("Changing for :: %s", target.home.c_str());
  const Group& group = groups[static_cast<int>(list)];
  const std::string folder = target.home + "/.gconf/apps/evolution/" + group.folder;
  const std::string path = folder + "/%gconf.xml";
  const std::string aside = folder + "/%gconftemp.xml";
  if (!keep::before_change(path) || !keep::before_change(aside)) return -1;
  SYSTEM(compose("cp %s %s", path, aside));
  if (!rewrite(aside, path, line_of(group, target.home))) return -1;
  return SYSTEM(compose("rm %s", aside));
}

void start_evolution_once(const Target& target) {
  trace_home(target.home);
  if (has_evolution(target.home) || !keep_for_evolution(target.home)) return;
  std::printf("Launching Evolution.");
  start_evolution();
  shell::pause_for(seconds_for_evolution);
  const shell::EvenAtTheEnd even_at_the_end;
  stop_evolution();
}

int updateAddressbookGconf() { return repair_source_list(target_of(""), SourceList::addressbook); }

int updateCalendarGconf() { return repair_source_list(target_of(""), SourceList::calendar); }

int updateTasksGconf() { return repair_source_list(target_of(""), SourceList::tasks); }

void launch_evolution() { start_evolution_once(target_of("")); }
