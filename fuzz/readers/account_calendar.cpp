// The account's own look at calendars.
#include "account/readers/calendar_index.h"

#include "support/harness.h"

namespace {

std::string as_it_is(std::string_view line) { return std::string(line); }

void check_content(const account::CalendarItem& item) {
  const auto content = account::content_of(item.text, as_it_is);
  if (!content) return;
  // A folded first line is longer.
  fuzz::require(content->front().starts_with(item.kind), "what an item says begins with its kind");
  fuzz::require(account::hash_of(*content) == account::hash_of(*account::content_of(item.text, as_it_is)),
                "an item always says the same");
  for (const std::string& property : *content) {
    static_cast<void>(account::is_readable(property));
    fuzz::require(fuzz::contains(property, account::plain(account::name_of(property))) ||
                      fuzz::contains(property, "\\"),
                  "a property holds its name");
  }
  fuzz::require(account::difference(*content, *content).empty(), "an item does not differ from itself");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::Input(data, size).text());
  account::CalendarReader reader(account::text_source(text));
  std::size_t items = 0, bytes = 0;
  for (account::CalendarItem item; reader.next(item); ++items) {
    if (item.complete) {
      fuzz::require(item.place + item.size <= text.size(), "an item lies in its file");
      fuzz::require(item.place >= bytes, "items come one after the other");
      bytes = item.place + item.size;
    }
    check_content(item);
  }
  fuzz::require(items <= size, "an item has a line");

  const std::string path = fuzz::empty_home() + "/calendar.ics";
  fuzz::write_file(path, text);
  account::CalendarIndex index(path, account::CalendarIndex::Calendars::several, as_it_is);
  account::CalendarReader again(account::file_source(path));
  for (account::CalendarItem item; again.next(item);) {
    const auto content = account::content_of(item.text, as_it_is);
    if (!content || !item.in_a_calendar || index.state() != account::CalendarIndex::State::read) continue;
    static_cast<void>(index.like(*content));
    fuzz::require(index.has(*content) && index.take(*content), "an item is found in its own file");
  }
  return 0;
}
