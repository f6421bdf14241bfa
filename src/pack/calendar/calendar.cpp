#include "pack/calendar/calendar.h"

#include <xxhash.h>

#include <cstdio>

#include "pack/calendar/component.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

constexpr std::string_view head =
    "BEGIN:VCALENDAR\n"
    "CALSCALE:GREGORIAN\n"
    "PRODID:-//Brindle//brindle-pack//EN\n"
    "VERSION:2.0\n";
constexpr std::string_view foot = "END:VCALENDAR\n";

// It stands in each item that one becomes.
constexpr std::size_t longest_uid = 1000;

std::string within_mail(const char* name) { return std::string(layout::mail) + "/" + name; }

void copy_to(const Writer& write, const Nameless& file) {
  std::string block(std::size_t{1} << 16, '\0');
  for (std::uint64_t place = 0; const std::size_t count = file.read_at(place, block.data(), block.size());
       place += count)
    write(std::string_view(block).substr(0, count));
}

// What it says, whenever it was written down.
std::string content_of(CalendarItem item, const std::optional<Zone>& home) {
  item.created = item.modified = {};
  return component_of(item, "", home).text;
}

}  // namespace

Calendar::Calendar(Packing& packing, std::string home_zone)
    : packing_(packing),
      home_zone_(std::move(home_zone)),
      home_(Zone::named(home_zone_)),
      events_(folder_for_copies()),
      tasks_(folder_for_copies()) {}

// One without a uid gets one made of what it says, and one with a very long uid one made of that.
bool Calendar::is_new(const CalendarItem& item, std::string& uid) {
  std::string key = item.is_task ? "task " : "event ";
  key += item.uid.empty() ? content_of(item, home_) : "uid " + item.uid;
  const XXH128_hash_t hash = XXH3_128bits(key.data(), key.size());
  char made[48];
  std::snprintf(made, sizeof made, "%016llx%016llx@brindle", static_cast<unsigned long long>(hash.high64),
                static_cast<unsigned long long>(hash.low64));
  uid = item.uid.empty() || item.uid.size() > longest_uid ? made : item.uid;
  return known_.emplace(hash.high64, hash.low64).second;
}

void Calendar::add(const CalendarItem& item, const std::string& from) {
  const Kind kind = item.is_task ? Kind::tasks : Kind::events;
  if (!packing_.wants(kind)) return;
  if (!item.is_task && !item.start.is_there()) return packing_.leave_out(kind, Cause::damaged, from);
  std::string uid;
  const bool is_new_one = is_new(item, uid);
  const Component component = component_of(item, uid, home_);
  if (component.items == 0) return packing_.leave_out(kind, Cause::deleted, from);
  if (!is_new_one) {
    for (std::size_t i = 0; i < component.items; ++i) packing_.leave_out(kind, Cause::there_already, from);
    return;
  }
  (item.is_task ? tasks_ : events_).append(component.text);
  packing_.count(kind, component.text.size());
  for (std::size_t i = 1; i < component.items; ++i) packing_.count(kind, 0);
  if (component.is_simplified) packing_.tell_of(kind, Cause::simplified, from);
  if (component.is_approximate) packing_.tell_of(kind, Cause::other_clock, from);
}

void Calendar::pack(const Nameless& items, const char* folder, const char* name) {
  if (items.size() == 0) return;
  // Some systems leave all of it behind without accounts or contacts, and tasks without a calendar.
  packing_.add_folder(layout::mail);
  packing_.add_folder(layout::mail_accounts);
  for (const char* needed : {layout::contacts, layout::calendar, folder})
    packing_.add_folder(within_mail(needed));
  packing_.add_stream(within_mail(name), items.size() + head.size() + foot.size(), [&](const Writer& write) {
    write(head);
    copy_to(write, items);
    write(foot);
  });
}

void Calendar::pack() {
  pack(events_, layout::calendar, layout::calendar_file);
  pack(tasks_, layout::tasks, layout::tasks_file);
}

}  // namespace pack
