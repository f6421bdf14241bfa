// Appointments and tasks, in the calendars of the six systems.
#include <gtest/gtest.h>

#include <functional>

#include "account/scene.h"
#include "support/files.h"

namespace {

using namespace account;
using Names = std::vector<std::string>;

const std::string evolution_calendar = "/home/ann/.evolution/calendar/local/system/calendar.ics";
const std::string evolution_tasks = "/home/ann/.evolution/tasks/local/system/tasks.ics";
const std::string korganizer = "/home/ann/.kde/share/apps/korganizer/std.ics";
const std::string mozilla = "/home/ann/.mozilla/default/abc.slt/Calendar/CalendarDataFile.ics";

std::string without(std::string text, const std::string& part, const std::string& instead = "") {
  const std::size_t place = text.find(part);
  EXPECT_NE(std::string::npos, place) << part;
  return text.replace(place, part.size(), instead);
}

const std::string meeting =
    "BEGIN:VEVENT\nUID:1@pc\nDTSTART;TZID=/x/Europe/Berlin:\n 20050510T090000\nSUMMARY:Meeting\n"
    "LOCATION:Room 7\\, left\nBEGIN:VALARM\nACTION:DISPLAY\nTRIGGER;VALUE=DURATION:-PT15M\nEND:VALARM\n"
    "END:VEVENT\n";
const std::string holiday =
    "BEGIN:VEVENT\nUID:2@pc\nDTSTART;VALUE=DATE:20050601\nSUMMARY:Holiday\nEND:VEVENT\n";
const std::string dinner = "BEGIN:VEVENT\nUID:3@pc\nDTSTART:20050701T180000Z\nSUMMARY:Dinner\nEND:VEVENT\n";
const std::string letter =
    "BEGIN:VTODO\nUID:4@pc\nSUMMARY:Letter\nDUE;TZID=/x/Europe/Berlin:20050510\nEND:VTODO\n";
const std::string taxes = "BEGIN:VTODO\nUID:5@pc\nSUMMARY:Taxes\nPRIORITY:1\nEND:VTODO\n";

std::string calendar(const std::string& items) {
  return "BEGIN:VCALENDAR\nVERSION:2.0\nBEGIN:VTIMEZONE\nTZID:/x/Europe/Berlin\nBEGIN:STANDARD\n"
         "DTSTART:19701025T030000\nTZOFFSETFROM:+0200\nTZOFFSETTO:+0100\nEND:STANDARD\nEND:VTIMEZONE\n" +
         items + "END:VCALENDAR\n";
}

std::string plain_calendar(const std::string& items) {
  return "BEGIN:VCALENDAR\nVERSION:2.0\n" + items + "END:VCALENDAR\n";
}

const std::string all_events = calendar(meeting + holiday + dinner);
const std::string all_tasks = plain_calendar(letter + taxes);

Scene::Entries complete(const std::string& events = all_events, const std::string& tasks = all_tasks) {
  return {{"ImapMail/brindle-email-accounts/", ""},
          {"ImapMail/Contacts/", ""},
          {"ImapMail/Calendar/calendar.ics", events},
          {"ImapMail/Tasks/tasks.ics", tasks}};
}

// What the account says of an archive that is altered before it is opened.
Tally look_at(const Scene::Entries& entries, Kind kind, const std::function<void(std::string& zip)>& alter) {
  const char* const path = "/tmp/altered.zip";
  Scene::Entries below;
  for (const auto& [name, bytes] : entries) below.emplace_back("Brindle/" + name, bytes);
  write_zip(path, below);
  std::string bytes = read_file(path);
  alter(bytes);
  write_file(path, bytes);
  const Archive archive(path, "CP437");
  const Person person{.login = "ann", .home = "/home/ann", .folder = "Brindle"};
  const auto row = std::ranges::find(rows(), kind, &Row::kind);
  const Case of = {.archive = archive,
                   .person = person,
                   .system = System::gnome,
                   .several = false,
                   .as_root = true,
                   .charset = "CP1252",
                   .place = row->places[0],
                   .machine = ""};
  Tally tally;
  row->compare(of, tally);
  return tally;
}

// ---- Evolution -------------------------------------------------------------------------------------------

TEST(Calendar, evolution_has_its_own_files_unchanged) {
  for (const System system : {System::gnome, System::nld}) {
    const Scene scene(system, complete());
    write_file(evolution_calendar, all_events);
    write_file(evolution_tasks, all_tasks);
    EXPECT_EQ("3 3 0 0 0", numbers(scene.look(Kind::calendar)));
    EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::tasks)));
  }
}

