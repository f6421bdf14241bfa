#include <algorithm>
#include <array>
#include <string>

#include "account/before/before.h"
#include "account/before/compared.h"
#include "account/kinds/register.h"
#include "process/archive/layout.h"

namespace account {
namespace {

// What the archive itself, or what lies in the way, makes stay behind on every run.
constexpr std::array lasting = {Cause::hidden,        Cause::folder_left_out,      Cause::preceded,
                                Cause::without_title, Cause::before_first_message, Cause::beside_layout,
                                Cause::incomplete,    Cause::place_unreadable};

bool is_told_elsewhere(Kind kind) { return kind == Kind::printers; }

}  // namespace

void foresee_losses(const Outlook& outlook, std::vector<Warning>& found) {
  for (const Person& person : outlook.people) {
    for (const Row& row : rows()) {
      if (is_told_elsewhere(row.kind)) continue;
      const Tally tally = compared(outlook, person, row);
      for (const Missing& thing : tally.missing())
        if (std::ranges::find(lasting, thing.cause) != lasting.end())
          found.push_back({person.login, row.kind, thing.name, Foresight::stays_behind,
                           std::string(thing.detail), thing.cause});
    }
  }
}

void foresee_wallpaper(const Outlook& outlook, std::vector<Warning>& found) {
  if (!has_evolution(outlook.system)) return;
  for (const Person& person : outlook.people) {
    if (person.runs) continue;  // whose settings the desktop's own program writes
    const std::string folder = person.folder + "/" + layout::wallpaper;
    for (const Entry& entry : outlook.archive.below(folder))
      if (!entry.folder && entry.name.substr(folder.size()).find_first_of("&<") != std::string_view::npos)
        found.push_back({person.login, Kind::wallpaper, std::string(entry.name), Foresight::no_picture, ""});
  }
}

}  // namespace account
