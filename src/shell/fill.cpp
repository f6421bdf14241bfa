#include "shell/fill.h"

#include <set>
#include <stdexcept>

std::string fill(std::string_view text,
                 std::initializer_list<std::pair<std::string_view, std::string_view>> values) {
  std::string filled;
  std::set<std::string_view> used;
  while (true) {
    const std::size_t open = text.find('@');
    filled += text.substr(0, open);
    if (open == std::string_view::npos) break;
    const std::size_t close = text.find('@', open + 1);
    if (close == std::string_view::npos) throw std::logic_error("a lone @ in a fixed text");
    const std::string_view name = text.substr(open + 1, close - open - 1);
    const std::pair<std::string_view, std::string_view>* value = nullptr;
    for (const auto& candidate : values) {
      if (candidate.first == name) value = &candidate;
    }
    if (value == nullptr) throw std::logic_error("no value for the blank " + std::string(name));
    filled += value->second;
    used.insert(name);
    text.remove_prefix(close + 1);
  }
  if (used.size() != values.size()) throw std::logic_error("a value without a blank");
  return filled;
}
