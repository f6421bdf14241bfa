// Calendars of Thunderbird on a disk made for a test.
#ifndef BRINDLE_TESTS_PACK_CALENDARS_H
#define BRINDLE_TESTS_PACK_CALENDARS_H

#include <string>

#include "pack/databases.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"

namespace calendars {

inline const std::string profile = "Users/Ann/AppData/Roaming/Thunderbird/Profiles/x.default/";
inline const std::string local = profile + "calendar-data/local.sqlite";
inline const std::string cache = profile + "calendar-data/cache.sqlite";
inline const std::string calendar_file = "Brindle/ImapMail/Calendar/calendar.ics";
inline const std::string tasks_file = "Brindle/ImapMail/Tasks/tasks.ics";

/// Those of the program, as it makes them.
inline const std::string tables =
    "CREATE TABLE cal_events (cal_id TEXT, id TEXT, time_created INTEGER, last_modified INTEGER, title TEXT, "
    "priority INTEGER, privacy TEXT, ical_status TEXT, flags INTEGER, event_start INTEGER, event_end "
    "INTEGER, "
    "event_stamp INTEGER, event_start_tz TEXT, event_end_tz TEXT, recurrence_id INTEGER, recurrence_id_tz "
    "TEXT, "
    "alarm_last_ack INTEGER, offline_journal INTEGER);"
    "CREATE TABLE cal_todos (cal_id TEXT, id TEXT, time_created INTEGER, last_modified INTEGER, title TEXT, "
    "priority INTEGER, privacy TEXT, ical_status TEXT, flags INTEGER, todo_entry INTEGER, todo_due INTEGER, "
    "todo_completed INTEGER, todo_complete INTEGER, todo_entry_tz TEXT, todo_due_tz TEXT, todo_completed_tz "
    "TEXT, recurrence_id INTEGER, recurrence_id_tz TEXT, alarm_last_ack INTEGER, todo_stamp INTEGER, "
    "offline_journal INTEGER);"
    "CREATE TABLE cal_recurrence (cal_id TEXT, item_id TEXT, icalString TEXT);"
    "CREATE TABLE cal_properties (cal_id TEXT, item_id TEXT, key TEXT, value BLOB, recurrence_id INTEGER, "
    "recurrence_id_tz TEXT);"
    "CREATE TABLE cal_alarms (cal_id TEXT, item_id TEXT, recurrence_id INTEGER, recurrence_id_tz TEXT, "
    "icalString TEXT);"
    "CREATE TABLE cal_attendees (cal_id TEXT, item_id TEXT, recurrence_id INTEGER, recurrence_id_tz TEXT, "
    "icalString TEXT);"
    "CREATE TABLE cal_attachments (cal_id TEXT, item_id TEXT, recurrence_id INTEGER, recurrence_id_tz TEXT, "
    "icalString TEXT);";

/// A time in UTC, "2005-04-18 07:00:00", as the program keeps it; NULL of none.
inline std::string at(const std::string& utc) {
  return utc.empty() ? "NULL" : "strftime('%s', '" + utc + "') * 1000000";
}

/// An event of calendar 'c'; times in UTC.
inline std::string event(const std::string& id, const std::string& title, const std::string& start,
                         const std::string& end, const std::string& zone, int flags = 0) {
  return "INSERT INTO cal_events (cal_id, id, title, flags, event_start, event_end, event_start_tz, "
         "event_end_tz) "
         "VALUES ('c', '" +
         id + "', '" + title + "', " + std::to_string(flags) + ", " + at(start) + ", " + at(end) + ", '" +
         zone + "', '" + zone + "');";
}

/// One that is otherwise at one of the times of a series.
inline std::string exception(const std::string& id, const std::string& title, const std::string& replaces,
                             const std::string& start, const std::string& end, const std::string& zone) {
  return event(id, title, start, end, zone) + "UPDATE cal_events SET recurrence_id = " + at(replaces) +
         ", recurrence_id_tz = '" + zone + "' WHERE rowid = last_insert_rowid();";
}

/// A task of calendar 'c'; times in UTC.
inline std::string task(const std::string& id, const std::string& title, const std::string& entry,
                        const std::string& due, const std::string& zone, int flags = 0) {
  return "INSERT INTO cal_todos (cal_id, id, title, flags, todo_entry, todo_due, todo_entry_tz, todo_due_tz) "
         "VALUES ('c', '" +
         id + "', '" + title + "', " + std::to_string(flags) + ", " + at(entry) + ", " + at(due) + ", '" +
         zone + "', '" + zone + "');";
}

inline std::string rule(const std::string& id, const std::string& line) {
  return "INSERT INTO cal_recurrence VALUES ('c', '" + id + "', '" + line + "' || char(13, 10));";
}

inline std::string property(const std::string& id, const std::string& key, const std::string& value) {
  return "INSERT INTO cal_properties (cal_id, item_id, key, value) VALUES ('c', '" + id + "', '" + key +
         "', '" + value + "');";
}

/// A line of cal_alarms, cal_attendees or cal_attachments.
inline std::string line(const std::string& table, const std::string& id, const std::string& text) {
  return "INSERT INTO " + table + " (cal_id, item_id, icalString) VALUES ('c', '" + id + "', '" + text +
         "');";
}

inline std::string alarm(const std::string& id, const std::string& trigger) {
  return line("cal_alarms", id,
              "BEGIN:VALARM\r\nACTION:DISPLAY\r\n" + trigger + "\r\nDESCRIPTION:x\r\nEND:VALARM\r\n");
}

/// Says in which zone the machine is, by Windows' name. The people's own registries are to be added.
inline void set_zone_of_machine(const windows::Disk& disk,
                                const std::string& key = "W. Europe Standard Time") {
  std::string name;
  for (const char c : key + std::string("\0rest", 5)) name.append({c, '\0'});
  disk.add("Windows/System32/config/SOFTWARE", windows::hive({}));
  disk.add("Windows/System32/config/SYSTEM",
           windows::hive({{"Select", {{"Current", "2", windows::Value::dword}}},
                          {R"(ControlSet001\Control\TimeZoneInformation)",
                           {{"TimeZoneKeyName", "Tokyo Standard Time"}}},
                          {R"(ControlSet002\Control\TimeZoneInformation)",
                           {{"TimeZoneKeyName", name, windows::Value::binary}}}}));
}

/// The same of Ann's machine.
inline void set_zone(const windows::Disk& disk, const std::string& key = "W. Europe Standard Time") {
  set_zone_of_machine(disk, key);
  disk.add("Users/Ann/NTUSER.DAT", windows::hive({}));
}

/// What becomes of a disk in Berlin with this local calendar.
inline recorded::Result packed(const std::string& statements) {
  const windows::Disk disk;
  set_zone(disk);
  make_database(disk, local, tables + statements);
  return recorded::pack_disk(disk.path());
}

/// The lines of one item in a file of a calendar, put together where they are folded, but for its stamp.
std::vector<std::string> lines_of(const recorded::Result& result, const std::string& file,
                                  const std::string& uid);

}  // namespace calendars

#endif
