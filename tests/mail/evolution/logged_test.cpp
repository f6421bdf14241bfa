// Which commands the system log tells of when they fail.
#include <gtest/gtest.h>

#include "mail/evolution/homes.h"
#include "mail/logged.h"
#include "process/mail/evolution/new_home.h"
#include "process/mail/evolution/personal.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using logged::Row;

void lists() { updateTasksGconf(); }
void data() { calendar_contacts_tasks("/tmp/b/ImapMail"); }

constexpr const char* evolution_2 = "mkdir -p /root/.evolution/mail/local";

class EvolutionCommand : public testing::TestWithParam<Row> {};

TEST_P(EvolutionCommand, ThatFailsIsLoggedOrNot) {
  const Row& row = GetParam();
  install_evolution();
  for (const char* file : {"Calendar/calendar.ics", "Tasks/tasks.ics", "Contacts/addressbook.db"})
    write_file(std::string("/tmp/b/ImapMail/") + file, "a\n");
  write_file("/root/.gconf/apps/evolution/tasks/%gconf.xml", "<a>file:///root</a>\n");
  logged::check(row);
}

INSTANTIATE_TEST_SUITE_P(
    All, EvolutionCommand,
    testing::Values(Row{"list_copy", lists, "cp /root/.gconf/apps/evolution/tasks/%gconf.xml "},
                    Row{"list_copy_gone", lists, "rm /root/.gconf/apps/evolution/tasks/%gconftemp.xml"},
                    Row{"end", data, "evolution --force-shutdown", false},
                    Row{"store", data, "mkdir -p /root/.evolution/calendar/local/system", false, evolution_2},
                    Row{"calendar", data, "cp -f /tmp/b/ImapMail/Calendar/calendar.ics "},
                    Row{"contacts", data, "cp -f /tmp/b/ImapMail/Contacts/addressbook.db "},
                    Row{"tasks", data, "cp -f /tmp/b/ImapMail/Tasks/tasks.ics "}),
    logged::name_of);

}  // namespace
