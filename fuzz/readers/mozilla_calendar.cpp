// Calendar and tasks on their way to the Mozilla calendar. But for the folding, the account's own rules must
// come to the same.
#include "account/kinds/calendar_changes.h"
#include "process/mail/mozilla/personal.h"
#include "support/commands.h"
#include "support/harness.h"

namespace {

// An alarm's length of a whole piece, again behind each "END:VALARM".
constexpr std::size_t most_growth = 128;

// A line feed and a blank say nothing.
std::string unfolded(const std::string& text) {
  std::string result;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text.compare(at, 2, "\n ") == 0) {
      ++at;
    } else {
      result += text[at];
    }
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> parts = fuzz::Input(data, size).parts(2);
  const auto& [home, root] = fuzz::scene_with(
      {{"ImapMail/Calendar/calendar.ics", parts[0]}, {"ImapMail/Tasks/tasks.ics", parts[1]}});
  const std::string profile = home + "/profile";
  fuzz::write_file(profile + "/prefs.js", "");
  fuzz::require(mozillacalendar(root.c_str(), profile.c_str()) == 0, "a calendar is taken over");
  fuzz::commands_run();

  const auto found = fuzz::read_file(profile + "/Calendar/CalendarDataFile.ics");
  account::MozillaAlarm alarm;
  const std::string calendar = fuzz::rewritten(fuzz::mended(parts[0]), account::mozilla_calendar(alarm));
  const std::string tasks = fuzz::rewritten(fuzz::mended(parts[1]), account::mozilla_tasks(alarm));
  fuzz::require(found && unfolded(*found) == unfolded(tasks + calendar),
                "both programs make the same calendar");
  fuzz::require(found->size() <= most_growth * (size + 64), "a calendar does not grow without end");
  return 0;
}
