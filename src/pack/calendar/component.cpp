#include "pack/calendar/component.h"

#include <algorithm>
#include <set>

#include "pack/calendar/lines.h"
#include "pack/calendar/rule.h"
#include "pack/calendar/times.h"
#include "pack/files/texts.h"

namespace pack {

namespace {

constexpr std::int64_t minute = 60;
constexpr std::int64_t hour = 3600;
constexpr std::int64_t day = 86400;
// Of single days that are added to a rule.
constexpr std::size_t most_added = 1000;
constexpr std::int64_t longest_warning = 366 * day;
constexpr std::size_t most_alarms = 1000;
constexpr std::size_t most_for_copies = std::size_t{4} << 20;
// Of the title, that stands in each alarm.
constexpr std::size_t most_for_alarms = std::size_t{1} << 16;
constexpr std::size_t short_text = 120;

// One of iCalendar's.
bool is_word(std::string_view text) {
  constexpr std::size_t longest = 20;
  return !text.empty() && text.size() <= longest &&
         std::ranges::all_of(text, [](char c) { return (c >= 'A' && c <= 'Z') || c == '-'; });
}

class ItemWriter {
 public:
  ItemWriter(const CalendarItem& item, const std::optional<Zone>& home)
      : item_(item),
        times_(item, home),
        duration_(item.end.is_there() ? times_.between(item.start, item.end) : 0),
        texts_(texts_of(item)) {
    result_.is_simplified |= item.is_simplified;
    result_.is_approximate = times_.is_approximate() || item.is_of_unknown_zone;
    result_.is_of_other_zone = times_.is_of_other_zone();
  }

  // One of its times alone, the first one.
  void add(const std::string& uid) { add(uid, 0, texts_); }

  // All of its times. The first one is its start, unless that is left out, which only a rule can say.
  void add_all(const std::string& uid) {
    const std::string rule = rule_of_item();
    find_left_out();
    const auto& added = item_.recurrence.added;
    const bool has_other_times = !added.empty() || !item_.exceptions.empty();
    if (!rule.empty() || !has_other_times || !is_left_out(0)) add(uid, 0, texts_, rule);
    const std::size_t days = std::min(added.size(), most_added);
    const std::size_t whole_days = whole_copies(texts_.size() + uid.size());
    const Texts brief = days > whole_days ? texts_of(brief_of(item_)) : Texts();
    for (std::size_t i = 0; i < days; ++i)
      if (const std::int64_t later = times_.between(begin(), with_time(added[i]));
          later != 0 && !is_left_out(later))
        add(uid + "-" + std::to_string(i + 1), later, i < whole_days ? texts_ : brief);
    result_.is_simplified |= added.size() > days || days > whole_days;
  }

  Component result() && {
    result_.text = std::move(lines_).text();
    return std::move(result_);
  }

 private:
  // What is the same at all of its times, in two parts: how it comes again stands between them.
  struct Texts {
    Lines front, back;
    std::size_t size() const { return front.text().size() + back.text().size(); }
  };

  Texts texts_of(const CalendarItem& item) {
    Texts texts;
    add_texts(item, texts.front);
    add_marks(item, texts.front);
    add_people(item, texts.back);
    add_alarms(item, texts.back);
    return texts;
  }

  // `later` seconds after the item itself, and again by `rule`.
  void add(const std::string& uid, std::int64_t later, const Texts& texts, const std::string& rule = "") {
    ++result_.items;
    lines_.add(item_.is_task ? "BEGIN:VTODO" : "BEGIN:VEVENT");
    lines_.add_text("UID", uid);
    add_stamps();
    add_times(later);
    lines_.add_lines(texts.front);
    if (!rule.empty()) add_recurrence(rule);
    lines_.add_lines(texts.back);
    lines_.add(item_.is_task ? "END:VTODO" : "END:VEVENT");
  }

  void add_stamps() {
    // Every component has one; it says when somebody has last sent it.
    const Moment& stamp = item_.modified.is_there() ? item_.modified : item_.created;
    lines_.add("DTSTAMP:" + time_text(stamp.seconds) + "Z");
    if (item_.created.is_there()) lines_.add("CREATED:" + time_text(item_.created.seconds) + "Z");
    if (item_.modified.is_there()) lines_.add("LAST-MODIFIED:" + time_text(item_.modified.seconds) + "Z");
  }

