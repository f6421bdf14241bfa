// The list of what a run kept, which lies in somebody's home: as the undo reads it, and as the account does.
#include <fcntl.h>
#include <unistd.h>

#include "account/readers/kept.h"
#include "keep/list.h"
#include "place/entry.h"
#include "support/harness.h"
#include "things/lines.h"

namespace {

constexpr const char* run = "2026-11-22-014530";

void check_row(const keep::Row& row) {
  const std::string line = keep::line_of(row);
  fuzz::require(fuzz::count_of(line, "\n") == 1 && fuzz::count_of(line, "\t") == 3,
                "a row is one line of four cells");
  const auto again = keep::row_from(std::string_view(line).substr(0, line.size() - 1));
  fuzz::require(again && again->kind == row.kind && again->name == row.name && again->before == row.before &&
                    again->became == row.became,
                "a row is read as it was written");
  for (const std::string* cell : {&row.before, &row.became}) {
    if (const auto entry = place::entry_from(*cell))
      fuzz::require(place::text_of(*entry) == *cell, "a state has one text");
    fuzz::require(things::unescaped(things::escaped(*cell)) == *cell, "a value is read as it was written");
    fuzz::require(!fuzz::contains(things::escaped(*cell), "\n"), "a value is written on one line");
  }
}

std::vector<keep::Row> rows_in(const std::string& path) {
  const int file = open(path.c_str(), O_RDONLY);
  std::size_t count = 0;
  fuzz::require(keep::read_rows(file,
                                [&](const keep::Row& row) {
                                  check_row(row);
                                  ++count;
                                }),
                "a list can be read");
  const std::vector<keep::Row> joined = keep::joined_rows(file);
  close(file);
  fuzz::require(joined.size() <= count, "a name has one row");
  return joined;
}

// The account does not know of new homes and names.
void compare(const std::vector<keep::Row>& rows, const account::KeptList& list) {
  using State = account::KeptList::State;
  fuzz::require(list.state == State::whole || list.state == State::unfinished,
                "the account reads the same list");
  std::size_t others = 0, at = 0;
  for (const keep::Row& row : rows) {
    const bool is_counted =
        row.kind != keep::Kind::run && row.kind != keep::Kind::names && row.kind != keep::Kind::new_home;
    if (is_counted) ++others;
    if (at < list.things.size() && list.things[at].name == row.name &&
        list.things[at].kind == keep::word_of(row.kind))
      ++at;
  }
  fuzz::require(list.made + list.things.size() <= others, "the account knows no more things than the undo");
  fuzz::require(at == list.things.size(), "its things stand in the list's order");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string& home = fuzz::empty_home();
  const std::string path = account::kept_path(home, run, "list.tsv");
  fuzz::write_file(path, fuzz::Input(data, size).text());
  const std::vector<keep::Row> rows = rows_in(path);
  account::KeptList list = account::read_kept_list(home, run, "list.tsv");
  compare(rows, list);
  account::look_for_old_ones(list, home, run);
  for (const account::KeptThing& thing : list.things)
    fuzz::require(!thing.is_kept, "what is not there is not kept");
  return 0;
}
