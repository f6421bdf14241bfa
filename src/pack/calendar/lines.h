// The lines of an archive's calendar and task files.
//
// The wizard rewrites such a file for KOrganizer and for Mozilla line by line, and knows its lines by what
// they contain anywhere. What is to arrive as it is must not contain that in any line; so a property is
// folded there:
//
//   DESCRIPTION:see END:VALARM   becomes   DESCRIPTION:see END:VALAR
//                                           M
//
// which every reader puts together again. Lines are folded before 75 bytes as well, between characters.
#ifndef BRINDLE_PACK_CALENDAR_LINES_H
#define BRINDLE_PACK_CALENDAR_LINES_H

#include <string>
#include <string_view>
#include <utility>

namespace pack {

class Lines {
 public:
  /// Adds a line that is as the wizard shall see it, short and of ASCII: "BEGIN:VEVENT".
  void add(std::string_view line);

  /// Adds a property as no line of it is rewritten. `property` is UTF-8 without control characters.
  void add_folded(std::string_view property);

  /// Adds a text of a person, "SUMMARY:...", when it is not empty, with what has a meaning in it escaped.
  void add_text(std::string_view name, std::string_view value);

  /// Adds a rule for how something comes again: parts separated by ";", FREQ first.
  void add_rule(std::string_view rule);

  /// Adds lines that were made before.
  void add_lines(const Lines& lines) { text_ += lines.text_; }

  const std::string& text() const& { return text_; }
  std::string text() && { return std::move(text_); }

 private:
  std::string text_;
};

/// A text as a calendar holds it: UTF-8 alone, with backslashes before what has a meaning, line ends as "\n",
/// without other control characters.
std::string escaped(std::string_view text);

/// The same for something that is no text, such as an address: without line ends.
std::string plain(std::string_view text);

/// A text for the value of a parameter, between double quotes.
std::string in_quotes(std::string_view text);

}  // namespace pack

#endif