TEST(Calendar, evolution_1_keeps_them_elsewhere) {
  const Scene scene(System::gnome, complete());
  write_file("/home/ann/evolution/local/Calendar/calendar.ics", all_events);
  write_file("/home/ann/evolution/local/Tasks/tasks.ics", all_tasks);
  EXPECT_EQ("3 3 0 0 0", numbers(scene.look(Kind::calendar)));
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::tasks)));
}

TEST(Calendar, order_folding_and_line_ends_do_not_matter) {
  const Scene scene(System::gnome, complete(without(all_events, "END:VCALENDAR\n", "END:VCALENDAR")));
  std::string there = calendar(dinner + holiday + meeting);
  there = without(there, "SUMMARY:Meeting\nLOCATION:Room 7", "LOCATION:Ro\n om 7");
  there = without(there, "\\, left\n", "\\, left\r\nSUMMARY:Meeting\r\n");
  write_file(evolution_calendar, there);
  EXPECT_EQ("3 3 0 0 0", numbers(scene.look(Kind::calendar)));
}

TEST(Calendar, each_event_that_is_deleted_or_altered_is_named_alone) {
  const Scene scene(System::gnome, complete());
  write_file(evolution_calendar, without(all_events, holiday));
  EXPECT_EQ((Names{"Holiday (2005-06-01): It is not there."}), missing_names(scene.look(Kind::calendar)));
  EXPECT_EQ("3 2 0 0 1", numbers(scene.look(Kind::calendar)));

  write_file(evolution_calendar, without(all_events, "20050701T180000Z", "20050701T190000Z"));
  EXPECT_EQ((Names{"Dinner (2005-07-01): It is there, but differs: DTSTART."}),
            missing_names(scene.look(Kind::calendar)));

  write_file(evolution_calendar, without(all_events, "LOCATION:Room 7\\, left\n"));
  EXPECT_EQ((Names{"Meeting (2005-05-10): It is there, but differs: LOCATION."}),
            missing_names(scene.look(Kind::calendar)));

  write_file(evolution_calendar, without(all_events, "-PT15M", "-PT5M"));
  EXPECT_EQ((Names{"Meeting (2005-05-10): It is there, but differs: VALARM."}),
            missing_names(scene.look(Kind::calendar)));

  write_file(evolution_calendar, without(all_events, "UID:2@pc\n", "UID:2@pc\nCLASS:PRIVATE\n"));
  EXPECT_EQ((Names{"Holiday (2005-06-01): It is there, but differs: CLASS."}),
            missing_names(scene.look(Kind::calendar)));

  write_file(evolution_tasks, without(all_tasks, "PRIORITY:1", "PRIORITY:2"));
  EXPECT_EQ((Names{"Taxes: It is there, but differs: PRIORITY."}), missing_names(scene.look(Kind::tasks)));
}

