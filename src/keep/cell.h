// One cell of a table whose rows are lines and whose cells stand between tabs.
#ifndef BRINDLE_KEEP_CELL_H
#define BRINDLE_KEEP_CELL_H

#include <string>
#include <string_view>

namespace keep {

/// The text as a cell: tab, line end and backslash become \t, \n and \\.
inline std::string escaped(std::string_view cell) {
  std::string text;
  for (const char c : cell) {
    switch (c) {
      case '\\':
        text += "\\\\";
        break;
      case '\t':
        text += "\\t";
        break;
      case '\n':
        text += "\\n";
        break;
      default:
        text += c;
    }
  }
  return text;
}

}  // namespace keep

#endif
