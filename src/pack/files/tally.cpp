#include "pack/files/tally.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace pack {

namespace {

// One for each person is held.
constexpr std::size_t most_waiting = 4096;

struct Head {
  Kind kind;
  Cause cause;
  std::size_t size;  // of the path behind it, which may hold any byte
};

// What is in a file and what waits for it, from the beginning on.
class Reader {
 public:
  Reader(const Nameless& file, std::string_view rest) : file_(file), rest_(rest) {}

  // False at the end.
  bool read(char* to, std::size_t size) {
    while (size > 0) {
      if (ready_.empty()) take_more();
      if (ready_.empty()) return false;
      const std::size_t count = ready_.copy(to, size);
      ready_.remove_prefix(count);
      to += count;
      size -= count;
    }
    return true;
  }

 private:
  void take_more() {
    const std::size_t count = file_.read_at(place_, block_.data(), block_.size());
    place_ += count;
    ready_ = count > 0 ? std::string_view(block_.data(), count) : std::exchange(rest_, {});
  }

  const Nameless& file_;
  std::string_view rest_;
  std::uint64_t place_ = 0;
  std::array<char, 1 << 14> block_;
  std::string_view ready_;
};

}  // namespace

Tally::Tally() : remarks_(std::make_unique<Nameless>(folder_for_copies())) {}

void Tally::packed(Kind kind, std::uint64_t bytes) {
  Count& count = counts_[kind];
  ++count.found;
  ++count.packed;
  count.bytes += bytes;
}

void Tally::remark(Kind kind, Cause cause, std::string_view path, std::uint64_t bytes) {
  if (is_packed(cause)) {
    packed(kind, bytes);
  } else {
    Count& count = counts_[kind];
    ++count.found;
    ++count.left_out;
  }
  note(kind, cause, path);
}

void Tally::note(Kind kind, Cause cause, std::string_view path) {
  ++causes_[{kind, cause}];
  const Head head{.kind = kind, .cause = cause, .size = path.size()};
  waiting_.append(reinterpret_cast<const char*>(&head), sizeof head);
  waiting_ += path;
  if (waiting_.size() < most_waiting) return;
  remarks_->append(waiting_);
  waiting_.clear();
}

Tally::Count Tally::count(Kind kind) const {
  const auto found = counts_.find(kind);
  return found == counts_.end() ? Count{} : found->second;
}

std::uint64_t Tally::count(Kind kind, Cause cause) const {
  const auto found = causes_.find({kind, cause});
  return found == causes_.end() ? 0 : found->second;
}

Tally::Count Tally::total() const {
  Count total;
  for (const auto& [kind, count] : counts_) {
    total.found += count.found;
    total.packed += count.packed;
    total.left_out += count.left_out;
    total.bytes += count.bytes;
  }
  return total;
}

bool Tally::has_losses() const {
  return std::ranges::any_of(causes_, [](const auto& given) { return is_loss(given.first.second); });
}

void Tally::each_remark(const std::function<void(const Remark&)>& take) const {
  Reader reader(*remarks_, waiting_);
  Remark remark{};
  Head head{};
  while (reader.read(reinterpret_cast<char*>(&head), sizeof head)) {
    remark.kind = head.kind;
    remark.cause = head.cause;
    remark.path.resize(head.size);
    reader.read(remark.path.data(), head.size);
    take(remark);
  }
}

}  // namespace pack
