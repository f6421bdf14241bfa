#include "account/before/before.h"

#include "account/model/field.h"

namespace account {
namespace {

struct Line {
  Level level;
  const char* key;
  const char* english;
};

constexpr Line lines[] = {
#define WARNING(name, level, key, english) {Level::level, key, english},
#include "account/before/warnings.def"
#undef WARNING
};

const Line& line_of(Foresight what) { return lines[static_cast<std::size_t>(what)]; }

}  // namespace

Level level_of(Foresight what) { return line_of(what).level; }

std::string text_of(const Texts& texts, Foresight what, std::string_view detail) {
  return texts(line_of(what).key, line_of(what).english, detail);
}

std::string text_of(const Texts& texts, const Warning& warning) {
  return text_of(texts, warning.what, warning.cause ? texts(*warning.cause, warning.detail) : warning.detail);
}

std::vector<Warning> foresee(const Outlook& outlook) {
  std::vector<Warning> found;
  foresee_entries(outlook, found);
  foresee_left_over(outlook, found);
  foresee_losses(outlook, found);
  foresee_settings(outlook, found);
  foresee_conditions(outlook, found);
  foresee_accounts(outlook, found);
  foresee_letters(outlook, found);
  foresee_drives(outlook, found);
  foresee_wallpaper(outlook, found);
  foresee_printers(outlook, found);
  foresee_logins(outlook, found);
  foresee_space(outlook, found);
  foresee_replaced(outlook, found);
  return found;
}

std::string table_of_warnings(const std::vector<Warning>& warnings, const Texts& texts) {
  std::string table = "level\tperson\tkind\tname\ttext\n";
  for (const Warning& warning : warnings) {
    table += level_of(warning.what) == Level::warning ? "warning\t" : "note\t";
    table += (warning.person.empty() ? "-" : field(warning.person)) + "\t";
    table +=
        std::string(warning.kind ? name_of(*warning.kind).table : "-") + "\t" + field(warning.name) + "\t";
    table += field(text_of(texts, warning)) + "\n";
  }
  return table;
}

}  // namespace account
