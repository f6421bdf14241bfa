// What an item says, as text alone.
#ifndef BRINDLE_PACK_OUTLOOK_PLAIN_TEXT_H
#define BRINDLE_PACK_OUTLOOK_PLAIN_TEXT_H

#include <string>
#include <string_view>

#include "pack/outlook/properties.h"

namespace pack {

struct PlainText {
  std::string text;      ///< UTF-8
  bool is_whole = true;  ///< false: the item has a text that cannot be read, or is too long
};

/// The text of an item; where it has none as text, that of its HTML or its RTF.
PlainText plain_text_of(const Properties& item);

/// What somebody reads who looks at HTML in UTF-8.
std::string text_of_html(std::string_view html);

}  // namespace pack

#endif
