#include "account/readers/calendar_index.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>

namespace account {
namespace {

// Items without a uid, and files made to keep us busy, have many that are alike.
constexpr int most_candidates = 50;

std::uint64_t hash_of_uid(const Content& content) {
  return std::hash<std::string>()(value_of(content, "UID"));
}

std::vector<std::string> differing(const Content& one, const Content& other) {
  std::vector<std::string> result;
  std::ranges::set_symmetric_difference(one.begin() + 1, one.end(), other.begin() + 1, other.end(),
                                        std::back_inserter(result));
  return result;
}

}  // namespace

CalendarIndex::CalendarIndex(std::string path, Calendars allowed, Decode decode)
    : path_(std::move(path)), decode_(std::move(decode)) {
  struct stat status;
  if (stat(path_.c_str(), &status) != 0) {
    state_ = State::not_there;
  } else if (!S_ISREG(status.st_mode) || access(path_.c_str(), R_OK) != 0) {
    state_ = State::no_file;
  } else {
    CalendarReader reader(file_source(path_));
    for (CalendarItem item; reader.next(item);) add(item);
    const bool too_many = allowed == Calendars::one && reader.roots() > 1;
    if (!reader.is_whole() || too_many) state_ = State::refused;
  }
}

void CalendarIndex::add(const CalendarItem& item) {
  const auto content = content_of(item.text, decode_);
  if (!content) return;
  if (!item.in_a_calendar) {
    outside_.insert(value_of(*content, "UID"));
    return;
  }
  const auto number = static_cast<std::uint32_t>(places_.size());
  places_.push_back({item.place, item.size, false});
  by_content_.emplace(hash_of(*content), number);
  by_uid_.emplace(hash_of_uid(*content), number);
}

bool CalendarIndex::take(const Content& content) {
  if (state_ != State::read) return false;
  const auto [first, last] = by_content_.equal_range(hash_of(content));
  if (first == last) return false;
  places_[first->second].taken = true;
  by_content_.erase(first);
  return true;
}

std::optional<Content> CalendarIndex::like(const Content& content) const {
  std::optional<Content> best;
  std::size_t fewest = 0;
  int seen = 0;
  const auto [first, last] = by_uid_.equal_range(hash_of_uid(content));
  for (auto candidate = first; candidate != last && seen < most_candidates; ++candidate) {
    const Place& place = places_[candidate->second];
    const auto there = place.taken ? std::nullopt : read(place);
    if (!there || there->front() != content.front()) continue;
    ++seen;
    const std::size_t differences = differing(content, *there).size();
    if (best && differences >= fewest) continue;
    best = there;
    fewest = differences;
  }
  return best;
}

std::optional<Content> CalendarIndex::read(const Place& place) const {
  std::ifstream file(path_, std::ios::binary);
  std::string text(place.size, '\0');
  file.seekg(static_cast<std::streamoff>(place.begin));
  file.read(text.data(), static_cast<std::streamsize>(text.size()));
  std::erase(text, '\r');
  return content_of(text, decode_);
}

std::string difference(const Content& one, const Content& other) {
  std::set<std::string> names;
  for (const std::string& property : differing(one, other)) names.insert(name_of(property));
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace account
