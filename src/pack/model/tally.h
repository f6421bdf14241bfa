// What was found of each kind, what of it is packed, and what is left out and why.
#ifndef BRINDLE_PACK_MODEL_TALLY_H
#define BRINDLE_PACK_MODEL_TALLY_H

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "pack/model/causes.h"
#include "pack/model/kinds.h"

namespace pack {

/// Somebody's numbers. What is told of each thing goes to a file at once, so that the memory does not grow
/// with it.
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

  /// Hands out all remarks in the order in which they came. Throws std::system_error when they cannot be read
  /// again.
  void each_remark(const std::function<void(const Remark&)>& take) const;

 private:
  struct Closing {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  using File = std::unique_ptr<std::FILE, Closing>;

  std::map<Kind, Count> counts_;
  std::map<std::pair<Kind, Cause>, std::uint64_t> causes_;
  File remarks_;
};

}  // namespace pack

#endif
