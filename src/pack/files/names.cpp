#include "pack/files/names.h"

#include <glib.h>

#include <cstdint>
#include <cstdio>
#include <memory>

namespace pack {

namespace {

// FNV-1a: the same name gets the same number wherever it is read.
std::uint32_t number_of(std::string_view name) {
  std::uint32_t number = 2166136261U;
  for (const char byte : name) number = (number ^ static_cast<unsigned char>(byte)) * 16777619U;
  return number;
}

}  // namespace

std::string kept_name(std::string_view name) {
  if (g_utf8_validate(name.data(), static_cast<gssize>(name.size()), nullptr)) return std::string(name);
  const std::unique_ptr<char, decltype(&g_free)> valid(
      g_utf8_make_valid(name.data(), static_cast<gssize>(name.size())), g_free);
  const std::string text = valid.get();
  char number[16];
  std::snprintf(number, sizeof number, "~%08x", number_of(name));
  const std::size_t dot = text.rfind('.');
  return dot == std::string::npos || dot == 0 ? text + number
                                              : text.substr(0, dot) + number + text.substr(dot);
}

}  // namespace pack
