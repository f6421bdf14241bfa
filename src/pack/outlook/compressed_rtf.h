// Texts that Outlook keeps as compressed RTF.
#ifndef BRINDLE_PACK_OUTLOOK_COMPRESSED_RTF_H
#define BRINDLE_PACK_OUTLOOK_COMPRESSED_RTF_H

#include <optional>
#include <string>
#include <string_view>

namespace pack {

/// The RTF itself. No value when the bytes are damaged.
std::optional<std::string> plain_rtf(std::string_view compressed);

/// The HTML that Outlook has wrapped into RTF, in UTF-8. No value when the RTF is no wrapping.
std::optional<std::string> html_in_rtf(std::string_view rtf);

/// What somebody reads who looks at RTF, in UTF-8.
std::string text_in_rtf(std::string_view rtf);

}  // namespace pack

#endif
