// A packed calendar on its way through the wizard's own migrators, to all three targets.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "pack/calendars.h"
#include "process/mail/evolution/personal.h"
#include "process/mail/kde/personal.h"
#include "process/mail/mozilla/personal.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* evolution = "/root/evolution/local/";
constexpr const char* organizer = "/root/.kde/share/apps/korganizer/std.ics";
constexpr const char* profile = "/root/.mozilla/default/abc.slt";
constexpr const char* mozilla = "/root/.mozilla/default/abc.slt/Calendar/CalendarDataFile.ics";

// Unpacks what was packed, as an archive of one person.
std::string unpacked(const recorded::Result& result) {
  for (const auto& [name, bytes] : result.content) {
    if (name.ends_with('/')) {
      shell_quietly("mkdir -p '/tmp/" + name + "'");
    } else {
      write_file("/tmp/" + name, bytes);
    }
  }
  return "/tmp/Brindle";
}

void migrate(const recorded::Result& result) {
  isDefaultUser = 1;
  // Mozilla's part writes into the archive, so it comes last.
  const std::string root = unpacked(result);
  shell_quietly(
      "mkdir -p /root/evolution/local/Calendar /root/evolution/local/Contacts /root/evolution/local/Tasks");
  EXPECT_EQ(0, calendar_contacts_tasks((root + "/ImapMail").c_str()));
  assign(OSName, "Xandros");
  assign(OSVersion, "Any");
  EXPECT_EQ(0, kmailcallendar(root.c_str()));
  shell_quietly(std::string("mkdir -p ") + profile);
  EXPECT_EQ(0, mozillacalendar(root.c_str(), profile));
}

std::string read_by_others(const std::string& file) {
  return output_of("/usr/bin/python3 " + test_data("pack/occurrences.py") + " " + file + " 2>&1");
}

const std::string berlin = "Europe/Berlin";

std::string nine_o_clock() {
  const auto hour = [](const std::string& id, const std::string& start, const std::string& zone) {
    return calendars::event(id, id, start + ":00:00", start + ":30:00", zone);
  };
  return hour("winter", "2005-02-01 08", berlin) + hour("summer", "2005-07-01 07", berlin) +
         hour("UTC", "2005-07-02 07", "UTC") + hour("New York", "2005-07-03 07", "America/New_York") +
         hour("floating", "2005-07-04 09", "floating") + hour("weekly", "2005-03-21 08", berlin) +
         calendars::rule("weekly", "RRULE:FREQ=WEEKLY;COUNT=3") +
         calendars::alarm("weekly", "TRIGGER;VALUE=DURATION:-PT15M") +
         hour("until", "2005-10-18 07", berlin) +
         calendars::rule("until", "RRULE:FREQ=WEEKLY;UNTIL=20051108T080000Z;BYDAY=TU") +
         calendars::rule("until", "EXDATE;TZID=Europe/Berlin:20051025T090000") +
         calendars::exception("until", "later", "2005-11-01 08:00:00", "2005-11-01 09:00:00", "", berlin) +
         hour("second Monday", "2005-03-14 08", berlin) +
         calendars::rule("second Monday", "RRULE:FREQ=MONTHLY;COUNT=2;BYDAY=2MO") +
         hour("last working day", "2005-03-31 07", berlin) +
         calendars::rule("last working day", "RRULE:FREQ=MONTHLY;COUNT=2;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1") +
         hour("weekly by UTC", "2005-03-22 08", "UTC") +
         calendars::rule("weekly by UTC", "RRULE:FREQ=WEEKLY;COUNT=2") +
         calendars::event("days", "days", "2005-03-26 00:00:00", "2005-03-29 00:00:00", "floating", 8) +
         calendars::event("birthday", "birthday", "2005-03-27 00:00:00", "2005-03-28 00:00:00", "floating",
                          8) +
         calendars::rule("birthday", "RRULE:FREQ=YEARLY;UNTIL=20070327") +
         calendars::task("insurance", "insurance", "", "2005-04-30 07:00:00", berlin) +
         calendars::task("receipts", "receipts", "", "2005-05-10 00:00:00", "floating", 8) +
         "UPDATE cal_todos SET priority = 9, todo_completed = " + calendars::at("2005-03-14 08:00:00") +
         ", todo_completed_tz = 'UTC' WHERE id = 'receipts';";
}