TEST(Calendar, events_of_a_time_zone_that_is_gone_or_altered_are_named) {
  const Scene scene(System::gnome, complete());
  const Names named = {"Meeting (2005-05-10): It is there, but differs: VTIMEZONE."};
  write_file(evolution_calendar, plain_calendar(meeting + holiday + dinner));
  EXPECT_EQ(named, missing_names(scene.look(Kind::calendar)));
  write_file(evolution_calendar, without(all_events, "TZOFFSETTO:+0100", "TZOFFSETTO:+0200"));
  EXPECT_EQ(named, missing_names(scene.look(Kind::calendar)));

  const Scene changed(System::xandros, complete());
  const std::string events = without(all_events, " 20050510T090000", " 20050510T090000Z");
  write_file(korganizer, without(events, "TZOFFSETTO:+0100", "TZOFFSETTO:+0200") + all_tasks);
  EXPECT_EQ(named, missing_names(changed.look(Kind::calendar)));
}

TEST(Calendar, what_is_there_once_has_arrived_once) {
  const Scene scene(System::gnome, complete(calendar(dinner + dinner + holiday)));
  write_file(evolution_calendar, calendar(holiday + dinner));
  EXPECT_EQ((Names{"Dinner (2005-07-01): It is not there."}), missing_names(scene.look(Kind::calendar)));
}

// Of the dates of a series that were moved each has the series' uid.
TEST(Calendar, the_most_similar_item_with_the_uid_is_compared) {
  const std::string moved = without(dinner, "UID:3@pc\n", "UID:3@pc\nRECURRENCE-ID:20050708T180000Z\n");
  const Scene scene(System::gnome, complete(calendar(dinner + moved)));
  write_file(evolution_calendar,
             without(calendar(moved + dinner), "RECURRENCE-ID:20050708T180000Z\nDTSTART:20050701T180000Z",
                     "RECURRENCE-ID:20050708T180000Z\nDTSTART:20050701T210000Z"));
  EXPECT_EQ((Names{"Dinner (2005-07-01): It is there, but differs: DTSTART."}),
            missing_names(scene.look(Kind::calendar)));
}

TEST(Calendar, evolution_refuses_a_file_that_is_cut_or_joined) {
  const Scene scene(System::gnome, complete());
  const std::string refused = ": Its program cannot read " + evolution_calendar + ".";
  const Names all = {"Dinner (2005-07-01)" + refused, "Holiday (2005-06-01)" + refused,
                     "Meeting (2005-05-10)" + refused};
  write_file(evolution_calendar, all_events.substr(0, all_events.find("SUMMARY:Holiday")));
  EXPECT_EQ(all, missing_names(scene.look(Kind::calendar)));
  write_file(evolution_calendar, all_events + plain_calendar(taxes));
  EXPECT_EQ(all, missing_names(scene.look(Kind::calendar)));
  write_file(evolution_calendar, "");
  EXPECT_EQ("3 0 0 0 3", numbers(scene.look(Kind::calendar)));
}

TEST(Calendar, evolution_looks_only_when_accounts_and_contacts_are_there) {
  const std::string only = "Dinner (2005-07-01): It is only looked at when the archive has ";
  for (const auto& [left_out, name] :
       {std::pair(0, "ImapMail/brindle-email-accounts"), std::pair(1, "ImapMail/Contacts")}) {
    Scene::Entries entries = complete(calendar(dinner), plain_calendar(taxes));
    entries.erase(entries.begin() + left_out);
    const Scene scene(System::nld, entries);
    EXPECT_EQ((Names{only + name + " as well."}), missing_names(scene.look(Kind::calendar)));
    EXPECT_EQ("1 0 0 0 1", numbers(scene.look(Kind::tasks)));
  }
}

TEST(Calendar, a_place_that_is_missing_or_no_file_is_named) {
  const Scene scene(System::gnome, complete(calendar(dinner)));
  write_file("/home/ann/.evolution/mail/keep", "");
  EXPECT_EQ((Names{"Dinner (2005-07-01): Its place " + evolution_calendar + " is not there."}),
            missing_names(scene.look(Kind::calendar)));
  write_file(evolution_calendar + "/keep", "");
  EXPECT_EQ((Names{"Dinner (2005-07-01): Its place " + evolution_calendar + " cannot be read."}),
            missing_names(scene.look(Kind::calendar)));
}

