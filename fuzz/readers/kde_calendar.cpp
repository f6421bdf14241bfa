// Calendar and tasks on their way to KOrganizer. The account's own rules must come to the same.
#include "account/kinds/account_file.h"
#include "account/kinds/calendar_changes.h"
#include "process/mail/kde/personal.h"
#include "support/commands.h"
#include "support/harness.h"

namespace {

// "DUE;TZID" with nothing but semicolons behind it: each becomes ";VALUE=DATE".
constexpr std::size_t most_growth = 16;

// A time stands on the line after its property, and an UNTIL at a line's end takes the line end with it: what
// follows those is not looked at. Behind any other line a BEGIN or an END stays a line.
void check_balance(const std::string& before, const std::string& after) {
  const std::vector<std::string> lines = fuzz::pieces_of(before, before.size() + 1);
  for (std::size_t at = 0; at < lines.size(); ++at) {
    const bool is_mark = lines[at] == "BEGIN:VEVENT\n" || lines[at] == "END:VEVENT\n";
    if (!is_mark) continue;
    const std::string above = at == 0 ? "" : lines[at - 1];
    if (fuzz::contains(above, ";TZID") || fuzz::contains(above, "RRULE") || above.size() > 1000) continue;
    fuzz::require(fuzz::contains("\n" + after, "\n" + lines[at]), "a component's begin or end stays a line");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> parts = fuzz::Input(data, size).parts(2);
  const auto& [home, root] = fuzz::scene_with(
      {{"ImapMail/Calendar/calendar.ics", parts[0]}, {"ImapMail/Tasks/tasks.ics", parts[1]}});
  fuzz::require(kmailcallendar(fuzz::target_in(home, root, System::redflag)) == 0,
                "a calendar is taken over");
  fuzz::commands_run();

  const auto found = fuzz::read_file(home + "/.kde/share/apps/korganizer/std.ics");
  const std::string calendar = fuzz::rewritten(fuzz::mended(parts[0]), account::organizer_calendar());
  const std::string whole = calendar + fuzz::rewritten(fuzz::mended(parts[1]), account::organizer_tasks());
  fuzz::require(found && *found == account::from_gb2312(whole), "both programs make the same calendar");
  fuzz::require(whole.size() <= most_growth * (size + 64), "a calendar does not grow without end");
  check_balance(fuzz::mended(parts[0]), calendar);
  return 0;
}
