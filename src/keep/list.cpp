#include "keep/list.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <utility>

#include "keep/cell.h"

namespace keep {

namespace {

constexpr std::array<const char*, 9> words = {"path",    "attributes", "gconf",    "queue", "default_queue",
                                              "account", "names",      "new_home", "run"};

std::string unescaped(std::string_view cell) {
  std::string text;
  for (std::size_t at = 0; at < cell.size(); ++at) {
    if (cell[at] != '\\' || at + 1 == cell.size()) {
      text += cell[at];
      continue;
    }
    ++at;
    text += cell[at] == 't' ? '\t' : cell[at] == 'n' ? '\n' : cell[at];
  }
  return text;
}

}  // namespace

const char* word_of(Kind kind) { return words[static_cast<std::size_t>(kind)]; }

std::string line_of(const Row& row) {
  return std::string(word_of(row.kind)) + "\t" + escaped(row.name) + "\t" + escaped(row.before) + "\t" +
         escaped(row.became) + "\n";
}

std::string head_line() { return "kind\tname\tbefore\tbecame\n"; }

std::optional<Row> row_from(std::string_view line) {
  std::array<std::string_view, 4> cells;
  for (std::size_t at = 0; at < cells.size(); ++at) {
    const std::size_t tab = line.find('\t');
    if ((tab == line.npos) != (at + 1 == cells.size())) return std::nullopt;
    cells[at] = line.substr(0, tab);
    if (tab != line.npos) line.remove_prefix(tab + 1);
  }
  const auto* const word = std::ranges::find(words, cells[0]);
  if (word == words.end()) return std::nullopt;
  return Row{static_cast<Kind>(word - words.begin()), unescaped(cells[1]), unescaped(cells[2]),
             unescaped(cells[3])};
}

bool read_lines(int file, const std::function<void(std::string_view line)>& take) {
  std::string held;
  std::array<char, 1 << 16> block;
  ssize_t size = 0;
  for (off_t at = 0; (size = pread(file, block.data(), block.size(), at)) > 0; at += size) {
    held.append(block.data(), static_cast<std::size_t>(size));
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = held.find('\n', begin)) != held.npos; begin = end + 1)
      take(std::string_view(held).substr(begin, end - begin));
    held.erase(0, begin);
  }
  return size == 0;
}

bool read_rows(int file, const std::function<void(Row row)>& take) {
  return read_lines(file, [&](std::string_view line) {
    if (std::optional<Row> row = row_from(line)) take(std::move(*row));
  });
}

std::vector<Row> joined_rows(int file) {
  std::vector<Row> rows;
  std::map<std::pair<Kind, std::string>, std::size_t> places;
  read_rows(file, [&](Row row) {
    const auto [place, is_new] = places.try_emplace({row.kind, row.name}, rows.size());
    if (is_new) {
      rows.push_back(std::move(row));
    } else {
      rows[place->second].became = std::move(row.became);
    }
  });
  return rows;
}

}  // namespace keep