TEST(Calendar, without_files_in_the_archive_there_is_nothing_to_find) {
  const Scene scene(System::gnome, {{"ImapMail/Calendar/calendar.ics/", ""}, {"ImapMail/Contacts/", ""}});
  EXPECT_EQ("0 0 0 0 0", numbers(scene.look(Kind::calendar)));
  EXPECT_EQ("0 0 0 0 0", numbers(scene.look(Kind::tasks)));
}

TEST(Calendar, an_archive_that_cuts_an_event_short_still_names_it) {
  const std::string cut = all_events.substr(0, all_events.find("ACTION:"));
  const Scene scene(System::gnome, complete(cut));
  write_file(evolution_calendar, cut);
  EXPECT_EQ((Names{"Meeting (2005-05-10): Its program cannot read " + evolution_calendar + "."}),
            missing_names(scene.look(Kind::calendar)));
}

TEST(Calendar, letters_of_windows_arrive_as_they_are_or_converted) {
  const Scene scene(System::gnome, complete(calendar(without(dinner, "Dinner", "Caf\xe9"))));
  for (const char* there : {"Caf\xe9", "Caf\xc3\xa9"}) {
    write_file(evolution_calendar, calendar(without(dinner, "Dinner", there)));
    EXPECT_EQ("1 1 0 0 0", numbers(scene.look(Kind::calendar))) << there;
  }
  write_file(evolution_calendar, calendar(without(dinner, "Dinner", "Caf")));
  EXPECT_EQ((Names{"Caf\xc3\xa9 (2005-07-01): It is there, but differs: SUMMARY."}),
            missing_names(scene.look(Kind::calendar)));
}

TEST(Calendar, an_encrypted_file_is_named_and_nothing_is_certain) {
  write_file(evolution_calendar, all_events);
  const Tally tally = look_at(complete(), Kind::calendar, [](std::string& zip) {
    const std::size_t name = zip.rfind("Brindle/ImapMail/Calendar/calendar.ics");
    zip[name - 46 + 8] = static_cast<char>(zip[name - 46 + 8] | 1);
  });
  EXPECT_EQ((Names{"ImapMail/Calendar/calendar.ics: It is encrypted in the archive."}), missing_names(tally));
  EXPECT_FALSE(tally.certain());
}

TEST(Calendar, a_damaged_file_is_named_and_nothing_is_certain) {
  write_file(evolution_calendar, all_events);
  const Tally tally = look_at(complete(), Kind::calendar, [](std::string& zip) {
    const std::string path = "Brindle/ImapMail/Calendar/calendar.ics";
    zip[zip.find(path) + path.size() + 60] ^= 0x55;
  });
  const Names names = missing_names(tally);
  EXPECT_NE(names.end(),
            std::ranges::find(names, "ImapMail/Calendar/calendar.ics: It is damaged in the archive."));
  EXPECT_FALSE(tally.certain());
}

TEST(Calendar, hostile_files_end) {
  std::string deep, open;
  for (int i = 0; i < 100000; ++i) deep += "BEGIN:VEVENT\n", open += "END:VEVENT\n";
  const Scene scene(System::gnome, complete(deep + open, std::string(3 << 20, ';')));
  write_file(evolution_calendar, deep);
  EXPECT_EQ("1 0 0 0 1", numbers(scene.look(Kind::calendar)));
  EXPECT_EQ("0 0 0 0 0", numbers(scene.look(Kind::tasks)));
}

// ---- KOrganizer ------------------------------------------------------------------------------------------

Scene::Entries korganizer_sample() {
  return {{"ImapMail/Calendar/calendar.ics",
           read_file(test_data("expected/korganizer/in/Calendar/calendar.ics"))},
          {"ImapMail/Tasks/tasks.ics", read_file(test_data("expected/korganizer/in/Tasks/tasks.ics"))}};
}

