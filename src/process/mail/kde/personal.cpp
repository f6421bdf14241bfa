#include "process/mail/kde/personal.h"

#include <cstdio>
#include <optional>
#include <string>
#include <utility>

#include "process/archive/layout.h"
#include "process/mail/client_files.h"
#include "process/mail/kde/calendar_lines.h"
#include "process/mail/kde/encoding.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/pieces.h"
#include "shell/run.h"
#include "system/system.h"

namespace {

std::string application_folder(const Target& target, const char* application) {
  return target.home + "/.kde/share/apps/" + application;
}

// ---- Contacts ----------------------------------------------------------------------------------------

std::string converted_contacts(const std::string& mail) {
  const std::string folder = mail + "/" + layout::contacts;
  const std::string cards = folder + "/addressbook.vcf";
  const std::string converted = folder + "/addressbook2.vcf";
  convert_contacts(mail, "/usr/local/brindle/vcard2vcf.pl", cards);
  convert_to_utf8(cards, converted);
  return converted;
}

void append_to_standard_file(const std::string& contacts, const std::string& folder) {
  SYSTEM(compose("cp %s/std.vcf %s/orig.vcf", folder, folder));
  SYSTEM(compose("cat %s/orig.vcf %s > %s/std.vcf", folder, contacts, folder));
}

// The same for the file named "friends" in Chinese, in GB2312: the four bytes are no UTF-8. Both names stand
// in the templates, since as a value the second would come in quotes.
void append_to_chinese_file(const std::string& contacts, const std::string& folder) {
  SYSTEM(compose("cp %s/std.vcf_\xC5\xF3\xD3\xD1 %s/orig.vcf", folder, folder));
  SYSTEM(compose("cat %s/orig.vcf %s > %s/std.vcf_\xC5\xF3\xD3\xD1", folder, contacts, folder));
}

// ---- Calendar ----------------------------------------------------------------------------------------

struct CalendarPaths {
  std::string imap, calendar, calendar2, tasks, tasks2, organizer, organizer2;
};

CalendarPaths calendar_paths(const std::string& root, const std::string& organizer) {
  const std::string imap = root + "/" + layout::mail;
  return {.imap = imap,
          .calendar = imap + "/" + layout::calendar_file,
          .calendar2 = imap + "/" + layout::calendar + "/calendar2.ics",
          .tasks = imap + "/" + layout::tasks_file,
          .tasks2 = imap + "/" + layout::tasks + "/tasks2.ics",
          .organizer = organizer + "/std.ics",
          .organizer2 = organizer + "/std2.ics"};
}

void print(const CalendarPaths& paths) {
  std::printf("srcimappath::%s", paths.imap.c_str());
  std::printf("srccalpath::%s", paths.calendar.c_str());
  std::printf("srccalpath2::%s", paths.calendar2.c_str());
  std::printf("srctaskpath::%s", paths.tasks.c_str());
  std::printf("srctaskpath2::%s", paths.tasks2.c_str());
  std::printf("calendarpath::%s", paths.organizer.c_str());
  std::printf("calendarpath2::%s", paths.organizer2.c_str());
}

std::string rewritten_rule(const std::string& line) {
  std::printf("RRULE found");
  return contains(line, "UNTIL=") ? with_date_only_until(line) : line;
}

void rewrite_calendar(const std::string& from, const std::string& to) {
  bool time_follows = false;
  rewrite_lines(from, to, [&](const std::string& line) {
    // A time stands on the line after its property, and no rule is tried on it.
    if (std::exchange(time_follows, false)) return marked_as_utc(line);
    std::printf("Line2::%s", line.c_str());
    time_follows = contains(line, "DTSTART;TZID") || contains(line, "DTEND;TZID");
    return !time_follows && contains(line, "RRULE") ? rewritten_rule(line) : line;
  });
}

std::string rewritten_due_date(const std::string& line, DateValues& dates) {
  const DateLine due = dates.rewrite(line, "DUE;TZID");
  return due.line + "RECURRENCE-ID:" + due.date + "T000000Z\n";
}

void rewrite_tasks(const std::string& from, const std::string& to) {
  DateValues dates;
  rewrite_lines(from, to, [&](const std::string& line) {
    if (contains(line, "DUE;TZID")) return rewritten_due_date(line, dates);
    if (contains(line, "DTSTART;TZID")) return dates.rewrite(line, "DTSTART;TZID").line;
    if (contains(line, "COMPLETED:")) return marked_as_utc(line);
    // Deliberate: part of the output. The whole line, whatever else it held: "PRIORITY:90" is 5, too.
    if (contains(line, "PRIORITY:9")) return std::string("PRIORITY:5\n");
    return line;
  });
}

void join_and_convert(const CalendarPaths& paths) {
  SYSTEM(compose("cat %s %s > %s", paths.calendar2, paths.tasks2, paths.organizer2));
  convert_to_utf8(paths.organizer2, paths.organizer);
  run_and_trace(compose("rm %s", paths.organizer2));
}

// ---- Notes -------------------------------------------------------------------------------------------

constexpr std::size_t note_line_limit = 255;

struct Note {
  std::string title;  // with its line feed
  std::string body;   // escaped
};

std::string escaped(std::string_view text) {
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
  if (!file) return std::nullopt;
  PieceReader pieces(file.get(), note_line_limit);
  std::string_view piece;
  if (!pieces.next(piece) || piece.find(':') == std::string_view::npos) return std::nullopt;
  const std::string first_line(piece);
  std::printf("Line::%s", first_line.c_str());
  Note note{title_of(first_line), ""};
  while (pieces.next(piece)) note.body += escaped(piece);
  return note;
}

// Deliberate: part of the format. The title is written as it stands and brings its own line feed, or none.
constexpr const char* journal_text = R"(BEGIN:VCALENDAR
PRODID:-//K Desktop Environment//NONSGML libkcal 3.2//EN
VERSION:2.0
BEGIN:VJOURNAL
DESCRIPTION:@body@
SUMMARY:@title@END:VJOURNAL
END:VCALENDAR
)";

