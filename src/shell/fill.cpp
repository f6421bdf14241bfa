#include "shell/fill.h"

#include <algorithm>
#include <set>
#include <stdexcept>

namespace {

using Values = std::initializer_list<std::pair<std::string_view, std::string_view>>;

std::string_view value_of(std::string_view name, const Values& values) {
  const auto found = std::ranges::find(values, name, [](const auto& value) { return value.first; });
  if (found == values.end()) throw std::logic_error("no value for the blank " + std::string(name));
  return found->second;
}

}  // namespace

std::string fill(std::string_view text, Values values) {
  std::string filled;
  std::set<std::string_view> used;
  for (std::size_t open = text.find('@'); open != std::string_view::npos; open = text.find('@')) {
    const std::size_t close = text.find('@', open + 1);
    if (close == std::string_view::npos) throw std::logic_error("a lone @ in a fixed text");
    const std::string_view name = text.substr(open + 1, close - open - 1);
    filled.append(text.substr(0, open)).append(value_of(name, values));
    used.insert(name);
    text.remove_prefix(close + 1);
  }
  if (used.size() != values.size()) throw std::logic_error("a value without a blank");
  return filled.append(text);
}