  const Moment& begin() const { return item_.start.is_there() ? item_.start : item_.end; }

  bool has_end() const { return item_.end.is_there() && (!item_.start.is_there() || duration_ >= 0); }

  void add_times(std::int64_t later) {
    if (item_.start.is_there()) lines_.add(times_.property("DTSTART", item_.start, later));
    const char* const name = item_.is_task ? "DUE" : "DTEND";
    if (has_end() && (item_.is_task || !times_.is_of_days() || duration_ > 0)) {
      lines_.add(times_.property(name, item_.end, later));
    } else if (!item_.is_task && times_.is_of_days()) {
      lines_.add(times_.property(name, item_.start, later + day));
    }
    result_.is_simplified |= item_.end.is_there() && !has_end();
    if (item_.is_task && item_.completed.is_there())
      lines_.add("COMPLETED:" + time_text(times_.instant_of(item_.completed)) + "Z");
  }

  static void add_texts(const CalendarItem& item, Lines& lines) {
    lines.add_text("SUMMARY", item.title);
    lines.add_text("LOCATION", item.location);
    lines.add_text("DESCRIPTION", item.description);
    std::string categories;
    for (const std::string& category : item.categories)
      categories += (categories.empty() ? "" : ",") + escaped(category);
    if (!categories.empty()) lines.add_folded("CATEGORIES:" + categories);
    for (const std::string& link : item.links) lines.add_folded("ATTACH:" + plain(link));
  }

  static void add_marks(const CalendarItem& item, Lines& lines) {
    constexpr int lowest = 9;
    if (item.priority > 0) lines.add("PRIORITY:" + std::to_string(std::min(item.priority, lowest)));
    if (is_word(item.status)) lines.add_folded("STATUS:" + item.status);
    switch (item.access) {
      case CalendarItem::Access::open:
        lines.add("CLASS:PUBLIC");
        break;
      case CalendarItem::Access::personal:
        lines.add("CLASS:PRIVATE");
        break;
      case CalendarItem::Access::confidential:
        lines.add("CLASS:CONFIDENTIAL");
        break;
    }
    if (!item.is_task && item.leaves_time_free) lines.add("TRANSP:TRANSPARENT");
    constexpr int all = 100;
    if (item.is_task && item.percent >= 0)
      lines.add("PERCENT-COMPLETE:" + std::to_string(std::min(item.percent, all)));
  }

  // Empty when there is none that can be written.
  std::string rule_of_item() {
    const Recurrence& recurrence = item_.recurrence;
    if (recurrence.rule.empty()) return "";
    const std::string rule = written_rule(moved_rule(recurrence.rule, times_.days_later(begin())),
                                          recurrence.until.is_there() ? times_.until(recurrence.until) : "");
    result_.is_simplified |= rule.empty();
    return rule;
  }

  void add_recurrence(const std::string& rule) {
    lines_.add_rule(rule);
    for (const Moment& excluded : item_.recurrence.excluded)
      lines_.add(times_.property("EXDATE", with_time(excluded)));
    for (const CalendarItem& exception : item_.exceptions)
      lines_.add(times_.property("EXDATE", with_time(exception.replaces)));
  }

  void find_left_out() {
    for (const Moment& excluded : item_.recurrence.excluded) {
      left_out_.insert(times_.between(begin(), with_time(excluded)));
      if (excluded.kind == Moment::Kind::day) days_left_out_.insert(day_of(excluded.seconds));
    }
    for (const CalendarItem& exception : item_.exceptions)
      left_out_.insert(times_.between(begin(), with_time(exception.replaces)));
  }

  // What begins so many seconds after the item.
  bool is_left_out(std::int64_t later) const {
    return left_out_.contains(later) || days_left_out_.contains(day_of(begin().seconds + later));
  }

  static std::int64_t day_of(std::int64_t clock) { return (clock - ((clock % day) + day) % day) / day; }

  // A day stands for the time of that day at which the item begins.
  Moment with_time(const Moment& moment) const {
    if (moment.kind != Moment::Kind::day || times_.is_of_days()) return moment;
    Moment begin = this->begin();
    begin.seconds = moment.seconds + ((begin.seconds % day) + day) % day;
    return begin;
  }

