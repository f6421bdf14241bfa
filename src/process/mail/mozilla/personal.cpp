#include "process/mail/mozilla/personal.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "keep/keep.h"
#include "process/archive/layout.h"
#include "process/mail/client_files.h"
#include "process/mail/mozilla/calendar_lines.h"
#include "process/mail/old_file.h"
#include "shell/files.h"
#include "shell/run.h"

namespace {

bool is_there(const std::string& path) {
  struct stat there {};
  return lstat(path.c_str(), &there) == 0;
}

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

// Without the file there is nothing to copy.
bool take_copy(const std::string& file, const std::string& copy) {
  const bool mended = convert_and_mend_lines(file);
  const int status = shell::run_for_status(compose("cp %s %s", file, copy));
  return mended && (!open_file(file, "r") || is_copied(status, file, copy));
}

bool take_copies(const CalendarPaths& paths) {
  const bool has_calendar = take_copy(paths.calendar, paths.calendar_copy);
  return take_copy(paths.tasks, paths.tasks_copy) && has_calendar;
}

LineRules calendar_rules(CalendarLines& lines) {
  return {
      .trace = "Line::", .marks = calendar_marks, .rewrite = [&](std::string_view line, std::string& out) {
        out += lines.calendar(line);
        return false;
      }};
}

LineRules task_rules(CalendarLines& lines) {
  return {.marks = task_marks, .rewrite = [&](std::string_view line, std::string& out) {
            out += lines.task(line);
            return false;
          }};
}

bool replace_calendar(const CalendarPaths& paths, CalendarLines& lines) {
  SYSTEM(compose("mkdir %s", paths.profile_folder));
  if (!rewrite_lines(paths.calendar_copy, paths.calendar, calendar_rules(lines))) return false;
  SYSTEM(compose("rm %s", paths.data_file));
  const int status = run_and_trace(compose("cp %s %s", paths.calendar, paths.data_file));
  return is_copied(status, paths.calendar, paths.data_file);
}

std::string unused_name_beside(const std::string& file) {
  std::string name = file + ".temp";
  while (is_there(name)) name += "~";
  return name;
}

bool put_tasks_in_front(const CalendarPaths& paths, CalendarLines& lines) {
  if (!rewrite_lines(paths.tasks_copy, paths.tasks, task_rules(lines))) return false;
  const std::string calendar = unused_name_beside(paths.data_file);
  const int copying = shell::run_for_status(compose("cp %s %s", paths.data_file, calendar));
  const bool copied = is_joined(copying, calendar, {paths.data_file});
  const int joining =
      shell::run_for_status(compose("cat %s %s > %s", paths.tasks, calendar, paths.data_file));
  const bool joined = copied && is_joined(joining, paths.data_file, {paths.tasks, calendar});
  run_and_trace(compose("rm %s", calendar));
  return joined;
}

bool keep_calendar(const CalendarPaths& paths, bool has_tasks) {
  return keep::before_change(paths.data_file) &&
         (!has_tasks || keep::before_change(unused_name_beside(paths.data_file)));
}

bool write_calendar(const CalendarPaths& paths, bool has_calendar, bool has_tasks) {
  if (!has_calendar && has_tasks) prepare_for_tasks_alone(paths);
  if (!take_copies(paths)) return false;
  CalendarLines lines;
  if (has_calendar && !replace_calendar(paths, lines)) return false;
  return !has_tasks || put_tasks_in_front(paths, lines);
}

// ---- Contacts ----------------------------------------------------------------------------------------

void print_and_run(const shell::Command& command) {
  std::printf("%s", command.c_str());
  SYSTEM(command);
}

std::vector<std::string> names_in(const std::string& folder) {
  return list_folder(folder).value_or(std::vector<std::string>{});
}

// The commands leave hidden files where they are, and so does Mozilla.
bool is_address_book(const std::string& name) {
  return !name.starts_with('.') && (name.ends_with(".mab") || name.ends_with(".mab.prev"));
}

bool holds_address_books(const std::string& folder) {
  const auto names = names_in(folder);
  return std::any_of(names.begin(), names.end(), is_address_book);
}

// What a run that was cut short has left in the place of an address book may be worth something as well.
bool make_way(const std::string& path) {
  if (!is_there(path)) return true;
  std::string name = path + ".found";
  while (is_there(name)) name += "~";
  if (std::rename(path.c_str(), name.c_str()) != 0) return false;
  std::fprintf(stderr, "The address book in the place of the administrator's own is now %s\n", name.c_str());
  return true;
}

bool put_back_one(const std::string& from, const std::string& to) {
  if (make_way(to) && std::rename(from.c_str(), to.c_str()) == 0) return true;
  std::perror(from.c_str());
  return false;
}

std::string aside_folder(const std::string& root) { return root + "/mabtemp"; }

// Puts back what a run that was cut short has set aside. False when something of it stays there.
bool put_back(const std::string& root) {
  const std::string aside = aside_folder(root);
  bool all = true;
  for (const std::string& name : names_in(aside))
    all = put_back_one(aside + "/" + name, root + "/" + name) && all;
  if (all) rmdir(aside.c_str());
  return !is_there(aside);
}

// The old book stays unless the new one is whole. An import that failed has none.
bool copy_book(const std::string& name, const std::string& root, const std::string& profile) {
  OldFile old = OldFile::copy_of(profile + "/" + name);
  if (!old.is_safe()) return false;
  print_and_run(compose("cp -f %s/%s %s/", root, name, profile));
  if (!is_there(root + "/" + name) || same_content(root + "/" + name, profile + "/" + name)) return true;
  old.put_back();
  return false;
}

// Ends with every address book of `root` removed, so there must be none of the administrator's own.
bool import_into_empty_profile(const std::string& xml, const std::string& profile, const std::string& root) {
  print_and_run(compose("mozilla -syncin %s", xml));
  const bool has_book = copy_book("abook.mab", root, profile);
  const bool has_history = copy_book("history.mab", root, profile);
  print_and_run(compose("rm %s/*.mab", root));
  print_and_run(compose("rm %s/*.mab.prev", root));
  return has_book && has_history;
}

// The copies to the target come before the import is removed again. A failed import, or an administrator
// without address books, only makes some of these fail: the last ones always bring back what was there. False
// when a copy is cut off.
bool import_through_administrator(const std::string& xml, const std::string& profile,
                                  const std::string& root) {
  print_and_run(compose("mkdir %s/mabtemp", root));
  print_and_run(compose("mv %s/*.mab %s/mabtemp/", root, root));
  print_and_run(compose("mv %s/*.mab.prev %s/mabtemp/", root, root));
  bool whole = true;
  if (holds_address_books(root)) {
    std::fprintf(stderr, "The address books in %s could not be set aside; nothing is imported\n",
                 root.c_str());
  } else {
    whole = import_into_empty_profile(xml, profile, root);
  }
  print_and_run(compose("mv %s/mabtemp/*.* %s/", root, root));
  if (names_in(aside_folder(root)).empty() || put_back(root))
    print_and_run(compose("rm -rf %s/mabtemp", root));
  return whole;
}

bool keep_files_in(const std::string& folder) {
  std::error_code no_folder;  // a link without an end is none, either
  for (const std::string& name : names_in(folder)) {
    const std::string path = folder + "/" + name;
    if (!std::filesystem::is_directory(path, no_folder) && !keep::before_change(path)) return false;
  }
  return keep::before_adding(folder);
}

// Mozilla, and the commands around it, work on what lies in the profile folder itself: books, settings, what
// an earlier run has left aside; and on the register of profiles. The mail stays as it is.
bool keep_profile(const std::string& home, const std::string& profile) {
  return keep_files_in(home + "/.mozilla") && keep_files_in(profile) &&
         keep::before_removal(aside_folder(profile));
}

bool keep_contacts(const Target& target, const std::string& profile, const std::string& root) {
  if (target.is_running_user) return keep_profile(target.home, profile);
  return keep_profile("/root", root) && keep::before_change(profile + "/abook.mab") &&
         keep::before_change(profile + "/history.mab");
}

bool import_contacts(const Target& target, const std::string& xml, const std::string& profile,
                     const std::string& root) {
  const std::string& importing = target.is_running_user ? profile : root;
  if (!put_back(importing)) {
    std::fprintf(stderr, "The address books in %s could not be put back; nothing is imported\n",
                 aside_folder(importing).c_str());
    return true;
  }
  if (!target.is_running_user) return import_through_administrator(xml, profile, root);
  SYSTEM(compose("mozilla -syncin %s", xml));
  return true;
}

}  // namespace