TEST(Calendar, korganizer_gets_stated_changes_and_chinese_letters) {
  const std::string there = read_file(test_data("expected/korganizer/std.ics"));
  for (const System system : {System::xandros, System::redflag, System::redflag_plus}) {
    const Scene scene(system, korganizer_sample());
    write_file(korganizer, there);
    EXPECT_EQ("2 1 1 0 0", numbers(scene.look(Kind::calendar)));
    EXPECT_EQ("2 1 1 0 0", numbers(scene.look(Kind::tasks)));
  }
}

TEST(Calendar, anything_but_the_stated_change_is_named) {
  const std::string there = read_file(test_data("expected/korganizer/std.ics"));
  const Scene scene(System::redflag, korganizer_sample());
  const std::string summary = "\xE4\xBC\x9A\xE8\xAE\xAE (2005-05-10)";
  const struct {
    const char *part, *instead, *differs;
  } events[] = {{"20051231", "20051230", "RRULE"},
                {"20051231", "20051231T235959", "RRULE"},
                {"20050510T090000Z", "20050510T090001Z", "DTSTART"},
                {"\xE4\xBC\x9A", "\xE4\xBC\x98", "SUMMARY"},
                {"20050510T100000Z", "20050510T100000", "DTEND"}};
  for (const auto& [part, instead, differs] : events) {
    write_file(korganizer, without(there, part, instead));
    EXPECT_EQ((Names{summary + ": It is there, but differs: " + differs + "."}),
              missing_names(scene.look(Kind::calendar)));
    EXPECT_EQ("2 1 1 0 0", numbers(scene.look(Kind::tasks)));
  }
  const struct {
    const char *part, *instead, *differs;
  } tasks[] = {{"PRIORITY:5", "PRIORITY:4", "PRIORITY"},
               {"DUE;VALUE=DATE:20050510", "DUE;VALUE=DATE:20050511", "DUE"},
               {"RECURRENCE-ID:20050510T000000Z\n", "", "RECURRENCE-ID"},
               {"DTSTART;VALUE=DATE:20050501", "DTSTART;VALUE=DATE-TIME:20050501", "DTSTART"},
               {"COMPLETED:20050101T120000Z", "COMPLETED:20050101T120000", "COMPLETED"}};
  for (const auto& [part, instead, differs] : tasks) {
    write_file(korganizer, without(there, part, instead));
    EXPECT_EQ((Names{std::string("Taxes (2005-05-01): It is there, but differs: ") + differs + "."}),
              missing_names(scene.look(Kind::tasks)));
  }
}

TEST(Calendar, a_line_longer_than_1023_bytes_is_changed_piece_by_piece) {
  // The second piece begins with the word, and has no Z: only there the letter is put.
  std::string text = "DESCRIPTION:";
  text += std::string(1023 - text.size(), 'x') + "COMPLETED:no";
  const std::string task = "BEGIN:VTODO\nUID:9\nSUMMARY:Long\n" + text + "\nEND:VTODO\n";
  const Scene scene(System::xandros, complete(all_events, plain_calendar(task)));
  write_file(korganizer, plain_calendar(without(task, "COMPLETED:no", "COMPLETED:noZ")));
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::tasks)));
}

TEST(Calendar, pieces_of_a_long_line_are_looked_at_alone) {
  const std::string line = "X-NOTE:COMPLETED:" + std::string(1400, 'x');
  const std::string task = "BEGIN:VTODO\nUID:9\nSUMMARY:Long\n" + line + "\nEND:VTODO\n";
  const Scene scene(System::xandros, complete(all_events, plain_calendar(task)));
  std::string there = task;
  there.insert(there.find(line) + 1023, "Z");
  write_file(korganizer, plain_calendar(there));
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::tasks)));
}

