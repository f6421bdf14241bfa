#include "account/kinds/left_over.h"

#include <string>

#include "account/before/before.h"

namespace account {

void foresee_left_over(const Outlook& outlook, std::vector<Warning>& found) {
  for (const Person& person : outlook.people)
    for (const LeftOver& other : left_over(outlook.archive, person))
      // What is unsafe or lies outside of the root is named with the entries.
      if (other.reason.cause == Cause::unknown_name)
        found.push_back({person.login, other.kind, std::string(other.name), Foresight::unknown_name, ""});
}

}  // namespace account
