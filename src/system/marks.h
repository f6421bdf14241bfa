// The progress marks: one register for the run that sets them, the page that shows them and the preview that
// reads them.
#ifndef BRINDLE_SYSTEM_MARKS_H
#define BRINDLE_SYSTEM_MARKS_H

#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// A progress mark; its value is the number in the widgets' names.
enum class Mark {
#define MARK(number, name, text_key) name = (number),
#include "system/marks.def"
#undef MARK
};

/// A mark's row on the progress page.
struct MarkRow {
  Mark mark;
  const char* text_key;  ///< key of the row's interface text
};

/// All rows, in the order in which a run reaches them.
std::span<const MarkRow> mark_rows();

/// The name of the mark's image widget, "image_12".
std::string image_name(Mark mark);

/// The mark whose image widget has that name; no value for any other text.
std::optional<Mark> mark_of_image(std::string_view image);

/// Some of the marks.
class MarkSet {
 public:
  constexpr MarkSet(std::initializer_list<Mark> marks) {
    for (const Mark mark : marks) bits_ |= bit(mark);
  }
  constexpr bool contains(Mark mark) const { return (bits_ & bit(mark)) != 0; }
  friend constexpr bool operator==(MarkSet one, MarkSet other) = default;

 private:
  static constexpr unsigned bit(Mark mark) { return 1U << static_cast<unsigned>(mark); }

  unsigned bits_ = 0;
};

#endif
