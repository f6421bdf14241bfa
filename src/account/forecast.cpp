#include "account/forecast.h"

#include <map>

#include "account/columns.h"
#include "account/shown.h"

namespace account {
namespace {

constexpr std::size_t most_names = 15;

void write_counts(std::ostream& out, const PersonAccount& person, const Texts& texts) {
  out << "\n" << shown(texts(Text::for_person, name_of(person.person))) << "\n";
  if (has_nothing(person)) {
    out << "  " << shown(texts(Text::nothing)) << "\n";
    return;
  }
  std::vector<Words> rows = {{}};
  for (const Text head : {Text::kind, Text::found, Text::elsewhere})
    rows.front().push_back(shown(texts(head)));
  for (const Line& line : person.lines) {
    if (line.tally.found() == 0) continue;
    rows.push_back({shown(texts(line.kind)), std::to_string(line.tally.found()),
                    std::to_string(line.tally.elsewhere())});
  }
  write_columns(out, rows);
}

std::string about(const Warning& warning, const Texts& texts) {
  std::string words = warning.person;
  if (warning.kind) words += (words.empty() ? "" : ", ") + texts(*warning.kind);
  return words.empty() ? "" : words + ": ";
}

void write_warnings(std::ostream& out, Level level, const std::vector<Warning>& warnings,
                    const Texts& texts) {
  std::map<Foresight, std::size_t> told;
  bool first = true;
  for (const Warning& warning : warnings) {
    if (level_of(warning.what) != level) continue;
    if (first) out << "\n" << shown(texts(level == Level::warning ? Text::warnings : Text::notes)) << "\n";
    first = false;
    if (++told[warning.what] > most_names) continue;
    out << "  " << shown(about(warning, texts) + warning.name) << ": " << shown(text_of(texts, warning))
        << "\n";
  }
  for (const auto& [what, count] : told) {
    if (count > most_names)
      out << "  " << shown(text_of(texts, what, "...")) << " "
          << shown(texts(Text::and_more, std::to_string(count - most_names))) << "\n";
  }
}

bool has_warning(const std::vector<Warning>& warnings) {
  for (const Warning& warning : warnings)
    if (level_of(warning.what) == Level::warning) return true;
  return false;
}

}  // namespace

void write_forecast(std::ostream& out, const std::string& archive, const std::vector<PersonAccount>& people,
                    const std::vector<Warning>& warnings, const Texts& texts) {
  out << shown(texts(Text::before_title)) << "\n" << shown(texts(Text::archive_line, archive)) << "\n";
  for (const PersonAccount& person : people) write_counts(out, person, texts);
  write_warnings(out, Level::warning, warnings, texts);
  write_warnings(out, Level::note, warnings, texts);
  if (!has_warning(warnings)) out << "\n" << shown(texts(Text::no_warning)) << "\n";
}

}  // namespace account
