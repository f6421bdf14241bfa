#include "process/mail/kde/personal.h"

#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "process/mail/kde/calendar_lines.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

constexpr std::size_t calendar_line_limit = 1023;
constexpr std::size_t note_line_limit = 255;

// ---- Calendar ----------------------------------------------------------------------------------------

struct CalendarPaths {
  std::string imap, calendar, calendar2, tasks, tasks2, std_file, std2_file;
};

CalendarPaths calendar_paths(const std::string& root, const std::string& organizer) {
  const std::string imap = root + "/ImapMail";
  return {imap,
          imap + "/Calendar/calendar.ics",
          imap + "/Calendar/calendar2.ics",
          imap + "/Tasks/tasks.ics",
          imap + "/Tasks/tasks2.ics",
          organizer + "/std.ics",
          organizer + "/std2.ics"};
}

void print(const CalendarPaths& paths) {
  std::printf("srcimappath::%s", paths.imap.c_str());
  std::printf("srccalpath::%s", paths.calendar.c_str());
  std::printf("srccalpath2::%s", paths.calendar2.c_str());
  std::printf("srctaskpath::%s", paths.tasks.c_str());
  std::printf("srctaskpath2::%s", paths.tasks2.c_str());
  std::printf("calendarpath::%s", paths.std_file.c_str());
  std::printf("calendarpath2::%s", paths.std2_file.c_str());
}

// The time of such a property stands on the line after it, which no rule is tried on.
void copy_with_its_time(const std::string& line, const File& in, const File& out) {
  write_text(out, line);
  std::string time;
  if (read_piece(in.get(), calendar_line_limit, time)) write_text(out, marked_as_utc(time));
}

std::string rewritten_rule(const std::string& line) {
  std::printf("RRULE found");
  return contains(line, "UNTIL=") ? with_date_only_until(line) : line;
}

void rewrite_calendar(const std::string& from, const std::string& to) {
  const File in = open_file(from, "r");
  const File out = open_file(to, "w");
  std::string line;
  while (in && out && read_piece(in.get(), calendar_line_limit, line)) {
    std::printf("Line2::%s", line.c_str());
    if (contains(line, "DTSTART;TZID") || contains(line, "DTEND;TZID")) {
      copy_with_its_time(line, in, out);
    } else {
      write_text(out, contains(line, "RRULE") ? rewritten_rule(line) : line);
    }
  }
}

std::string rewritten_task_line(const std::string& line, DateValues& dates) {
  std::string value;
  if (contains(line, "DUE;TZID")) {
    const std::string due = dates.rewrite(line, "DUE;TZID", value);
    return due + "RECURRENCE-ID:" + value + "T000000Z\n";
  }
  if (contains(line, "DTSTART;TZID")) return dates.rewrite(line, "DTSTART;TZID", value);
  if (contains(line, "COMPLETED:")) return marked_as_utc(line);
  if (contains(line, "PRIORITY:9")) return "PRIORITY:5\n";
  return line;
}

void rewrite_tasks(const std::string& from, const std::string& to) {
  const File in = open_file(from, "r");
  const File out = open_file(to, "w");
  DateValues dates;
  std::string line;
  while (in && out && read_piece(in.get(), calendar_line_limit, line))
    write_text(out, rewritten_task_line(line, dates));
}

void join_and_convert(const CalendarPaths& paths) {
  SYSTEM(compose("cat %s %s > %s", paths.calendar2, paths.tasks2, paths.std2_file));
  SYSTEM(compose("iconv -c -f GB2312 -t utf-8 %s -o %s", paths.std2_file, paths.std_file));
  const shell::Command remove = compose("rm %s", paths.std2_file);
  SYSTEM(remove);
  std::printf("Command::%s", remove.c_str());
}

// ---- Notes -------------------------------------------------------------------------------------------

struct Note {
  std::string title;  // with its line feed
  std::string body;   // escaped
};

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '\n') {
      result += "\\n";
    } else {
      if (c == ',' || c == '(' || c == ')' || c == '\\') result += '\\';
      result += c;
    }
  }
  return result;
}

std::string title_of(const std::string& first_line) {
  const std::size_t start = first_line.find_first_not_of(" \t", first_line.find(':') + 1);
  return start == std::string::npos ? "" : first_line.substr(start);
}

