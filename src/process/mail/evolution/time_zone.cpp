#include "process/mail/evolution/time_zone.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string>

#include "gconf/settings.h"
#include "shell/fill.h"
#include "shell/home.h"
#include "shell/run.h"

namespace {

struct Zone {
  const char* abbreviation;  ///< as "date +%Z" prints it, newline included
  const char* name;
};

// Deliberate: part of the output. CET's zone is in no zone database, CST is read as China's, and the
// abbreviations of summer time are missing: with one of those the calendar keeps the zone it has.
constexpr std::array<Zone, 18> zones = {{{"ART\n", "America/Buenos_Aires"},
                                         {"AST\n", "America/Puerto_Rico"},
                                         {"CET\n", "Europe/Netherlands"},
                                         {"CST\n", "Asia/Shanghai"},
                                         {"EET\n", "Europe/Athens"},
                                         {"EST\n", "America/New_York"},
                                         {"GMT\n", "Europe/London"},
                                         {"HKT\n", "Asia/Hong_Kong"},
                                         {"ICT\n", "Asia/Bangkok"},
                                         {"JST\n", "Asia/Tokyo"},
                                         {"KST\n", "Asia/Seoul"},
                                         {"MST\n", "America/Phoenix"},
                                         {"MYT\n", "Asia/Kuala_Lumpur"},
                                         {"PHT\n", "Asia/Manila"},
                                         {"PST\n", "America/Los_Angeles"},
                                         {"SGT\n", "Asia/Singapore"},
                                         {"WIT\n", "Asia/Jakarta"},
                                         {"WST\n", "Australia/Perth"}}};

// Deliberate: part of the format. The time-stamp is fixed.
constexpr const char* time_zone_file = R"(<?xml version="1.0"?>
<gconf>
<entry name="timezone" mtime="1114560304" type="string">
<stringvalue>@zone@</stringvalue>
</entry>
</gconf>)";

Stored store_zone(const Target& target, const char* zone) {
  // The same file holds a profile's shown calendars: whichever is written last stands alone in it.
  const SettingsFile file = {.folder = "apps/evolution/calendar/display",
                             .new_folders = {"apps/evolution/calendar", "apps/evolution/calendar/display"},
                             .text = fill(time_zone_file, {{"zone", zone}})};
  return store_settings(target, {{"/apps/evolution/calendar/display/timezone", zone}}, file);
}

}  // namespace

void store_time_zone(const Target& target) {
  trace_home(target.home);
  std::string abbreviation;
  shell::execute_first(compose("date +%%Z"), target.home, abbreviation);
  const char* zone = time_zone_matrix(abbreviation.c_str());
  if (zone == nullptr) return;
  std::printf("Timezone Val::%s", zone);
  // Not looked at: without it the calendar keeps the zone it has.
  static_cast<void>(store_zone(target, zone));
}

void set_time_zone() { store_time_zone(target_of("")); }

const char* time_zone_matrix(const char* str) {
  for (const Zone& zone : zones) {
    if (std::strcmp(str, zone.abbreviation) == 0) return zone.name;
  }
  return nullptr;
}
