#include "process/mail/mozilla/personal.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "process/archive/layout.h"
#include "process/mail/client_files.h"
#include "process/mail/mozilla/calendar_lines.h"
#include "shell/files.h"
#include "shell/run.h"

namespace {

// ---- Calendar ----------------------------------------------------------------------------------------

struct CalendarPaths {
  std::string imap, work_folder, calendar, calendar_copy, tasks, tasks_copy, profile_folder, data_file;
};

CalendarPaths calendar_paths(const std::string& root, const std::string& profile) {
  const std::string imap = root + "/" + layout::mail;
  const std::string work_folder = imap + "/" + layout::calendar;
  const std::string profile_folder = profile + "/Calendar";
  // Deliberate: part of the output. The copy of the tasks lies with the calendar, too.
  return {.imap = imap,
          .work_folder = work_folder,
          .calendar = imap + "/" + layout::calendar_file,
          .calendar_copy = work_folder + "/calendartemp.ics",
          .tasks = imap + "/" + layout::tasks_file,
          .tasks_copy = work_folder + "/taskstemp.ics",
          .profile_folder = profile_folder,
          .data_file = profile_folder + "/CalendarDataFile.ics"};
}

void print(const CalendarPaths& paths) {
  std::printf("srcimappath::%s", paths.imap.c_str());
  std::printf("calendarfolderpath::%s", paths.profile_folder.c_str());
  std::printf("srccalpath::%s", paths.calendar.c_str());
  std::printf("srccalpathtemp::%s", paths.calendar_copy.c_str());
  std::printf("srctaskpath::%s", paths.tasks.c_str());
  std::printf("srctaskpathtemp::%s", paths.tasks_copy.c_str());
  std::printf("calendarpath::%s", paths.data_file.c_str());
}

// Tasks that come alone need the folders a calendar would have brought, and no old calendar behind them.
void prepare_for_tasks_alone(const CalendarPaths& paths) {
  SYSTEM(compose("mkdir -p %s", paths.work_folder));
  SYSTEM(compose("mkdir -p %s", paths.profile_folder));
  SYSTEM(compose("rm -f %s", paths.data_file));
}

void take_copy(const std::string& file, const std::string& copy) {
  convert_line_ends(file);
  SYSTEM(compose("cp %s %s", file, copy));
}

void replace_calendar(const CalendarPaths& paths, CalendarLines& lines) {
  SYSTEM(compose("mkdir %s", paths.profile_folder));
  rewrite_lines(paths.calendar_copy, paths.calendar, [&](const std::string& line) {
    std::printf("Line::%s", line.c_str());
    return lines.calendar(line);
  });
  SYSTEM(compose("rm %s", paths.data_file));
  run_and_trace(compose("cp %s %s", paths.calendar, paths.data_file));
}

std::string unused_name_beside(const std::string& file) {
  std::string name = file + ".temp";
  while (std::filesystem::symlink_status(name).type() != std::filesystem::file_type::not_found) name += "~";
  return name;
}

void put_tasks_in_front(const CalendarPaths& paths, CalendarLines& lines) {
  rewrite_lines(paths.tasks_copy, paths.tasks, [&](const std::string& line) { return lines.task(line); });
  const std::string calendar = unused_name_beside(paths.data_file);
  SYSTEM(compose("cp %s %s", paths.data_file, calendar));
  SYSTEM(compose("cat %s %s > %s", paths.tasks, calendar, paths.data_file));
  run_and_trace(compose("rm %s", calendar));
}

// ---- Contacts ----------------------------------------------------------------------------------------

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
  const CalendarPaths paths = calendar_paths(args, path);
  print(paths);
  // Asked before the tasks' copy may need the folder made.
  const bool has_calendar = is_folder(paths.imap.c_str(), layout::calendar) == 1;
  const bool has_tasks = is_folder(paths.imap.c_str(), layout::tasks) == 1;
  if (!has_calendar && has_tasks) prepare_for_tasks_alone(paths);
  take_copy(paths.calendar, paths.calendar_copy);
  take_copy(paths.tasks, paths.tasks_copy);
  CalendarLines lines;
  if (has_calendar) replace_calendar(paths, lines);
  if (has_tasks) put_tasks_in_front(paths, lines);
  return 0;
}

int mozillaaddressbook(const char* args, const char* path, const char* rootpath) {
  return mozillaaddressbook(target_of(args), path, rootpath);
}

int mozillaaddressbook(const Target& target, const char* path, const char* rootpath) {
  const std::string mail = target.root + "/" + layout::mail;
  const std::string xml = mail + "/" + layout::contacts + "/addressbook.xml";
  convert_contacts(mail, "/usr/local/brindle/vcard2xml.pl", xml);
  if (target.is_running_user) {
    SYSTEM(compose("mozilla -syncin %s", xml));
  } else {
    import_through_administrator(xml, path, rootpath);
  }
  return 0;
}