// "weekly by UTC" is at nine by the clock of winter, and stays at eight in UTC.
constexpr const char* shown_in_berlin = R"(2005-02-01 09:00:00 winter
2005-03-14 09:00:00 second Monday
2005-03-21 09:00:00 weekly
2005-03-22 09:00:00 weekly by UTC
2005-03-26 days
2005-03-27 birthday
2005-03-28 09:00:00 weekly
2005-03-29 10:00:00 weekly by UTC
2005-03-31 09:00:00 last working day
2005-04-04 09:00:00 weekly
2005-04-11 09:00:00 second Monday
2005-04-29 09:00:00 last working day
2005-07-01 09:00:00 summer
2005-07-02 09:00:00 UTC
2005-07-03 09:00:00 New York
2005-07-04 09:00:00 floating
2005-10-18 09:00:00 until
2005-11-01 10:00:00 later
2005-11-08 09:00:00 until
2006-03-27 birthday
2007-03-27 birthday
)";
constexpr const char* tasks_in_berlin = R"(due 2005-04-30 09:00:00 done - insurance
due 2005-05-10 done 2005-03-14 09:00:00 receipts
)";

TEST(CalendarTargets, ShowNineInBerlinAtNineInBerlin) {
  migrate(calendars::packed(nine_o_clock()));
  const std::string all = std::string(shown_in_berlin) + tasks_in_berlin;
  EXPECT_EQ(read_by_others(std::string(evolution) + "Calendar/calendar.ics"), shown_in_berlin);
  EXPECT_EQ(read_by_others(std::string(evolution) + "Tasks/tasks.ics"), tasks_in_berlin);
  EXPECT_EQ(read_by_others(organizer), all);
  EXPECT_EQ(read_by_others(mozilla), all);
  EXPECT_THAT(read_file(mozilla), HasSubstr("\nEND:VALARM\nX-MOZILLA-ALARM-DEFAULT-LENGTH\n :15\n"));
  EXPECT_THAT(read_file(mozilla), HasSubstr("\n :months\nRRULE:FREQ=MONTHLY;INTERVAL=1;COUNT=2;BYDAY=2MO\n"));
  EXPECT_THAT(read_file(organizer), Not(HasSubstr("RECURRENCE-ID")));
}

// The file's lines as a reader puts them together.
std::string unfolded(std::string text) {
  for (std::size_t at = 0; (at = text.find("\n ", at)) != std::string::npos;) text.erase(at, 2);
  return text;
}

TEST(CalendarTargets, KeepATextThatLooksLikeLinesOfACalendar) {
  const std::string text =
      "a END:VALARM b RRULE:FREQ=MONTHLY;UNTIL=20051231T000000 c -PT7H d PRIORITY:9 e COMPLETED:20050101 f "
      "DTSTART;TZID=X: g DUE;TZID=X: h";
  const auto result =
      calendars::packed(calendars::event("1", text, "2005-04-05 07:00:00", "", berlin) +
                        calendars::property("1", "DESCRIPTION", text) +
                        calendars::line("cal_attachments", "1",
                                        "ATTACH:http://x.example/DTSTART;TZID=/RRULE:UNTIL=T1;END:VALARM") +
                        calendars::task("2", text, "", "2005-04-30 07:00:00", berlin) +
                        calendars::property("2", "DESCRIPTION", text));
  const std::string events = unfolded(result.content.at(calendars::calendar_file));
  const std::string tasks = unfolded(result.content.at(calendars::tasks_file));
  migrate(result);
  EXPECT_EQ(unfolded(read_file(organizer)), events + tasks);
  EXPECT_EQ(unfolded(read_file(mozilla)), tasks + events);
}

// KOrganizer's part takes all letters for GB2312; no line end and no time may go with them.
TEST(CalendarTargets, KeepTheirTimesWhateverTheLetters) {
  const std::string text = "Größe – 2 €; «Тест» 日本 é";
  migrate(calendars::packed(calendars::event("1", text, "2005-04-05 07:00:00", "", berlin) +
                            calendars::property("1", "DESCRIPTION", text + "\n" + text + text + text) +
                            calendars::event("2", text + "é", "2005-07-05 07:00:00", "", berlin) +
                            calendars::task("3", text, "", "2005-04-30 07:00:00", berlin)));
  EXPECT_EQ(output_of("/usr/bin/python3 " + test_data("pack/occurrences.py") + " " + organizer +
                      " 2>&1 | cut -c 1-19"),
            "2005-04-05 09:00:00\n2005-07-05 09:00:00\ndue 2005-04-30 09:0\n");
  EXPECT_EQ(read_by_others(mozilla), "2005-04-05 09:00:00 " + text + "\n2005-07-05 09:00:00 " + text +
                                         "é\ndue 2005-04-30 09:00:00 done - " + text + "\n");
}

TEST(CalendarTargets, HaveTasksWithoutACalendar) {
  migrate(calendars::packed(calendars::task("1", "insurance", "", "2005-04-30 07:00:00", berlin)));
  const std::string due = "due 2005-04-30 09:00:00 done - insurance\n";
  EXPECT_EQ(read_by_others(std::string(evolution) + "Tasks/tasks.ics"), due);
  EXPECT_EQ(read_by_others(organizer), due);
  EXPECT_EQ(read_by_others(mozilla), due);
}

}  // namespace
