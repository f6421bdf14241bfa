#include "pack/planner/stored_items.h"

#include <algorithm>
#include <array>

#include "pack/calendar/zones.h"
#include "pack/planner/content_line.h"

namespace pack {

namespace {

constexpr int flag_all_day = 8;
constexpr int flag_replaces_all_day = 512;
constexpr int deleted_offline = 4;

constexpr std::size_t longest_text = 250000;
// What one series may take of the memory.
constexpr std::size_t most_bytes = std::size_t{4} << 20;

// ---- What is read of events and of tasks -----------------------------------------------------------------

enum Column : int {
  id,
  created,
  modified,
  title,
  priority,
  privacy,
  status,
  flags,
  replaces,
  replaces_zone,
  start,
  start_zone,
  end,
  end_zone,
  completed,
  completed_zone,
  percent
};

// As bytes: a text would end at its first zero.
std::string text_of(const std::string& column) {
  return "substr(CAST(" + column + " AS BLOB), 1, " + std::to_string(longest_text) + ")";
}

// Statements about one table of items, e; "?1" is the row of one.
struct Statements {
  bool is_task;
  std::string item, journal, has_journal;
  std::string rows;
  std::string replaces;    ///< whether one replaces one of a series
  std::string strays;      ///< rows of those whose series is not there
  std::string exceptions;  ///< rows of those that replace one of a series
  std::string properties, recurrence, alarms, attendees, attachments;
};

Statements statements_of(bool is_task, const std::string& items, const std::string& times) {
  const std::string common = "e.id, e.time_created, e.last_modified, " + text_of("e.title") +
                             ", e.priority, e.privacy, e.ical_status, e.flags, e.recurrence_id, "
                             "e.recurrence_id_tz, ";
  const auto of_item = [&](const std::string& table) {
    return " FROM " + table + " x, " + items +
           " e WHERE e.rowid = ?1 AND x.cal_id IS e.cal_id AND x.item_id = e.id";
  };
  const auto lines_of = [&](const std::string& table) {
    return "SELECT " + text_of("x.icalString") + of_item(table);
  };
  const std::string same_time = " AND x.recurrence_id IS e.recurrence_id";
  return {.is_task = is_task,
          .item = "SELECT " + common + times + " FROM " + items + " e WHERE e.rowid = ?1",
          .journal = "SELECT offline_journal FROM " + items + " WHERE rowid = ?1",
          .has_journal = "SELECT 1 FROM pragma_table_info('" + items + "') WHERE name = 'offline_journal'",
          .rows = "SELECT rowid FROM " + items + " ORDER BY rowid",
          .replaces = "SELECT recurrence_id IS NOT NULL FROM " + items + " WHERE rowid = ?1",
          .strays = "SELECT x.rowid FROM " + items +
                    " x WHERE x.recurrence_id IS NOT NULL AND NOT EXISTS (SELECT 1 FROM " + items +
                    " e WHERE e.id = x.id AND e.cal_id IS x.cal_id AND e.recurrence_id IS NULL)",
          .exceptions = "SELECT x.rowid FROM " + items + " x, " + items +
                        " e WHERE e.rowid = ?1 AND x.cal_id IS e.cal_id AND x.id = e.id AND x.recurrence_id "
                        "IS NOT NULL ORDER BY x.recurrence_id",
          .properties = "SELECT x.key, " + text_of("x.value") + of_item("cal_properties") + same_time,
          .recurrence = lines_of("cal_recurrence"),
          .alarms = lines_of("cal_alarms") + same_time,
          .attendees = lines_of("cal_attendees") + same_time,
          .attachments = lines_of("cal_attachments") + same_time};
}

// Of the copy: with them a large calendar takes no square of its time.
constexpr std::array indices{"CREATE INDEX brindle_1 ON cal_events (id)",
                             "CREATE INDEX brindle_2 ON cal_todos (id)",
                             "CREATE INDEX brindle_3 ON cal_properties (item_id)",
                             "CREATE INDEX brindle_4 ON cal_recurrence (item_id)",
                             "CREATE INDEX brindle_5 ON cal_alarms (item_id)",
                             "CREATE INDEX brindle_6 ON cal_attendees (item_id)",
                             "CREATE INDEX brindle_7 ON cal_attachments (item_id)"};

// ---- Times -----------------------------------------------------------------------------------------------

// A zone's own name, or the text of a VTIMEZONE.
std::string zone_in(const std::string& text) {
  if (!text.starts_with("BEGIN:")) return olson_of(text);
  for (const ContentLine& line : content_lines(text))
    if (line.name == "TZID" || line.name == "X-LIC-LOCATION")
      if (const std::string zone = olson_of(line.value); !zone.empty()) return zone;
  return "";
}

std::int64_t seconds_of(std::int64_t microseconds) {
  constexpr std::int64_t million = 1'000'000;
  return microseconds / million - (microseconds % million < 0 ? 1 : 0);
}

bool is_utc(const std::string& zone) { return zone == "UTC" || zone == "Etc/UTC" || zone == "GMT"; }

// Of a zone that nobody knows the clock is the person's own.
Moment zoned(std::int64_t instant, const std::string& name, const std::string& home) {
  const std::string zone_name = is_utc(name) ? "" : zone_in(name);
  const auto zone = Zone::named(zone_name.empty() && !is_utc(name) ? home : zone_name);
  return zone ? Moment::zoned(zone->clock_at(instant), zone->name()) : Moment::instant(instant);
}

// Of a time in UTC as iCalendar has it: behind it, or in a parameter of its line.
Moment moment_in(const ContentLine& line, const std::string& text, const std::string& home) {
  const Moment moment = moment_of(text.substr(0, text.find('/')));  // of a period its beginning
  const std::string zone = parameter(line, "TZID");
  if (moment.kind != Moment::Kind::floating || zone.empty() || zone == "floating") return moment;
  if (is_utc(zone)) return Moment::instant(moment.seconds);
  const std::string name = zone_in(zone);
  return name.empty() && home.empty() ? moment : Moment::zoned(moment.seconds, name.empty() ? home : name);
}

// ---- One item --------------------------------------------------------------------------------------------

std::vector<std::string> split(const std::string& text, char between) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin <= text.size();) {
    const std::size_t end = std::min(text.find(between, begin), text.size());
    parts.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

CalendarItem::Access access_of(const std::string& privacy) {
  if (privacy == "PRIVATE") return CalendarItem::Access::personal;
  return privacy == "CONFIDENTIAL" ? CalendarItem::Access::confidential : CalendarItem::Access::open;
}

Attendee attendee_of(const ContentLine& line) {
  constexpr std::string_view scheme = "mailto:";
  std::string address = line.value;
  if (address.size() >= scheme.size() && is_same_name(address.substr(0, scheme.size()), scheme))
    address.erase(0, scheme.size());
  return {.name = parameter(line, "CN"),
          .address = address,
          .role = parameter(line, "ROLE"),
          .will_come = parameter(line, "PARTSTAT")};
}

class Reader {
 public:
  Reader(const Database& database, std::string path, Packing& packing, Calendar& calendar)
      : database_(database), path_(std::move(path)), packing_(packing), calendar_(calendar) {}

  void add_all(const Statements& from) {
    const Kind kind = from.is_task ? Kind::tasks : Kind::events;
    if (!packing_.wants(kind)) return;
    has_journal_ = false;
    check(database_.each(from.has_journal.c_str(), [&](const Row&) { has_journal_ = true; }));
    // A row that cannot be read ends a statement about all rows, so each is read by one of its own.
    check(database_.each(from.rows.c_str(), [&](const Row& row) {
      if (!replaces_another(from, row.number(0))) add_series(from, row.number(0));
    }));
    check(database_.each(from.strays.c_str(), [&](const Row& row) { add_stray(from, row.number(0)); }));
  }

  bool is_good() const { return is_good_; }

 private:
  void check(bool is_read) { is_good_ = is_good_ && is_read; }

  bool replaces_another(const Statements& from, std::int64_t row) const {
    bool replaces = false;
    return database_.each(from.replaces.c_str(), row, [&](const Row& column) {
      replaces = column.number(0) != 0;
    }) && replaces;
  }

  void add_series(const Statements& from, std::int64_t row) {
    bytes_ = 0;
    auto item = item_in(from, row);
    if (!item) return;
    item->recurrence = recurrence_of(from, row, *item);
    if (item->recurrence.is_there()) item->is_of_unknown_zone = is_of_unknown_zone_;
    // Who is invited to one time of a series has that alone, and a series that does not come again.
    check(database_.each(from.exceptions.c_str(), row, [&](const Row& exception) {
      if (bytes_ < most_bytes)
        if (auto other = item_in(from, exception.number(0))) item->exceptions.push_back(std::move(*other));
    }));
    item->is_simplified |= bytes_ >= most_bytes;
    calendar_.add(*item, path_ + ": " + item->title);
  }

  void add_stray(const Statements& from, std::int64_t row) {
    bytes_ = 0;
    auto item = item_in(from, row);
    if (!item) return;
    item->uid += "-" + time_text(item->replaces.seconds);
    calendar_.add(*item, path_ + ": " + item->title);
  }

  // No value of one that its owner has deleted, and of one that cannot be read.
  std::optional<CalendarItem> item_in(const Statements& from, std::int64_t row) {
    CalendarItem item;
    item.is_task = from.is_task;
    bool is_there = false;
    check(database_.each(from.item.c_str(), row, [&](const Row& columns) {
      is_there = true;
      take_columns(columns, item);
    }));
    if (!is_there) {
      packing_.leave_out(item.is_task ? Kind::tasks : Kind::events, Cause::damaged, path_);
      return std::nullopt;
    }
    if (is_deleted(from, row)) {
      packing_.leave_out(item.is_task ? Kind::tasks : Kind::events, Cause::deleted,
                         path_ + ": " + item.title);
      return std::nullopt;
    }
    take_properties(from, row, item);
    take_alarms(from, row, item);
    take_people(from, row, item);
    take_attachments(from, row, item);
    return item;
  }

  bool is_deleted(const Statements& from, std::int64_t row) {
    bool is_deleted = false;
    if (has_journal_)
      check(database_.each(from.journal.c_str(), row,
                           [&](const Row& column) { is_deleted = column.number(0) == deleted_offline; }));
    return is_deleted;
  }

  std::string text(const Row& row, int column, CalendarItem& item) {
    std::string text = row.text(column);
    bytes_ += text.size();
    item.is_simplified |= text.size() >= longest_text;
    return text;
  }

  Moment moment(const Row& row, int time, int zone, bool is_day) const {
    if (row.is_null(time)) return {};
    const std::int64_t seconds = seconds_of(row.number(time));
    const std::string name = row.text(zone);
    Moment moment = name.empty() || name == "floating" ? Moment::floating(seconds)
                                                       : zoned(seconds, name, calendar_.home_zone());
    if (!is_day) return moment;
    // The beginning of a day in its own zone; an instant is one in UTC's.
    return Moment::day(moment.seconds);
  }

  static Moment instant(const Row& row, int column) {
    return row.is_null(column) ? Moment{} : Moment::instant(seconds_of(row.number(column)));
  }

  void take_columns(const Row& row, CalendarItem& item) {
    item.uid = text(row, id, item);
    item.title = text(row, title, item);
    item.created = instant(row, created);
    item.modified = instant(row, modified);
    item.priority = static_cast<int>(std::clamp<std::int64_t>(row.number(priority), 0, 9));
    item.access = access_of(row.text(privacy));
    item.status = row.text(status) == "NONE" ? "" : row.text(status);
    const bool is_of_days = (row.number(flags) & flag_all_day) != 0;
    item.start = moment(row, start, start_zone, is_of_days);
    const std::string zone = row.text(start_zone);
    is_of_unknown_zone_ = item.start.kind == Moment::Kind::instant && !is_utc(zone);
    item.end = moment(row, end, end_zone, is_of_days);
    item.completed = instant(row, completed);
    if (!row.is_null(percent))
      item.percent = static_cast<int>(std::clamp<std::int64_t>(row.number(percent), 0, 100));
    item.replaces = moment(row, replaces, replaces_zone, (row.number(flags) & flag_replaces_all_day) != 0);
  }

  void take_properties(const Statements& from, std::int64_t row, CalendarItem& item) {
    check(database_.each(from.properties.c_str(), row, [&](const Row& property) {
      if (bytes_ >= most_bytes) return;
      const std::string key = property.text(0);
      if (key == "DESCRIPTION") item.description = text(property, 1, item);
      if (key == "LOCATION") item.location = text(property, 1, item);
      if (key == "CATEGORIES") item.categories = listed_texts(text(property, 1, item));
      if (key == "URL") item.links.push_back(text(property, 1, item));
      if (key == "TRANSP") item.leaves_time_free = property.text(1) == "TRANSPARENT";
    }));
  }

  // The lines of a table that holds them ready.
  template <class Take>
  void each_line(const std::string& statement, std::int64_t row, CalendarItem& item, const Take& take) {
    check(database_.each(statement.c_str(), row, [&](const Row& column) {
      if (bytes_ >= most_bytes) return;
      take(content_lines(text(column, 0, item)));
    }));
  }

  void take_alarms(const Statements& from, std::int64_t row, CalendarItem& item) {
    each_line(from.alarms, row, item, [&](const std::vector<ContentLine>& lines) {
      Alarm alarm;
      bool has_trigger = false;
      for (const ContentLine& line : lines) {
        if (line.name == "TRIGGER") has_trigger = take_trigger(line, item, alarm);
        item.is_simplified |= line.name == "ACTION" && line.value == "EMAIL";
      }
      item.is_simplified |= !has_trigger;
      if (has_trigger) item.alarms.push_back(alarm);
    });
  }

  // "-PT15M", or a time, which is counted from the start.
  bool take_trigger(const ContentLine& line, const CalendarItem& item, Alarm& alarm) const {
    alarm.is_of_end = parameter(line, "RELATED") == "END";
    if (const auto duration = duration_of(line.value)) {
      alarm.seconds_before = -*duration;
      return true;
    }
    const Moment time = moment_of(line.value);
    const Moment& begin = item.start.is_there() ? item.start : item.end;
    if (time.kind != Moment::Kind::instant) return false;
    const auto zone = Zone::named(begin.kind == Moment::Kind::zoned ? begin.zone : calendar_.home_zone());
    const bool is_clock = zone && begin.kind != Moment::Kind::instant;
    alarm.seconds_before = (is_clock ? zone->instant_of(begin.seconds) : begin.seconds) - time.seconds;
    return begin.is_there();
  }

  void take_people(const Statements& from, std::int64_t row, CalendarItem& item) {
    each_line(from.attendees, row, item, [&](const std::vector<ContentLine>& lines) {
      for (const ContentLine& line : lines) {
        if (line.name == "ORGANIZER") item.organizer = attendee_of(line);
        if (line.name == "ATTENDEE") item.attendees.push_back(attendee_of(line));
      }
    });
  }

  void take_attachments(const Statements& from, std::int64_t row, CalendarItem& item) {
    each_line(from.attachments, row, item, [&](const std::vector<ContentLine>& lines) {
      for (const ContentLine& line : lines) {
        if (line.name != "ATTACH") continue;
        // A file within the calendar is none of its addresses.
        const bool is_file = parameter(line, "VALUE") == "BINARY";
        item.is_simplified |= is_file;
        if (!is_file) item.links.push_back(line.value);
      }
    });
  }

  Recurrence recurrence_of(const Statements& from, std::int64_t row, CalendarItem& item) {
    Recurrence recurrence;
    each_line(from.recurrence, row, item, [&](const std::vector<ContentLine>& lines) {
      for (const ContentLine& line : lines) take_recurrence(line, recurrence, item);
    });
    return recurrence;
  }

  void take_recurrence(const ContentLine& line, Recurrence& recurrence, CalendarItem& item) const {
    if (line.name == "RRULE" && recurrence.rule.empty()) return take_rule(line, recurrence, item);
    // A second rule has no place in KOrganizer or Mozilla, nor have rules for leaving out.
    item.is_simplified |= line.name == "RRULE" || line.name == "EXRULE";
    if (line.name != "EXDATE" && line.name != "RDATE") return;
    for (const std::string& time : split(line.value, ',')) {
      const Moment moment = moment_in(line, time, calendar_.home_zone());
      item.is_simplified |= !moment.is_there();
      if (moment.is_there())
        (line.name == "RDATE" ? recurrence.added : recurrence.excluded).push_back(moment);
    }
  }

  static void take_rule(const ContentLine& line, Recurrence& recurrence, CalendarItem& item) {
    constexpr std::string_view until = "UNTIL=";
    for (const std::string& part : split(line.value, ';')) {
      if (part.starts_with(until)) {
        recurrence.until = moment_of(part.substr(until.size()));
        item.is_simplified |= !recurrence.until.is_there();
      } else if (!part.empty()) {
        recurrence.rule += (recurrence.rule.empty() ? "" : ";") + part;
      }
    }
  }

  const Database& database_;
  std::string path_;
  Packing& packing_;
  Calendar& calendar_;
  std::size_t bytes_ = 0;
  bool is_of_unknown_zone_ = false;  // the item that was read last
  bool has_journal_ = false;
  bool is_good_ = true;
};

}  // namespace

bool add_stored_items(const Database& database, const std::string& path, Packing& packing,
                      Calendar& calendar) {
  // One that cannot be made only takes time.
  for (const char* index : indices) static_cast<void>(database.each(index, [](const Row&) {}));
  Reader reader(database, path, packing, calendar);
  reader.add_all(statements_of(
      false, "cal_events", "e.event_start, e.event_start_tz, e.event_end, e.event_end_tz, NULL, NULL, NULL"));
  reader.add_all(statements_of(true, "cal_todos",
                               "e.todo_entry, e.todo_entry_tz, e.todo_due, e.todo_due_tz, e.todo_completed, "
                               "e.todo_completed_tz, e.todo_complete"));
  return reader.is_good();
}

void count_zones(const Database& database, std::map<std::string, std::size_t>& counts) {
  const auto count = [&](const Row& row) {
    const std::string name = row.text(0);
    const std::string zone = is_utc(name) ? "" : zone_in(name);
    if (!zone.empty() && !is_utc(zone)) ++counts[zone];
  };
  static_cast<void>(
      database.each(("SELECT " + text_of("event_start_tz") + " FROM cal_events").c_str(), count));
  static_cast<void>(database.each(
      ("SELECT " + text_of("coalesce(todo_entry_tz, todo_due_tz)") + " FROM cal_todos").c_str(), count));
}

}  // namespace pack
