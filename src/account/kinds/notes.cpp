#include "account/kinds/notes.h"

#include <algorithm>
#include <unordered_set>

#include "account/archive/charset.h"
#include "account/kinds/entries.h"
#include "account/kinds/personal.h"
#include "account/readers/calendar.h"
#include "process/archive/layout.h"

namespace account {
namespace {

constexpr std::size_t largest_note = std::size_t{16} << 20;
// Of a first line that is longer, the rest belongs to the text.
constexpr std::size_t longest_first_line = 255;

struct Note {
  std::string title, text;  // bytes, LF line ends
};

std::string with_line_ends(const std::string& bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); ++i)
    if (!(bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n')) text += bytes[i];
  return text;
}

// "Subject: Shopping", then the text. No value without a colon in the first line, or in as much of it as is
// looked at.
std::optional<Note> note_in(const std::string& bytes, std::size_t longest) {
  const std::string text = with_line_ends(bytes);
  const std::size_t line = std::min(std::min(text.find('\n'), text.size()), longest);
  const std::size_t colon = text.find(':');
  if (colon >= line) return std::nullopt;
  const std::size_t title = std::min(text.find_first_not_of(" \t", colon + 1), line);
  const std::size_t rest = line < text.size() && text[line] == '\n' ? line + 1 : line;
  return Note{text.substr(title, line - title), text.substr(rest)};
}

// KNotes keeps line ends as "\n", and a backslash before some signs.
std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (std::string_view(",()\\").find(c) != std::string_view::npos) result += '\\';
    if (c == '\n') {
      result += "\\n";
    } else {
      result += c;
    }
  }
  return result;
}

// Line ends behind everything else are no part of a note.
std::string without_last_line_ends(std::string text) {
  while (text.ends_with("\\n") && !text.ends_with("\\\\n")) text.erase(text.size() - 2);
  return text;
}

std::string whole(const std::string& title, const std::string& text) { return title + '\n' + text; }

// What KNotes has.
class NotesThere {
 public:
  NotesThere(std::string path, const Decode& letters)
      : path_(std::move(path)), fault_(fault_of_place(path_)) {
    if (fault_) return;
    CalendarReader reader(file_source(path_));
    for (CalendarItem item; reader.next(item);) {
      const auto content = content_of(item.text, letters);
      if (!content || !item.in_a_calendar || content->front() != "VJOURNAL") continue;
      const std::string title = value_of(*content, "SUMMARY");
      notes_.insert(whole(title, without_last_line_ends(value_of(*content, "DESCRIPTION"))));
      titles_.insert(title);
    }
    if (!reader.is_whole()) fault_ = Cause::program_refuses;
  }

  bool has_in_other_letters(const std::string& title, const std::string& text) const {
    const auto wanted = without_letters({whole(title, text)});
    return !fault_ && std::ranges::any_of(notes_, [&wanted](const std::string& note) {
      return without_letters({note}) == wanted;
    });
  }

  // Each is given once.
  bool take(const std::string& title, const std::string& text) {
    const auto found = notes_.find(whole(title, text));
    if (fault_ || found == notes_.end()) return false;
    notes_.erase(found);
    titles_.erase(titles_.find(title));
    return true;
  }

  void explain(const std::string& name, const std::string& title, Tally& tally) const {
    if (fault_) return tally.miss(name, *fault_, path_);
    if (titles_.contains(title)) return tally.miss(name, Cause::differs);
    tally.miss(name, Cause::not_there);
  }

 private:
  std::string path_;
  std::optional<Cause> fault_;
  std::unordered_multiset<std::string> notes_, titles_;
};

// ---- The archive -----------------------------------------------------------------------------------------

std::string folder_of(const Case& of) { return of.in_archive(layout::notes); }

bool are_all_utf8(const Case& of) {
  return std::ranges::all_of(of.archive.below(folder_of(of)), [&of](const Entry& entry) {
    return entry.folder || is_utf8(of.archive.read(entry, largest_note));
  });
}

void compare_note(const Case& of, const Entry& entry, const Letters& letters, NotesThere& there,
                  Tally& tally) {
  const std::string file(name_within(entry, folder_of(of)));
  bool is_read = false;
  const std::string bytes = of.archive.read(entry, largest_note, &is_read);
  if (entry.encrypted()) return tally.miss(file, Cause::encrypted);
  if (!is_read) return tally.miss(file, Cause::damaged);
  const auto cut = note_in(bytes, longest_first_line), note = note_in(bytes, bytes.size());
  if (!cut || !note) return tally.miss(file, Cause::without_title);
  letters.were_mistaken();
  const std::string title = letters(note->title), text = without_last_line_ends(letters(escaped(note->text)));
  if (there.take(title, text)) return tally.arrive_unchanged();
  if (there.take(letters(cut->title), without_last_line_ends(letters(escaped(cut->text)))))
    return tally.arrive_changed();
  if (letters.were_mistaken() && there.has_in_other_letters(title, text))
    return tally.miss(title, Cause::other_letters, Letters::taken_for);
  there.explain(title.empty() ? file : title, title, tally);
}

}  // namespace

void compare_notes(const Case& of, Tally& tally) {
  const auto entries = of.archive.below(folder_of(of));
  const Letters letters(of, has_kmail(of.system) && are_all_utf8(of));
  const auto in_target = [&of](std::string_view text) { return readable(text, of.charset.c_str()); };
  NotesThere there(of.place == nullptr ? "" : of.target(), in_target);
  for (const Entry& entry : entries) {
    if (entry.folder || is_overridden(entry, entries)) continue;
    const std::string name(name_within(entry, folder_of(of)));
    tally.find();
    if (of.place == nullptr) {
      tally.have_no_place();
    } else if (const auto fault = fault_of(entry)) {
      tally.miss(name, *fault);
    } else if (name.find('/') != std::string::npos) {
      tally.miss(name, Cause::folder_left_out);
    } else {
      compare_note(of, entry, letters, there, tally);
    }
  }
  const std::string condition = condition_not_met(of, Kind::notes);
  if (!condition.empty()) tally.explain_all(Cause::not_looked_at, condition);
}

}  // namespace account
