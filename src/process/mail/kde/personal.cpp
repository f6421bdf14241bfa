#include "process/mail/kde/personal.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "keep/keep.h"
#include "process/archive/layout.h"
#include "process/mail/client_files.h"
#include "process/mail/kde/calendar_lines.h"
#include "process/mail/kde/encoding.h"
#include "process/mail/old_file.h"
#include "shell/blocks.h"
#include "shell/files.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/pieces.h"
#include "shell/replace.h"
#include "shell/run.h"
#include "system/home_folder.h"
#include "system/system.h"

namespace {

const std::string apps = ".kde/share/apps";

std::string application_folder(const Target& target, const char* application) {
  return target.home + "/" + apps + "/" + application;
}

// ---- Contacts ----------------------------------------------------------------------------------------

// What the script has written ends with a card's end, or it is cut off. Of no address book it makes nothing.
bool are_cards_of(const std::string& book, const std::string& path) {
  constexpr std::string_view end = "END:VCARD\n";
  const File cards = open_file(path, "r");
  if (!cards) return !open_file(book, "r");
  std::array<char, end.size()> last{};
  if (std::fseek(cards.get(), 0, SEEK_END) != 0) return false;
  if (std::ftell(cards.get()) == 0) return true;
  return std::fseek(cards.get(), -static_cast<long>(end.size()), SEEK_END) == 0 &&
         std::fread(last.data(), 1, last.size(), cards.get()) == last.size() &&
         std::string_view(last.data(), last.size()) == end;
}

// No value when the contacts are cut off: behind half a card the next one could not be read.
std::optional<std::string> converted_contacts(const std::string& mail) {
  const std::string folder = mail + "/" + layout::contacts;
  const std::string cards = folder + "/addressbook.vcf";
  const std::string converted = folder + "/addressbook2.vcf";
  convert_contacts(mail, "/usr/local/brindle/vcard2vcf.pl", cards);
  const bool whole =
      convert_to_utf8(cards, converted) && are_cards_of(mail + "/" + layout::contacts_file, cards);
  if (whole) return converted;
  std::fprintf(stderr, "The contacts could not be converted whole; none are added\n");
  return std::nullopt;
}

/// KAddressBook's file, the copy of it that the contacts are appended to, and the two commands.
struct Book {
  std::string file, copy;
  shell::Command take_copy, append;
};

Book standard_book(const std::string& folder, const std::string& contacts) {
  return {.file = folder + "/std.vcf",
          .copy = folder + "/orig.vcf",
          .take_copy = compose("cp %s/std.vcf %s/orig.vcf", folder, folder),
          .append = compose("cat %s/orig.vcf %s > %s/std.vcf", folder, contacts, folder)};
}

// The same for the file named "friends" in Chinese, in GB2312: the four bytes are no UTF-8. Both names stand
// in the templates, since as a value the second would come in quotes.
Book chinese_book(const std::string& folder, const std::string& contacts) {
  return {.file = folder + "/std.vcf_\xC5\xF3\xD3\xD1",
          .copy = folder + "/orig.vcf",
          .take_copy = compose("cp %s/std.vcf_\xC5\xF3\xD3\xD1 %s/orig.vcf", folder, folder),
          .append = compose("cat %s/orig.vcf %s > %s/std.vcf_\xC5\xF3\xD3\xD1", folder, contacts, folder)};
}

bool is_copied(const Book& book) {
  if (!open_file(book.file, "r") || same_content(book.file, book.copy)) return end_last_line(book.copy);
  std::fprintf(stderr, "%s could not be copied; no contacts are added\n", book.file.c_str());
  return false;
}

// The person's contacts stay as they were unless the new ones are behind them to the last byte.
bool append_contacts(const Book& book, const std::string& contacts) {
  OldFile old = OldFile::copy_of(book.file);
  SYSTEM(book.take_copy);
  if (!old.is_safe() || !is_copied(book)) return false;
  SYSTEM(book.append);
  if (holds_joined(book.file, {book.copy, contacts})) return true;
  old.put_back();
  return false;
}

Book book_of(const Target& target, const std::string& folder, const std::string& contacts) {
  // Deliberate: part of the output. The version alone decides, whatever the system.
  const bool is_plus = target.system_version == redflag_plus;
  return is_plus ? chinese_book(folder, contacts) : standard_book(folder, contacts);
}

bool keep_book(const Book& book) { return keep::before_change(book.file) && keep::before_change(book.copy); }

bool add_contacts(const Target& target, const std::string& folder) {
  const auto contacts = converted_contacts(target.root + "/" + layout::mail);
  if (!contacts) return false;
  const Book book = book_of(target, folder, *contacts);
  const SetAside own(book.copy);  // a person's own file may have that name
  const bool added = append_contacts(book, *contacts);
  SYSTEM(compose("rm %s/orig.vcf", folder));
  return added;
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

bool contains(std::string_view line, std::string_view part) {
  return line.find(part) != std::string_view::npos;
}

void append_rule(std::string_view line, std::string& out) {
  std::printf("RRULE found");
  if (!contains(line, "UNTIL=")) {
    out += line;
  } else {
    append_with_date_only_until(line, out);
  }
}

// A time stands on the line after its property, and no rule is tried on it.
LineRules calendar_rules() {
  return {.trace = "Line2::",
          .marks = {";T", "UL"},
          .rewrite = [time_follows = false](std::string_view line, std::string& out) mutable {
            if (std::exchange(time_follows, false)) {
              append_as_utc(line, out);
              return false;
            }
            time_follows = contains(line, "DTSTART;TZID") || contains(line, "DTEND;TZID");
            if (!time_follows && contains(line, "RRULE")) {
              append_rule(line, out);
            } else {
              out += line;
            }
            return time_follows;
          }};
}

void append_task_line(std::string_view line, DateValues& dates, std::string& out) {
  if (contains(line, "DUE;TZID")) {
    const std::string date = dates.rewrite(line, "DUE;TZID", out);
    out.append("RECURRENCE-ID:").append(date).append("T000000Z\n");
  } else if (contains(line, "DTSTART;TZID")) {
    dates.rewrite(line, "DTSTART;TZID", out);
  } else if (contains(line, "COMPLETED:")) {
    append_as_utc(line, out);
  } else if (contains(line, "PRIORITY:9")) {
    // Deliberate: part of the output. The whole line, whatever else it held: "PRIORITY:90" is 5, too.
    out += "PRIORITY:5\n";
  } else {
    out += line;
  }
}

LineRules task_rules() {
  return {.marks = {";T", "PL", ":9"},
          .rewrite = [dates = DateValues()](std::string_view line, std::string& out) mutable {
            append_task_line(line, dates, out);
            return false;
          }};
}

bool rewrite(const CalendarPaths& paths) {
  return mend_lines(paths.calendar) && mend_lines(paths.tasks) &&
         rewrite_lines(paths.calendar, paths.calendar2, calendar_rules()) &&
         rewrite_lines(paths.tasks, paths.tasks2, task_rules());
}

// The old file stays unless the new one is whole.
bool replace_converted(const std::string& from, const std::string& to) {
  OldFile old = OldFile::copy_of(to);
  if (!old.is_safe()) return false;
  if (convert_to_utf8(from, to)) return true;
  old.put_back();
  return false;
}

bool join_and_convert(const CalendarPaths& paths) {
  const int status =
      shell::run_for_status(compose("cat %s %s > %s", paths.calendar2, paths.tasks2, paths.organizer2));
  const bool joined = is_joined(status, paths.organizer2, {paths.calendar2, paths.tasks2});
  const bool converted = joined && replace_converted(paths.organizer2, paths.organizer);
  run_and_trace(compose("rm %s", paths.organizer2));
  return converted;
}

// ---- Notes -------------------------------------------------------------------------------------------

constexpr std::size_t note_line_limit = 255;

// Where a first line that is too long for one piece is cut: before the character that does not fit with a
// line feed, for a title has no other end. A line is taken for GB2312, whose characters are two bytes.
std::size_t end_of_first_piece(const std::string& text) {
  std::size_t end = 0;
  std::size_t next = 0;
  while (next < note_line_limit) {
    end = next;
    next += static_cast<unsigned char>(text[end]) < 0x80 ? 1 : 2;
  }
  return end;
}

// A title would run into the line behind it.
bool end_title(const std::string& path) {
  BlockReader start(path);
  const std::string_view piece = start.next(note_line_limit);
  if (piece.size() < note_line_limit || piece.find('\n') != std::string_view::npos) return true;
  std::optional<std::string> text = read_whole(path);
  return !text || replace_file(path, text->insert(end_of_first_piece(*text), "\n"));
}

// With one look at a letter, whatever it is.
constexpr auto escapes = [] {
  std::array<bool, 256> is_escaped{};
  for (const unsigned char c : {'\n', ',', '(', ')', '\\'}) is_escaped[c] = true;
  return is_escaped;
}();

bool needs_escape(char c) { return escapes[static_cast<unsigned char>(c)]; }

void append_escaped(std::string_view text, std::string& out) {
  while (!text.empty()) {
    const auto end = std::find_if(text.begin(), text.end(), needs_escape);
    const auto plain = static_cast<std::size_t>(end - text.begin());
    out += text.substr(0, plain);
    if (end == text.end()) return;
    out += '\\';
    out += *end == '\n' ? 'n' : *end;
    text.remove_prefix(plain + 1);
  }
}

std::string title_of(const std::string& first_line) {
  const std::size_t start = first_line.find_first_not_of(" \t", first_line.find(':') + 1);
  return start == std::string::npos ? "" : first_line.substr(start);
}

constexpr const char* journal_start = R"(BEGIN:VCALENDAR
PRODID:-//K Desktop Environment//NONSGML libkcal 3.2//EN
VERSION:2.0
BEGIN:VJOURNAL
DESCRIPTION:)";

// Deliberate: part of the format. The title is written as it stands and brings its own line feed, or none.
constexpr const char* journal_end = R"(
SUMMARY:@title@END:VJOURNAL
END:VCALENDAR
)";

