#include "pack/files/names.h"

#include <glib.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>

#include "pack/files/texts.h"

namespace pack {

namespace {

constexpr std::size_t longest_name = 255;
constexpr std::size_t longest_ending = 32;

// FNV-1a: the same name gets the same number wherever it is read.
std::uint32_t number_of(std::string_view name, std::uint32_t number = 2166136261U) {
  for (const char byte : name) number = (number ^ static_cast<unsigned char>(byte)) * 16777619U;
  return number;
}

std::string without_halves(std::string_view name) {
  const std::unique_ptr<char, decltype(&g_free)> valid(
      g_utf8_make_valid(name.data(), static_cast<gssize>(name.size())), g_free);
  return valid.get();
}

constexpr bool is_control(char c) { return static_cast<unsigned char>(c) < 0x20 || c == '\x7f'; }

// The ";" in front of what unzip takes for a version: digits up to the end, or none.
std::size_t version_of(std::string_view name) {
  const std::size_t last = name.find_last_not_of("0123456789");
  return last != std::string_view::npos && name[last] == ';' ? last : std::string_view::npos;
}

}  // namespace

std::string numbered(const std::string& name, std::string_view of) {
  char number[16];
  std::snprintf(number, sizeof number, "~%08x", number_of(name, number_of(of)));
  const std::size_t dot = name.rfind('.');
  const bool has_ending = dot != std::string::npos && dot != 0 && name.size() - dot <= longest_ending;
  const std::string ending = number + (has_ending ? name.substr(dot) : "");
  return std::string(beginning(std::string_view(name).substr(0, has_ending ? dot : name.size()),
                               longest_name - ending.size())) +
         ending;
}

std::string kept_name(std::string_view name) {
  std::string kept = without_halves(name);
  std::ranges::replace_if(kept, is_control, '_');
  if (const std::size_t version = version_of(kept); version != std::string::npos) kept[version] = '_';
  return kept == name && name.size() <= longest_name ? kept : numbered(kept, name);
}

}  // namespace pack
