// A calendar file in which things are looked for: what it holds, as hashes.
#ifndef BRINDLE_ACCOUNT_READERS_CALENDAR_INDEX_H
#define BRINDLE_ACCOUNT_READERS_CALENDAR_INDEX_H

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "account/readers/calendar.h"

namespace account {

/// Memory: about 100 bytes an item.
class CalendarIndex {
 public:
  enum class State {
    read,
    not_there,
    no_file,  ///< something else than a file, or one that must not be read
    refused,  ///< the target program's library does not take it
  };
  enum class Calendars { one, several };

  /// Reads the file at `path`. `allowed`: how many calendars in a row its program takes.
  CalendarIndex(std::string path, Calendars allowed, Decode decode);

  State state() const { return state_; }

  /// True when the file has an item that says just this; each is given once.
  bool take(const Content& content);

  /// True when the file has such an item that has not been taken.
  bool has(const Content& content) const {
    return state_ == State::read && by_content_.contains(hash_of(content));
  }

  /// Of the items with this uid that have not been taken, what the one says that is most like `content`.
  std::optional<Content> like(const Content& content) const;

  /// True when an item with this uid stands outside of the calendars, where its program does not look.
  bool has_outside(const std::string& uid) const { return outside_.contains(uid); }

 private:
  struct Place {
    std::uint64_t begin;
    std::uint32_t size;
    bool taken;
  };

  void add(const CalendarItem& item);
  std::optional<Content> read(const Place& place) const;

  std::string path_;
  Decode decode_;
  State state_ = State::read;
  std::vector<Place> places_;
  std::unordered_multimap<std::uint64_t, std::uint32_t> by_content_, by_uid_;
  std::unordered_set<std::string> outside_;
};

/// The names of the properties in which the two differ, in order: "DTSTART, SUMMARY"; empty when they say the
/// same.
std::string difference(const Content& one, const Content& other);

}  // namespace account

#endif