// The body goes from file to file block by block.
void write_journal(const std::string& title, PieceReader& body, File& to) {
  write_text(to, journal_start);
  std::string escaped;
  for (std::string_view block; body.next_block(block);) {
    escaped.clear();
    append_escaped(block, escaped);
    write_text(to, escaped);
  }
  write_text(to, fill(journal_end, {{"title", title}}));
}

// False when it is none.
bool add_note(const std::string& path, File& to) {
  std::printf("Opening source file.");
  const File file = open_file(path, "r");
  if (!file) return false;
  PieceReader pieces(file.get(), note_line_limit, BlockReader::block_size);
  std::string_view piece;
  if (!pieces.next(piece) || piece.find(':') == std::string_view::npos) return false;
  const std::string first_line(piece);
  std::printf("Line::%s", first_line.c_str());
  write_journal(title_of(first_line), pieces, to);
  return true;
}

// False when the note's own file cannot be mended.
bool take_note(const std::string& path, File& to) {
  if (!convert_and_mend_lines(path) || !end_title(path)) return false;
  if (!add_note(path, to) && !BlockReader(path).next(1).empty())
    std::fprintf(stderr, "The note %s has no title and is left out\n", path.c_str());
  return true;
}

// False when not all of `to` could be written.
bool write_notes(const std::string& folder, const std::vector<std::string>& names, const std::string& to) {
  File out = open_file(to, "w");
  if (!out) return false;
  bool mended = true;
  for (const std::string& name : names) mended = take_note(folder + "/" + name, out) && mended;
  return close_file(out) && mended;
}

}  // namespace

