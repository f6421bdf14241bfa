// The texts of states, line by line.
#ifndef BRINDLE_THINGS_LINES_H
#define BRINDLE_THINGS_LINES_H

#include <string>
#include <string_view>
#include <vector>

namespace things {

/// `value` on one line: a backslash and a line feed are written \\ and \n.
std::string escaped(std::string_view value);
std::string unescaped(std::string_view line);

/// What stands between the borders; at least one part.
std::vector<std::string> parts_of(std::string_view text, char border);

/// parts_of, with the ends of lines as borders.
std::vector<std::string> lines_of(std::string_view text);

/// Takes the word in front of the first blank off, and the blank.
std::string take_word(std::string_view& line);

}  // namespace things

#endif