std::optional<Note> read_note(const std::string& path) {
  std::printf("Opening source file.");
  const File file = open_file(path, "r");
  std::string line;
  if (!file || !read_piece(file.get(), note_line_limit, line) || !contains(line, ":")) return std::nullopt;
  std::printf("Line::%s", line.c_str());
  Note note{title_of(line), ""};
  while (read_piece(file.get(), note_line_limit, line)) note.body += escaped(line);
  return note;
}

// Plain concatenation: body and title are written as they stand, and the title brings its own line feed.
std::string journal_entry(const Note& note) {
  return "BEGIN:VCALENDAR\n"
         "PRODID:-//K Desktop Environment//NONSGML libkcal 3.2//EN\n"
         "VERSION:2.0\n"
         "BEGIN:VJOURNAL\n"
         "DESCRIPTION:" +
         note.body +
         "\n"
         "SUMMARY:" +
         note.title +
         "END:VJOURNAL\n"
         "END:VCALENDAR\n";
}

// False when there is nothing to convert: an older file of that name is not this archive's.
bool write_notes(const std::string& folder, const std::string& to) {
  const auto names = list_folder(folder);
  if (!names) std::perror("In kmailnotes() opendir: ");
  const File out = names ? open_file(to, "w") : File();
  if (!out) return false;
  for (const std::string& name : *names) {
    const std::string path = folder + "/" + name;
    SYSTEM(compose("dos2unix %s", path));
    if (const std::optional<Note> note = read_note(path)) write_text(out, journal_entry(*note));
  }
  return true;
}

}  // namespace

int kaddressbook(const char* args) {
  const std::string folder = user_home() + "/.kde/share/apps/kabc";
  const std::string contacts = std::string(args) + "/ImapMail/Contacts";
  const std::string converted = contacts + "/addressbook2.vcf";
  SYSTEM(compose("perl %s <%s >%s", "/usr/local/brindle/vcard2vcf.pl", contacts + "/addressbook.db",
                 contacts + "/addressbook.vcf"));
  SYSTEM(compose("dos2unix %s", contacts + "/addressbook.vcf"));
  SYSTEM(compose("iconv -c -f GB2312 -t utf-8 %s -o %s", contacts + "/addressbook.vcf", converted));
  if (std::strcmp(OSVersion, "4.1 Plus") == 0) {
    // That version names its file "friends" in Chinese, in GB2312: the four bytes are no UTF-8.
    SYSTEM(compose("cp %s/std.vcf_\xC5\xF3\xD3\xD1 %s/orig.vcf", folder, folder));
    SYSTEM(compose("cat %s/orig.vcf %s > %s/std.vcf_\xC5\xF3\xD3\xD1", folder, converted, folder));
  } else {
    SYSTEM(compose("cp %s/std.vcf %s/orig.vcf", folder, folder));
    SYSTEM(compose("cat %s/orig.vcf %s > %s/std.vcf", folder, converted, folder));
  }
  SYSTEM(compose("rm %s/orig.vcf", folder));
  return 0;
}

int kmailcallendar(const char* args) {
  std::printf("Migrating Calendars");
  const std::string home = user_home();
  const std::string organizer = home + "/.kde/share/apps/korganizer";
  const CalendarPaths paths = calendar_paths(args, organizer);
  print(paths);
  SYSTEM(compose("mkdir -p %s", organizer));
  if (is_folder(paths.imap.c_str(), "Calendar") == 0) return 0;
  rewrite_calendar(paths.calendar, paths.calendar2);
  rewrite_tasks(paths.tasks, paths.tasks2);
  join_and_convert(paths);
  return 0;
}

int kmailnotes(const char* args) {
  const std::string folder = std::string(args) + "/Notes";
  const std::string knotes = user_home() + "/.kde/share/apps/knotes";
  std::printf("srcpath::%s", folder.c_str());
  SYSTEM(compose("mkdir -p %s", knotes));
  if (is_folder(args, "Notes") == 0) return 0;
  if (!write_notes(folder, knotes + "/notes2.ics")) return 0;
  SYSTEM(compose("iconv -c -f GB2312 -t utf-8 %s -o %s", knotes + "/notes2.ics", knotes + "/notes.ics"));
  SYSTEM(compose("rm %s", knotes + "/notes2.ics"));
  return 0;
}
