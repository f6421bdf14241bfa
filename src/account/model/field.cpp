#include "account/model/field.h"

namespace account {

std::string field(std::string_view text) {
  std::string result;
  for (const char c : text) {
    switch (c) {
      case '\\':
        result += "\\\\";
        break;
      case '\t':
        result += "\\t";
        break;
      case '\n':
        result += "\\n";
        break;
      case '\r':
        result += "\\r";
        break;
      default:
        result += c;
    }
  }
  return result;
}

}  // namespace account
