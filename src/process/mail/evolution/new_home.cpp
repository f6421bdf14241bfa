#include "process/mail/evolution/new_home.h"

#include <glib.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "process/mail/folders/background.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/run.h"

namespace {

// Kept: a longer line comes in pieces, and each piece is judged and replaced as a line of its own.
constexpr std::size_t line_limit = 1023;

constexpr unsigned int seconds_for_evolution = 10;

struct SourceList {
  const char* folder;  ///< below .gconf/apps/evolution in the home
  int group;           ///< serial numbers in the two uids
  int source;
  const char* store;  ///< after the home
};

constexpr SourceList addressbook = {"addressbook", 1, 2, "/.evolution/addressbook/local"};
// Of the three only the calendar's store ends in a slash: kept, Evolution compares it as a text.
constexpr SourceList calendar = {"calendar", 4, 5, "/.evolution/calendar/local/"};
constexpr SourceList tasks = {"tasks", 9, 10, "/.evolution/tasks/local"};

// Takes the place of the whole line and brings no newline: the line that follows is joined to it, and any
// <stringvalue> before the group on that line is gone.
constexpr const char* group_line =
    R"(&lt;group uid=&quot;@group@&quot; name=&quot;On This Computer&quot; base_uri=&quot;file://@store@)"
    R"(&quot; readonly=&quot;no&quot;&gt;&lt;source uid=&quot;@source@)"
    R"(&quot; name=&quot;Personal&quot; relative_uri=&quot;system&quot;/&gt;&lt;/group&gt;)";

// The same for every user, and with a fixed word instead of the host: they only have to differ from each
// other.
std::string uid(int serial) { return "1115761140.10532." + std::to_string(serial) + "@linux"; }

std::string group_of(const SourceList& list, const std::string& home) {
  return fill(group_line,
              {{"group", uid(list.group)}, {"store", home + list.store}, {"source", uid(list.source)}});
}

void copy_with_group(std::FILE* from, const File& to, const std::string& group) {
  std::string line;
  while (read_piece(from, line_limit, line)) {
    std::printf("Line::%s", line.c_str());
    write_text(to, contains(line, "file:///root") ? group : line);
  }
}

int repair(const SourceList& list) {
  const std::string home = user_home();
  if (home.empty()) return -1;
  std::printf("Changing for :: %s", home.c_str());
  const std::string folder = home + "/.gconf/apps/evolution/" + list.folder;
  const std::string path = folder + "/%gconf.xml";
  const std::string aside = folder + "/%gconftemp.xml";
  SYSTEM(compose("cp %s %s", path, aside));
  File from = open_file(aside, "r");
  if (!from) return -1;
  File to = open_file(path, "w");
  if (!to) return -1;
  copy_with_group(from.get(), to, group_of(list, home));
  from.reset();
  to.reset();
  return SYSTEM(compose("rm %s", aside));
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

int updateAddressbookGconf() { return repair(addressbook); }

int updateCalendarGconf() { return repair(calendar); }

int updateTasksGconf() { return repair(tasks); }

void launch_evolution() {
  const std::string home = user_home();
  if (is_folder(home.c_str(), "evolution") != 0 || is_folder(home.c_str(), ".evolution") != 0) return;
  std::printf("Launching Evolution.");
  start_evolution();
  sleep(seconds_for_evolution);
  shell::run_unlogged(compose("evolution --force-shutdown"));
}