// An UNTIL at the end of its rule loses the line end. What follows on the line is lost with the rule; when
// that is the event's own end, the program reads nothing at all.
TEST(Calendar, an_until_at_the_lines_end_is_a_loss_with_its_cause) {
  const std::string rule = "RRULE:FREQ=DAILY;UNTIL=20050801T120000Z\n";
  const std::string inside = without(dinner, "SUMMARY", rule + "SUMMARY");
  const Scene scene(System::xandros, complete(calendar(inside + holiday)));
  write_file(korganizer, calendar(without(inside, "20050801T120000Z\n", "20050801") + holiday) + all_tasks);
  const std::string cause = ": Its RRULE is rewritten for this desktop and loses a part.";
  EXPECT_EQ((Names{"Dinner (2005-07-01)" + cause}), missing_names(scene.look(Kind::calendar)));

  const std::string last = without(dinner, "END:VEVENT", rule + "END:VEVENT");
  const Scene damaged(System::xandros, complete(calendar(last + holiday)));
  write_file(korganizer, calendar(without(last, "20050801T120000Z\n", "20050801") + holiday) + all_tasks);
  EXPECT_EQ((Names{"Dinner (2005-07-01)" + cause,
                   "Holiday (2005-06-01): Its program cannot read " + korganizer + "."}),
            missing_names(damaged.look(Kind::calendar)));
}

TEST(Calendar, a_count_that_becomes_coun_is_a_loss) {
  const std::string rule = "RRULE:FREQ=DAILY;COUNT=5;UNTIL=20050801T120000Z;INTERVAL=2\n";
  const std::string event = without(dinner, "SUMMARY", rule + "SUMMARY");
  const Scene scene(System::xandros, complete(calendar(event)));
  write_file(korganizer, calendar(without(event, "COUNT=5;UNTIL=20050801T120000Z", "COUN;UNTIL=20050801")));
  EXPECT_EQ((Names{"Dinner (2005-07-01): Its RRULE is rewritten for this desktop and loses a part."}),
            missing_names(scene.look(Kind::calendar)));
}

TEST(Calendar, tasks_without_a_calendar_stay_behind_in_kde) {
  Scene::Entries entries = complete();
  entries.erase(entries.begin() + 2);
  const Scene scene(System::xandros, entries);
  EXPECT_EQ(
      (Names{"Letter (2005-05-10): It is only looked at when the archive has ImapMail/Calendar as well.",
             "Taxes: It is only looked at when the archive has ImapMail/Calendar as well."}),
      missing_names(scene.look(Kind::tasks)));
  // Put there by hand, they have arrived.
  write_file(korganizer, all_tasks);
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::tasks)));
}

TEST(Calendar, kde_without_accounts_and_contacts_is_looked_at) {
  Scene::Entries entries = complete();
  entries.erase(entries.begin(), entries.begin() + 2);
  const Scene scene(System::xandros, entries);
  write_file(korganizer, without(all_events, " 20050510T090000", " 20050510T090000Z") + all_tasks);
  EXPECT_EQ("3 2 1 0 0", numbers(scene.look(Kind::calendar)));
}

// Without the last line end of the first calendar its end and the beginning of the second share a line.
TEST(Calendar, of_two_calendars_badly_joined_the_second_is_not_read) {
  const Scene scene(System::xandros, complete());
  const std::string events = without(all_events, " 20050510T090000", " 20050510T090000Z");
  write_file(korganizer, events.substr(0, events.size() - 1) + all_tasks);
  EXPECT_EQ("3 2 1 0 0", numbers(scene.look(Kind::calendar)));
  const std::string refused = ": Its program cannot read " + korganizer + ".";
  EXPECT_EQ((Names{"Letter (2005-05-10)" + refused, "Taxes" + refused}),
            missing_names(scene.look(Kind::tasks)));
}

