// What was found of each kind, what of it is packed, and what is left out and why.
#ifndef BRINDLE_PACK_FILES_TALLY_H
#define BRINDLE_PACK_FILES_TALLY_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pack/disk/nameless.h"
#include "pack/model/causes.h"
#include "pack/model/kinds.h"

namespace pack {

/// Somebody's numbers. What is told of each thing goes to a file of our own, so that the memory does not grow
/// with it; where that has no room calls throw std::runtime_error.
class Tally {
 public:
  /// Of a kind. found is packed + left_out.
  struct Count {
    std::uint64_t found = 0;
    std::uint64_t packed = 0;
    std::uint64_t left_out = 0;
    std::uint64_t bytes = 0;  ///< of what is packed
  };

  /// Something that is told by name.
  struct Remark {
    Kind kind;
    Cause cause;
    std::string path;  ///< as on the disk
  };

  Tally();

  /// Counts something as found and packed.
  void packed(Kind kind, std::uint64_t bytes);

  /// Counts something as found, and as left out or as packed with a change, and notes it.
  void remark(Kind kind, Cause cause, std::string_view path, std::uint64_t bytes = 0);

  /// Notes something about what is counted elsewhere.
  void note(Kind kind, Cause cause, std::string_view path);

  /// The numbers of a kind; zeros when nothing of it was found.
  Count count(Kind kind) const;

  /// How often a cause was given for a kind.
  std::uint64_t count(Kind kind, Cause cause) const;

  /// The sum of all kinds.
  Count total() const;

  /// True when something is left out that a person may miss.
  bool has_losses() const;

  /// Hands out all remarks in the order in which they came.
  void each_remark(const std::function<void(const Remark&)>& take) const;

 private:
  std::map<Kind, Count> counts_;
  std::map<std::pair<Kind, Cause>, std::uint64_t> causes_;
  std::unique_ptr<Nameless> remarks_;
  std::string waiting_;  // remarks that are not yet in it
};

}  // namespace pack

#endif
