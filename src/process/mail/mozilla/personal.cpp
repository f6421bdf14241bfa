#include "process/mail/mozilla/personal.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "process/mail/mozilla/calendar_lines.h"
#include "shell/files.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

constexpr std::size_t line_limit = 1023;

struct Paths {
  Paths(const std::string& archive, const std::string& profile)
      : imap(archive + "/ImapMail"),
        profile_folder(profile + "/Calendar"),
        data_file(profile_folder + "/CalendarDataFile.ics") {}

  std::string imap;
  std::string work_folder = imap + "/Calendar";  // of the tasks' copy too
  std::string calendar = work_folder + "/calendar.ics";
  std::string calendar_copy = work_folder + "/calendartemp.ics";
  std::string tasks = imap + "/Tasks/tasks.ics";
  std::string tasks_copy = work_folder + "/taskstemp.ics";
  std::string profile_folder;
  std::string data_file;
};

void print_paths(const Paths& paths) {
  std::printf("srcimappath::%s", paths.imap.c_str());
  std::printf("calendarfolderpath::%s", paths.profile_folder.c_str());
  std::printf("srccalpath::%s", paths.calendar.c_str());
  std::printf("srccalpathtemp::%s", paths.calendar_copy.c_str());
  std::printf("srctaskpath::%s", paths.tasks.c_str());
  std::printf("srctaskpathtemp::%s", paths.tasks_copy.c_str());
  std::printf("calendarpath::%s", paths.data_file.c_str());
}

// Tasks that come alone need the folders a calendar would have brought, and no old calendar behind them.
void prepare_for_tasks_alone(const Paths& paths) {
  SYSTEM(compose("mkdir -p %s", paths.work_folder));
  SYSTEM(compose("mkdir -p %s", paths.profile_folder));
  SYSTEM(compose("rm -f %s", paths.data_file));
}

void take_copy(const std::string& file, const std::string& copy) {
  SYSTEM(compose("dos2unix %s", file));
  SYSTEM(compose("cp %s %s", file, copy));
}

// Writes `to` from the lines of `from`; a missing `from` makes it empty.
template <typename Rewrite>
void rewrite_file(const std::string& from, const std::string& to, Rewrite rewrite) {
  const File in = open_file(from, "r");
  const File out = open_file(to, "w");
  std::string line;
  while (in && out && read_piece(in.get(), line_limit, line)) write_text(out, rewrite(line));
}

void replace_calendar(const Paths& paths, CalendarLines& lines) {
  SYSTEM(compose("mkdir %s", paths.profile_folder));
  rewrite_file(paths.calendar_copy, paths.calendar, [&](const std::string& line) {
    std::printf("Line::%s", line.c_str());
    return lines.calendar(line);
  });
  SYSTEM(compose("rm %s", paths.data_file));
  const shell::Command copy = compose("cp %s %s", paths.calendar, paths.data_file);
  SYSTEM(copy);
  std::printf("Command::%s", copy.c_str());
}

std::string unused_name_beside(const std::string& file) {
  std::string name = file + ".temp";
  while (std::filesystem::symlink_status(name).type() != std::filesystem::file_type::not_found) name += "~";
  return name;
}

void put_tasks_in_front(const Paths& paths, CalendarLines& lines) {
  rewrite_file(paths.tasks_copy, paths.tasks, [&](const std::string& line) { return lines.task(line); });
  const std::string calendar = unused_name_beside(paths.data_file);
  SYSTEM(compose("cp %s %s", paths.data_file, calendar));
  SYSTEM(compose("cat %s %s > %s", paths.tasks, calendar, paths.data_file));
  const shell::Command remove = compose("rm %s", calendar);
  SYSTEM(remove);
  std::printf("Command::%s", remove.c_str());
}

void print_and_run(const shell::Command& command) {
  std::printf("%s", command.c_str());
  SYSTEM(command);
}

bool holds_address_books(const std::string& folder) {
  const auto names = list_folder(folder);
  for (const std::string& name : names.value_or(std::vector<std::string>{})) {
    if (name.ends_with(".mab") || name.ends_with(".mab.prev")) return true;
  }
  return false;
}

// Ends with every address book of `root` removed, so there must be none of the administrator's own.
void import_into_empty_profile(const std::string& xml, const std::string& profile, const std::string& root) {
  print_and_run(compose("mozilla -syncin %s", xml));
  print_and_run(compose("cp -f %s/abook.mab %s/", root, profile));
  print_and_run(compose("cp -f %s/history.mab %s/", root, profile));
  print_and_run(compose("rm %s/*.mab", root));
  print_and_run(compose("rm %s/*.mab.prev", root));
}

// The copies to the target come before the import is removed again. A failed import, or an administrator
// without address books, only makes some of these fail: the last ones always bring back what was there.
void import_through_administrator(const std::string& xml, const std::string& profile,
                                  const std::string& root) {
  print_and_run(compose("mkdir %s/mabtemp", root));
  print_and_run(compose("mv %s/*.mab %s/mabtemp/", root, root));
  print_and_run(compose("mv %s/*.mab.prev %s/mabtemp/", root, root));
  if (holds_address_books(root)) {
    std::fprintf(stderr, "The address books in %s could not be set aside; nothing is imported\n",
                 root.c_str());
  } else {
    import_into_empty_profile(xml, profile, root);
  }
  print_and_run(compose("mv %s/mabtemp/*.* %s/", root, root));
  print_and_run(compose("rm -rf %s/mabtemp", root));
}

}  // namespace

int mozillacalendar(const char* args, const char* path) {
  const Paths paths(args, path);
  CalendarLines lines;
  print_paths(paths);
  // Asked before the tasks' copy may need the folder made.
  const bool has_calendar = is_folder(paths.imap.c_str(), "Calendar") == 1;
  const bool has_tasks = is_folder(paths.imap.c_str(), "Tasks") == 1;
  if (!has_calendar && has_tasks) prepare_for_tasks_alone(paths);
  take_copy(paths.calendar, paths.calendar_copy);
  take_copy(paths.tasks, paths.tasks_copy);
  if (has_calendar) replace_calendar(paths, lines);
  if (has_tasks) put_tasks_in_front(paths, lines);
  return 0;
}

int mozillaaddressbook(const char* args, const char* path, const char* rootpath) {
  const std::string contacts = std::string(args) + "/ImapMail/Contacts";
  const std::string xml = contacts + "/addressbook.xml";
  SYSTEM(compose("perl %s <%s >%s", "/usr/local/brindle/vcard2xml.pl", contacts + "/addressbook.db", xml));
  SYSTEM(compose("dos2unix %s", xml));
  if (isDefaultUser == 1) {
    SYSTEM(compose("mozilla -syncin %s", xml));
  } else {
    import_through_administrator(xml, path, rootpath);
  }
  return 0;
}
