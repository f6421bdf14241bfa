// Names of strangers, made fit to be looked at.
#ifndef BRINDLE_ACCOUNT_SHOWN_H
#define BRINDLE_ACCOUNT_SHOWN_H

#include <cstddef>
#include <string>
#include <string_view>

namespace account {

/// `text` as UTF-8 that only shows characters: each byte that is none, each control character, and each
/// invisible one that would turn the direction of what follows, becomes U+FFFD. Safe for a terminal.
std::string shown(std::string_view text);

/// The columns of a terminal that `text`, which went through shown(), takes.
std::size_t width(std::string_view text);

/// shown(), and safe between the tags of a page and in its quoted values.
std::string escaped(std::string_view text);

}  // namespace account

#endif
