#include "account/before/compared.h"

namespace account {

Tally compared(const Outlook& outlook, const Person& person, const Row& row) {
  const Case of = {outlook.archive,
                   person,
                   outlook.system,
                   outlook.several,
                   outlook.as_root,
                   outlook.charset,
                   row.places[static_cast<std::size_t>(outlook.system)],
                   outlook.machine};
  Tally tally;
  row.compare(of, tally);
  return tally;
}

}  // namespace account
