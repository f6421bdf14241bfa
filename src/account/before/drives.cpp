#include <string>
#include <string_view>

#include "account/archive/charset.h"
#include "account/before/before.h"
#include "account/kinds/drives.h"
#include "account/kinds/entries.h"
#include "process/archive/layout.h"

namespace account {
namespace {

// The wizard writes it into an XML file as it is.
bool breaks_xml(std::string_view value) {
  return value.find_first_of("&<") != std::string_view::npos || !is_utf8(value);
}

}  // namespace

void foresee_drives(const Outlook& outlook, std::vector<Warning>& found) {
  for (const Person& person : outlook.people) {
    const std::string folder = person.folder + "/" + layout::mapped_drives;
    for_each_thing(outlook.archive, folder, [&](const Entry& entry) {
      const bool is_looked_at =
          !entry.folder && name_within(entry, folder).find('/') == std::string_view::npos;
      if (!is_looked_at || fault_of(entry) || entry.encrypted()) return;
      const auto drive = drive_of(outlook.archive.read(entry, largest_drive));
      if (drive && drive->name.find('/') != std::string::npos)
        found.push_back({person.login, Kind::drives, std::string(entry.name), Foresight::no_link, ""});
      if (drive && (breaks_xml(drive->share) || breaks_xml(drive->name)))
        found.push_back({person.login, Kind::drives, std::string(entry.name), Foresight::breaks_list, ""});
    });
  }
}

}  // namespace account
