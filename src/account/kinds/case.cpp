#include "account/kinds/case.h"

namespace account {

std::string name_of(const Person& person) {
  const std::size_t folder_of_all = person.folder.find('/');
  return person.is_namesake ? person.folder.substr(folder_of_all + 1) : person.login;
}

std::string Case::target() const {
  const std::string_view where = place == nullptr ? "" : place;
  return where.starts_with('/') ? machine + std::string(where) : in_home(where);
}

}  // namespace account