  static void add_people(const CalendarItem& item, Lines& lines) {
    if (!item.organizer.address.empty())
      lines.add_folded("ORGANIZER" + name_of(item.organizer) + ":MAILTO:" + plain(item.organizer.address));
    for (const Attendee& attendee : item.attendees) {
      if (attendee.address.empty()) continue;
      std::string parameters = name_of(attendee);
      if (is_word(attendee.role)) parameters += ";ROLE=" + attendee.role;
      if (is_word(attendee.will_come)) parameters += ";PARTSTAT=" + attendee.will_come;
      lines.add_folded("ATTENDEE" + parameters + ":MAILTO:" + plain(attendee.address));
    }
  }

  static std::string name_of(const Attendee& person) {
    return person.name.empty() ? "" : ";CN=" + in_quotes(person.name);
  }

  void add_alarms(const CalendarItem& item, Lines& lines) {
    const std::size_t count = std::min(item.alarms.size(), most_alarms);
    if (item.alarms.size() > count) tell_of_loss();
    const bool is_short = item.title.size() * count <= most_for_alarms;
    const std::string title(is_short ? item.title : beginning(item.title, short_text));
    const std::string text = title.empty() ? "-" : title;
    for (std::size_t i = 0; i < count; ++i) add_alarm(item.alarms[i], text, lines);
  }

  void add_alarm(const Alarm& alarm, const std::string& text, Lines& lines) {
    if (!item_.start.is_there() && !item_.end.is_there()) return tell_of_loss();
    std::int64_t before = alarm.seconds_before;
    bool is_of_end = alarm.is_of_end || !item_.start.is_there();
    if (is_of_end && !item_.is_task) {
      before -= has_end() ? duration_ : 0;
      is_of_end = false;
    }
    // One behind the start has no place in Mozilla's calendar: it rings at the start.
    if (before < 0 || before > longest_warning) tell_of_loss();
    lines.add("BEGIN:VALARM");
    lines.add("ACTION:DISPLAY");
    lines.add_text("DESCRIPTION", text);
    lines.add(std::string("TRIGGER;VALUE=DURATION") + (is_of_end ? ";RELATED=END" : "") + ":-PT" +
              duration(std::clamp<std::int64_t>(before, 0, longest_warning)));
    lines.add("END:VALARM");
  }

  // In one unit: Mozilla's calendar gets no more.
  static std::string duration(std::int64_t seconds) {
    if (seconds > 0 && seconds % hour == 0) return std::to_string(seconds / hour) + "H";
    return std::to_string((seconds + minute - 1) / minute) + "M";
  }

  void tell_of_loss() { result_.is_simplified = true; }

  const CalendarItem& item_;
  Times times_;
  std::int64_t duration_;  // from its start to its end
  Component result_;
  std::set<std::int64_t> left_out_;       // seconds from its start
  std::set<std::int64_t> days_left_out_;  // by its own clock
  Texts texts_;
  Lines lines_;
};

}  // namespace

std::size_t whole_copies(std::size_t size) { return most_for_copies / (size + 1); }

CalendarItem brief_of(const CalendarItem& item) {
  constexpr std::size_t some_alarms = 5;
  CalendarItem brief;
  brief.is_task = item.is_task;
  brief.title = beginning(item.title, short_text);
  brief.location = beginning(item.location, short_text);
  brief.start = item.start;
  brief.end = item.end;
  brief.created = item.created;
  brief.modified = item.modified;
  brief.priority = item.priority;
  brief.access = item.access;
  brief.leaves_time_free = item.leaves_time_free;
  brief.status = item.status;
  brief.percent = item.percent;
  brief.alarms.assign(item.alarms.begin(),
                      item.alarms.begin() + std::min<std::ptrdiff_t>(std::ssize(item.alarms), some_alarms));
  return brief;
}

Component component_of(const CalendarItem& item, const std::string& uid, const std::optional<Zone>& home) {
  ItemWriter writer(item, home);
  writer.add_all(uid);
  Component all = std::move(writer).result();
  for (const CalendarItem& exception : item.exceptions) {
    ItemWriter other(exception, home);
    other.add(uid + "-" + time_text(exception.replaces.seconds));
    Component one = std::move(other).result();
    all.text += one.text;
    all.items += one.items;
    all.is_simplified |= one.is_simplified;
    all.is_approximate |= one.is_approximate;
    all.is_of_other_zone |= one.is_of_other_zone;
  }
  return all;
}

}  // namespace pack
