#include "pack/disk/bytes.h"

#include <glib.h>

#include <memory>

namespace pack {

std::string utf8_of_utf16(std::string_view bytes) {
  const std::unique_ptr<char, decltype(&g_free)> text(
      g_convert(bytes.data(), static_cast<gssize>(bytes.size()), "UTF-8", "UTF-16LE", nullptr, nullptr,
                nullptr),
      g_free);
  return text ? text.get() : "";
}

}  // namespace pack
