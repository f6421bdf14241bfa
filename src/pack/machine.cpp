#include "pack/machine.h"

#include <array>
#include <string_view>
#include <system_error>

namespace pack {

namespace {

constexpr std::string_view sleeping_memory = "hiberfil.sys";

// The file of a Windows that sleeps begins so; of one that has woken up it begins with something else.
bool sleeps(const Tree& tree, const std::string& file) {
  std::array<char, 4> begin{};
  try {
    if (tree.open(file)->read(begin.data(), begin.size()) != begin.size()) return false;
  } catch (const std::system_error&) {
    return false;
  }
  const std::string_view sign(begin.data(), begin.size());
  return sign == "hibr" || sign == "HIBR";
}

std::string on_drive(char letter, const std::string& path) { return std::string(1, letter) + ":/" + path; }

}  // namespace

void tell_of_machine(Packing& shared, const Machine& machine) {
  for (const auto& [cause, path] : machine.gaps) shared.tell_of(Kind::others, cause, path);
  for (const auto& [letter, tree] : machine.disk.volumes()) {
    const auto file = find(*tree, "", sleeping_memory);
    if (file && sleeps(*tree, file->path))
      shared.tell_of(Kind::others, Cause::hibernated, on_drive(letter, file->path));
    if (tree->is_dirty()) shared.tell_of(Kind::others, Cause::volume_dirty, on_drive(letter, ""));
  }
  for (const auto& [letter, tree] : machine.disk.volumes())
    for (const std::string& folder : tree->unlisted())
      shared.tell_of(Kind::others, Cause::unreadable, on_drive(letter, folder));
}

}  // namespace pack