TEST(Calendar, letters_that_are_no_gb2312_have_a_cause_of_their_own) {
  const std::string event = without(dinner, "Dinner", "D\xC3\xAEner \xE4\xBC\x9A");
  const Scene scene(System::redflag, complete(calendar(event + holiday)));
  // What iconv -c makes of them.
  write_file(korganizer, calendar(without(dinner, "Dinner", "D\xE8\x80\xA6ner \xE6\xB5\xBC") + holiday));
  EXPECT_EQ((Names{"D\xC3\xAEner \xE4\xBC\x9A (2005-07-01): Its letters are not in the character set GB2312, "
                   "which this "
                   "desktop takes them for."}),
            missing_names(scene.look(Kind::calendar)));
  write_file(korganizer, calendar(without(dinner, "Dinner", "Diner") + holiday));
  EXPECT_EQ((Names{"D\xC3\xAEner \xE4\xBC\x9A (2005-07-01): It is there, but differs: SUMMARY."}),
            missing_names(scene.look(Kind::calendar)));
  write_file(korganizer, calendar(event + holiday));
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::calendar)));
}

// ---- Mozilla ---------------------------------------------------------------------------------------------

Scene::Entries mozilla_sample() {
  return {{"ImapMail/Calendar/calendar.ics",
           read_file(test_data("expected/mozilla-calendar/in/Calendar/calendar.ics"))},
          {"ImapMail/Tasks/tasks.ics", read_file(test_data("expected/mozilla-calendar/in/Tasks/tasks.ics"))}};
}

TEST(Calendar, mozilla_gets_stated_changes) {
  const Scene scene(System::linspire, mozilla_sample());
  write_file(mozilla, read_file(test_data("expected/mozilla-calendar/CalendarDataFile.ics")));
  EXPECT_EQ("2 0 2 0 0", numbers(scene.look(Kind::calendar)));
  EXPECT_EQ("2 1 1 0 0", numbers(scene.look(Kind::tasks)));
}

TEST(Calendar, anything_but_mozillas_stated_change_is_named) {
  const std::string there = read_file(test_data("expected/mozilla-calendar/CalendarDataFile.ics"));
  const Scene scene(System::linspire, mozilla_sample());
  const struct {
    const char *part, *instead, *name, *differs;
  } events[] = {{" :months", " :years", "Meeting (2005-05-10)", "X-MOZILLA-RECUR-DEFAULT-UNITS"},
                {"BYDAY=2MO", "BYDAY=MO", "Meeting (2005-05-10)", "RRULE"},
                {" :hours", " :days", "Meeting (2005-05-10)", "X-MOZILLA-ALARM-DEFAULT-UNITS"},
                {" :2\n", " :3\n", "Meeting (2005-05-10)", "X-MOZILLA-ALARM-DEFAULT-LENGTH"},
                {" :-PT15M", " :-PT16M", "2@pc (2005-05-11)", "VALARM"},
                {" :15\n", " :15\nX-MOZILLA-ALARM-DEFAULT-UNITS\n :hours\n", "2@pc (2005-05-11)",
                 "X-MOZILLA-ALARM-DEFAULT-UNITS"}};
  for (const auto& [part, instead, name, differs] : events) {
    write_file(mozilla, without(there, part, instead));
    EXPECT_EQ((Names{std::string(name) + ": It is there, but differs: " + differs + "."}),
              missing_names(scene.look(Kind::calendar)));
    EXPECT_EQ("2 1 1 0 0", numbers(scene.look(Kind::tasks)));
  }
  write_file(mozilla, without(there, " :20050510\n", " :20050512\n"));
  EXPECT_EQ((Names{"3@pc (2005-05-01): It is there, but differs: DUE."}),
            missing_names(scene.look(Kind::tasks)));
}

