#include "account/columns.h"

#include <algorithm>

#include "account/shown.h"

namespace account {
namespace {

std::string blanks(std::size_t count) { return std::string(count, ' '); }

}  // namespace

void write_columns(std::ostream& out, const std::vector<Words>& rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const Words& row : rows)
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], width(row[i]));
  for (const Words& row : rows) {
    out << "  " << row.front() << blanks(widths.front() - width(row.front()));
    for (std::size_t i = 1; i < row.size(); ++i) out << "  " << blanks(widths[i] - width(row[i])) << row[i];
    out << "\n";
  }
}

}  // namespace account