std::string journal_entry(const Note& note) {
  return fill(journal_text, {{"body", note.body}, {"title", note.title}});
}

// False when the notes cannot be listed or `to` cannot be made. What lies at `to` then is none of this
// archive's.
bool write_notes(const std::string& folder, const std::string& to) {
  const auto names = list_folder(folder);
  if (!names) std::perror("In kmailnotes() opendir: ");
  const File out = names ? open_file(to, "w") : File();
  if (!out) return false;
  for (const std::string& name : *names) {
    const std::string path = folder + "/" + name;
    convert_line_ends(path);
    if (const std::optional<Note> note = read_note(path)) write_text(out, journal_entry(*note));
  }
  return true;
}

}  // namespace

int kaddressbook(const char* args) { return kaddressbook(target_of(args)); }

int kaddressbook(const Target& target) {
  trace_home(target.home);
  const std::string folder = application_folder(target, "kabc");
  const std::string contacts = converted_contacts(target.root + "/" + layout::mail);
  // Deliberate: part of the output. The version alone decides, whatever the system.
  if (target.system_version == redflag_plus) {
    append_to_chinese_file(contacts, folder);
  } else {
    append_to_standard_file(contacts, folder);
  }
  SYSTEM(compose("rm %s/orig.vcf", folder));
  return 0;
}

int kmailcallendar(const char* args) { return kmailcallendar(target_of(args)); }

int kmailcallendar(const Target& target) {
  std::printf("Migrating Calendars");
  trace_home(target.home);
  const std::string folder = application_folder(target, "korganizer");
  const CalendarPaths paths = calendar_paths(target.root, folder);
  print(paths);
  SYSTEM(compose("mkdir -p %s", folder));
  if (is_folder(paths.imap.c_str(), layout::calendar) == 0) return 0;
  rewrite_calendar(paths.calendar, paths.calendar2);
  rewrite_tasks(paths.tasks, paths.tasks2);
  join_and_convert(paths);
  return 0;
}

int kmailnotes(const char* args) { return kmailnotes(target_of(args)); }

int kmailnotes(const Target& target) {
  const std::string folder = target.root + "/" + layout::notes;
  trace_home(target.home);
  const std::string knotes = application_folder(target, "knotes");
  std::printf("srcpath::%s", folder.c_str());
  SYSTEM(compose("mkdir -p %s", knotes));
  if (is_folder(target.root.c_str(), layout::notes) == 0) return 0;
  if (!write_notes(folder, knotes + "/notes2.ics")) return 0;
  convert_to_utf8(knotes + "/notes2.ics", knotes + "/notes.ics");
  SYSTEM(compose("rm %s", knotes + "/notes2.ics"));
  return 0;
}
