// list.tsv: what a run found, what it did, and what it left, in the order in which it happened.
//
//   kind        name                before                             became
//   path        /home/ann/a.txt     file 0644 1000 1000 ...            file 0644 1000 1000 ...
//   path        /home/ann/b         nothing                            folder 0755 1000 1000 ...
//   attributes  /Share/c            file 0600 0 0 ...                  file 0777 0 0 ...
//   gconf       /apps/x/y           value of the key, or nothing       value, or nothing
//   queue       office              queue, or nothing                  queue, or nothing
//   default_queue  -                name of the default queue          name
//   account     ann                 nothing, or its lines              its lines, or nothing
//   names       /home/ann/Mail/cur  the names there, / between them    told
//   new_home    /home/ann/.profile  -                                  file 0644 1001 100 ...
//   run         migration           -                                  over
//   run         undo                2026-11-22-014530                  over
//   run         undone              2026-11-22-093000                  over
//   run         home                /home/ann                          -
//
// The names of a folder to which things are added count only while they are not told: then all others there
// are new, later each has a row. A run row tells what this run is, that an undo of that time took it back,
// and, in the copy of the list of another home, whose list it is.
//
// Rows are only ever added, so that a run that is killed leaves a list. The first row of a name tells what
// was there before the run, the last one what it became: a row is written before the change with "unknown" as
// the last cell, and again after it. Cells are separated by tabs; in a cell a backslash, a tab and a line
// feed are written \\, \t and \n. The first line names the columns.
#ifndef BRINDLE_KEEP_LIST_H
#define BRINDLE_KEEP_LIST_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace keep {

enum class Kind : std::uint8_t {
  path,
  attributes,
  gconf,
  queue,
  default_queue,
  account,
  names,
  new_home,
  run
};

inline constexpr const char* nothing = "nothing";  ///< in `before` and `became`
inline constexpr const char* unknown = "unknown";  ///< in `became`: the run was left before it could be told

struct Row {
  Kind kind = Kind::path;
  std::string name;
  std::string before;
  std::string became;
};

/// The word for it in the first column.
const char* word_of(Kind kind);

/// One row as its line, with the line feed.
std::string line_of(const Row& row);

/// The names of the columns as the first line, with the line feed.
std::string head_line();

/// The row of a line without its line feed. No value for one that is none.
std::optional<Row> row_from(std::string_view line);

/// Hands over each whole line of the file that is open for reading, from its start, without its line feed.
bool read_lines(int file, const std::function<void(std::string_view line)>& take);

/// Hands over each row of the list that is open for reading at `file`, from its start, as it stands; a last
/// line without a line feed, cut by a crash, and lines that are no rows are left out. False, with errno set,
/// when it cannot be read.
bool read_rows(int file, const std::function<void(Row row)>& take);

/// One row a name: the first one's `before`, the last one's `became`, where the first stood.
std::vector<Row> joined_rows(int file);

}  // namespace keep

#endif
