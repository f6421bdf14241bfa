// Fills the named blanks of a fixed text.
#ifndef BRINDLE_SHELL_FILL_H
#define BRINDLE_SHELL_FILL_H

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

/// `text` with every @name@ replaced by its value, byte for byte; values are not looked at again, so they
/// may hold anything. An "@" that does not begin a blank is refused.
/// Throws std::logic_error for a blank without a value and for a value without a blank.
///
///   fill("URL=@home@/Documents\n", {{"home", "/root"}})   ->   "URL=/root/Documents\n"
std::string fill(std::string_view text,
                 std::initializer_list<std::pair<std::string_view, std::string_view>> values);

#endif
