// Lists folders of any size, in order, in a memory that does not grow with them.
#ifndef BRINDLE_PACK_DISK_LISTING_IN_PARTS_H
#define BRINDLE_PACK_DISK_LISTING_IN_PARTS_H

#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "pack/disk/stop.h"
#include "pack/disk/tree.h"

namespace pack {

/// A folder's entries in order, some at a time: its names are gone through as often as is needed, and of what
/// comes next the first ones are kept that the room for them holds. Lists of folders within each other share
/// the room.
///
/// `OpenFolder` is a folder that is open while its next part is read:
///   using Name = ...;                                             ordered as its entries are, none twice
///   void each_name(TAKE take) const;                              calls `take` with each name, in any order
///   std::vector<Entry> entries_of(std::vector<Name> names) const; in any order
///   static std::size_t size_of(const Name& name);                 in bytes, with its entry to be
template <typename OpenFolder>
class ListingInParts : public Listing {
 public:
  using Open = std::function<OpenFolder()>;

  /// `held` is the size of what all lists of a tree hold. What `open` and the folder throw goes through.
  ListingInParts(Open open, std::size_t& held) : open_(std::move(open)), held_(held) { take_more(); }
  ListingInParts(const ListingInParts&) = delete;
  ListingInParts& operator=(const ListingInParts&) = delete;
  ~ListingInParts() override { held_ -= size_; }

  std::optional<Entry> next() override {
    stop_when_asked();
    if (at_ == entries_.size() && !is_last_) take_more();
    return at_ < entries_.size() ? std::optional(std::move(entries_[at_++])) : std::nullopt;
  }

 private:
  using Name = typename OpenFolder::Name;

  static constexpr std::size_t room_for_all = std::size_t{24} << 20;
  static constexpr std::size_t least_room = std::size_t{1} << 16;

  static std::size_t size_of(const std::vector<Name>& names) {
    std::size_t size = 0;
    for (const Name& name : names) size += OpenFolder::size_of(name);
    return size;
  }

  // The first one that is dropped.
  static Name keep_first_half(std::vector<Name>& names) {
    const auto middle = names.begin() + static_cast<std::ptrdiff_t>(names.size() / 2);
    std::ranges::nth_element(names, middle);
    Name end = *middle;
    names.erase(middle, names.end());
    return end;
  }

  void take_more() {
    held_ -= std::exchange(size_, 0);
    entries_.clear();
    at_ = 0;
    const OpenFolder folder = open_();
    const std::size_t room = std::max((room_for_all - std::min(held_, room_for_all)) / 2, least_room);
    std::vector<Name> names;
    std::size_t size = 0;
    std::optional<Name> end;  // what is not before it has had no room
    folder.each_name([&](Name name) {
      if ((last_ && name <= *last_) || (end && name >= *end)) return;
      size += OpenFolder::size_of(name);
      names.push_back(std::move(name));
      if (size <= room) return;
      end = keep_first_half(names);
      size = size_of(names);
    });
    is_last_ = !end;
    if (!names.empty()) last_ = *std::ranges::max_element(names);
    entries_ = folder.entries_of(std::move(names));
    std::ranges::sort(entries_, {}, &Entry::name);
    held_ += size_ = size;
  }

  Open open_;
  std::size_t& held_;
  std::size_t size_ = 0;  // of this one's part of it
  std::vector<Entry> entries_;
  std::size_t at_ = 0;
  std::optional<Name> last_;  // of those that were taken so far
  bool is_last_ = false;
};

}  // namespace pack

#endif