int mozillacalendar(const char* args, const char* path) {
  const CalendarPaths paths = calendar_paths(args, path);
  print(paths);
  // Asked before the tasks' copy may need the folder made.
  const bool has_calendar = is_folder(paths.imap.c_str(), layout::calendar) == 1;
  const bool has_tasks = is_folder(paths.imap.c_str(), layout::tasks) == 1;
  if (!has_calendar && !has_tasks) return take_copies(paths) ? 0 : -1;
  if (!keep_calendar(paths, has_tasks)) return -1;
  OldFile old = OldFile::second_name_of(paths.data_file);
  if (!old.is_safe()) return -1;
  if (write_calendar(paths, has_calendar, has_tasks)) return 0;
  old.put_back();
  return -1;
}

int mozillaaddressbook(const char* args, const char* path, const char* rootpath) {
  return mozillaaddressbook(target_of(args), path, rootpath);
}

int mozillaaddressbook(const Target& target, const char* path, const char* rootpath) {
  const std::string mail = target.root + "/" + layout::mail;
  const std::string xml = mail + "/" + layout::contacts + "/addressbook.xml";
  if (!keep_contacts(target, path, rootpath)) return 1;
  convert_contacts(mail, "/usr/local/brindle/vcard2xml.pl", xml);
  return import_contacts(target, xml, path, rootpath) ? 0 : -1;
}
