#include <string>

#include "account/before/before.h"
#include "process/archive/layout.h"

namespace account {

// Evolution's accounts folder, on which everything waits there, is looked at with the accounts.
void foresee_conditions(const Outlook& outlook, std::vector<Warning>& found) {
  const std::string mail = layout::mail, calendar = mail + "/" + layout::calendar,
                    calendar_file = mail + "/" + layout::calendar_file,
                    tasks_file = mail + "/" + layout::tasks_file, contacts = mail + "/" + layout::contacts;
  for (const Person& person : outlook.people) {
    const auto has = [&](const std::string& name) { return outlook.archive.has(person.folder + "/" + name); };
    const auto need = [&](Kind kind, const std::string& name, const std::string& needed) {
      if (has(name) && !has(needed))
        found.push_back({person.login, kind, person.folder + "/" + name, Foresight::needs_folder, needed});
    };
    if (has_evolution(outlook.system)) {
      if (!has(layout::mail_accounts)) continue;
      need(Kind::calendar, calendar_file, contacts);
      need(Kind::tasks, tasks_file, contacts);
      continue;
    }
    need(Kind::mail, layout::mail_folders, mail);
    if (!has_kmail(outlook.system)) continue;
    need(Kind::tasks, tasks_file, calendar);
    need(Kind::notes, layout::notes, mail);
  }
}

}  // namespace account