int kaddressbook(const char* args) { return kaddressbook(target_of(args)); }

int kaddressbook(const Target& target) {
  trace_home(target.home);
  const std::string folder = application_folder(target, "kabc");
  if (!keep_book(book_of(target, folder, ""))) return 1;
  // A home in which KAddressBook has never run.
  static_cast<void>(make_home_folder(target.home, apps + "/kabc"));
  return add_contacts(target, folder) ? 0 : -1;
}

int kmailcallendar(const char* args) { return kmailcallendar(target_of(args)); }

int kmailcallendar(const Target& target) {
  std::printf("Migrating Calendars");
  trace_home(target.home);
  const std::string folder = application_folder(target, "korganizer");
  const CalendarPaths paths = calendar_paths(target.root, folder);
  print(paths);
  if (!keep::before_change(folder)) return 1;
  SYSTEM(compose("mkdir -p %s", folder));
  if (is_folder(paths.imap.c_str(), layout::calendar) == 0) return 0;
  if (!keep::before_change(paths.organizer) || !keep::before_change(paths.organizer2)) return 1;
  if (rewrite(paths)) return join_and_convert(paths) ? 0 : -1;
  std::perror("The calendar could not be rewritten");
  return -1;
}

int kmailnotes(const char* args) { return kmailnotes(target_of(args)); }

int kmailnotes(const Target& target) {
  const std::string folder = target.root + "/" + layout::notes;
  trace_home(target.home);
  const std::string knotes = application_folder(target, "knotes");
  std::printf("srcpath::%s", folder.c_str());
  if (!keep::before_change(knotes)) return 1;
  SYSTEM(compose("mkdir -p %s", knotes));
  if (is_folder(target.root.c_str(), layout::notes) == 0) return 0;
  const auto names = list_folder(folder);
  if (!names) std::perror("In kmailnotes() opendir: ");
  if (!names) return 0;
  const std::string notes = knotes + "/notes.ics";
  const std::string notes2 = knotes + "/notes2.ics";
  if (!keep::before_change(notes) || !keep::before_change(notes2)) return 1;
  const bool replaced = write_notes(folder, *names, notes2) && replace_converted(notes2, notes);
  SYSTEM(compose("rm %s", notes2));
  return replaced ? 0 : -1;
}