// Units by month, year and day, alarms by day: one task or event each.
TEST(Calendar, each_rule_of_mozilla_counts) {
  const std::string head = "BEGIN:VEVENT\nUID:1\nDTSTART:20050701T180000Z\n";
  const std::string alarm = "BEGIN:VALARM\nTRIGGER:-PT3D\nEND:VALARM\n";
  const Scene scene(
      System::linspire,
      complete(plain_calendar(head + "RRULE:FREQ=YEARLY;COUNT=2\n" + alarm + "END:VEVENT\n"),
               plain_calendar("BEGIN:VTODO\nUID:2\nRRULE:FREQ=MONTHLY;BYDAY=MO;BYSETPOS=1\n"
                              "BEGIN:VALARM\nACTION:AUDIO\nEND:VALARM\nPRIORITY:4\nEND:VTODO\n")));
  const std::string events =
      plain_calendar(head +
                     "X-MOZILLA-RECUR-DEFAULT-UNITS\n :years\nRRULE:FREQ=YEARLY;COUNT=2\n"
                     "BEGIN:VALARM\nTRIGGER\n :-PT3D\nEND:VALARM\nX-MOZILLA-ALARM-DEFAULT-UNITS\n :days\n"
                     "X-MOZILLA-ALARM-DEFAULT-LENGTH\n :3\nEND:VEVENT\n");
  // The task's alarm has no time of its own and gets the calendar's.
  const std::string tasks = plain_calendar(
      "BEGIN:VTODO\nUID:2\nX-MOZILLA-RECUR-DEFAULT-UNITS\n :months\nRRULE:FREQ=MONTHLY;BYDAY=MO;BYSETPOS=1\n"
      "BEGIN:VALARM\nACTION:AUDIO\nEND:VALARM\nX-MOZILLA-ALARM-DEFAULT-UNITS\n :days\n"
      "X-MOZILLA-ALARM-DEFAULT-LENGTH\n :3\nPRIORITY\n :5\nEND:VTODO\n");
  write_file(mozilla, tasks + events);
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::calendar)));
  EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::tasks)));
}

// The zone's name is no alarm.
TEST(Calendar, what_stands_in_the_name_of_a_zone_does_not_count) {
  const std::string alarm = "BEGIN:VALARM\nACTION:AUDIO\nEND:VALARM\n";
  const auto task = [&alarm](const std::string& due, const std::string& more) {
    return plain_calendar("BEGIN:VTODO\nUID:2\n" + due + alarm + more + "END:VTODO\n");
  };
  for (const std::string name : {"DUE", "DTSTART"}) {
    const std::string due = name + ";TZID=/x/A-PT9H:20050501\n";
    Scene::Entries entries = complete(all_events, task(due, ""));
    entries.erase(entries.begin() + 2);
    const Scene scene(System::linspire, entries);
    write_file(mozilla, task(due, "X-MOZILLA-ALARM-DEFAULT-LENGTH\n :\n"));
    EXPECT_EQ("1 0 1 0 0", numbers(scene.look(Kind::tasks)));
  }
}

TEST(Calendar, a_month_before_the_days_is_a_loss) {
  const std::string rule = "RRULE:FREQ=YEARLY;BYMONTH=3;BYDAY=SU;BYSETPOS=-1\n";
  const Scene scene(System::linspire, complete(calendar(without(dinner, "SUMMARY", rule + "SUMMARY"))));
  write_file(mozilla, calendar(without(dinner, "SUMMARY",
                                       "X-MOZILLA-RECUR-DEFAULT-UNITS\n :years\n"
                                       "RRULE:FREQ=YEARLY;BYDAY=-1SU\nSUMMARY")));
  EXPECT_EQ((Names{"Dinner (2005-07-01): Its RRULE is rewritten for this desktop and loses a part."}),
            missing_names(scene.look(Kind::calendar)));
}

TEST(Calendar, mozilla_takes_tasks_alone_and_needs_a_profile) {
  Scene::Entries entries = complete();
  entries.erase(entries.begin() + 2);
  const Scene scene(System::linspire, entries);
  EXPECT_EQ(
      "Letter (2005-05-10): Its place /home/ann/.mozilla/default/*/Calendar/CalendarDataFile.ics is not "
      "there.",
      missing_names(scene.look(Kind::tasks)).at(0));
  write_file(mozilla, all_tasks);
  EXPECT_EQ("2 2 0 0 0", numbers(scene.look(Kind::tasks)));
}

}  // namespace
