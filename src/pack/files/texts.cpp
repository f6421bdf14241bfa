#include "pack/files/texts.h"

#include <glib.h>

#include <memory>

namespace pack {

std::string_view beginning(std::string_view text, std::size_t most) {
  if (text.size() <= most) return text;
  while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0) == 0x80) --most;
  return text.substr(0, most);
}

std::string in_utf8(std::string_view bytes, const char* charset) {
  const auto size = static_cast<gssize>(bytes.size());
  if (g_utf8_validate(bytes.data(), size, nullptr)) return std::string(bytes);
  for (const char* from : {charset, "ISO-8859-1"}) {
    gsize written = 0;
    const std::unique_ptr<char, decltype(&g_free)> text(
        g_convert(bytes.data(), size, "UTF-8", from, nullptr, &written, nullptr), g_free);
    if (text) return {text.get(), written};
  }
  return "";
}

}  // namespace pack
