#include "account/kinds/case.h"

namespace account {

std::string Case::target() const {
  const std::string_view where = place == nullptr ? "" : place;
  return where.starts_with('/') ? machine + std::string(where) : in_home(where);
}

}  // namespace account
