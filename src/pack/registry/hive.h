// A file of the Windows registry.
#ifndef BRINDLE_PACK_REGISTRY_HIVE_H
#define BRINDLE_PACK_REGISTRY_HIVE_H

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pack/disk/tree.h"

struct hive_h;

namespace pack {

/// Keys are named by their path, "Control Panel\Desktop"; case does not matter. What is not there, of another
/// type or damaged is an empty answer; `is_damaged` tells the last of these from the others.
class Hive {
 public:
  /// Reads the hive `path` of a tree. No value when it is not there, cannot be read, or is none.
  static std::optional<Hive> open(const Tree& tree, const std::string& path);

  /// A text (REG_SZ, REG_EXPAND_SZ), in UTF-8, as it stands.
  std::optional<std::string> text(std::string_view key, std::string_view value) const;

  /// A number (REG_DWORD).
  std::optional<std::uint32_t> number(std::string_view key, std::string_view value) const;

  /// The bytes of a value of any type.
  std::optional<std::string> bytes(std::string_view key, std::string_view value) const;

  /// The names of the keys below a key, and of its values, in the hive's order.
  std::vector<std::string> keys(std::string_view key) const;
  std::vector<std::string> values(std::string_view key) const;

  /// True when Windows was not shut down properly: the last changes are missing.
  bool is_dirty() const { return is_dirty_; }

  /// True when one of the questions so far has met damage: something may be there that was not found.
  bool is_damaged() const { return is_damaged_; }

 private:
  struct Closing {
    void operator()(hive_h* hive) const;
  };
  using Handle = std::unique_ptr<hive_h, Closing>;

  Hive(Handle hive, bool is_dirty) : hive_(std::move(hive)), is_dirty_(is_dirty) {}
  template <typename Question>
  auto ask(Question question) const;
  template <typename Handles, typename Name>
  std::vector<std::string> names_of(Handles* list, Name name) const;
  std::size_t find(std::string_view key) const;
  std::size_t find(std::string_view key, std::string_view value) const;

  Handle hive_;
  bool is_dirty_;
  mutable bool is_damaged_ = false;
};

}  // namespace pack

#endif
