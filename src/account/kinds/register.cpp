#include "account/kinds/register.h"

#include "account/kinds/browser.h"
#include "account/kinds/calendar.h"
#include "account/kinds/contacts.h"
#include "account/kinds/drives.h"
#include "account/kinds/evolution_3.h"
#include "account/kinds/files.h"
#include "account/kinds/groupwise.h"
#include "account/kinds/mail.h"
#include "account/kinds/mail_accounts.h"
#include "account/kinds/notes.h"
#include "account/kinds/printers.h"
#include "account/kinds/wallpaper.h"
#include "process/archive/layout.h"

namespace account {
namespace {

using Places = std::array<const char*, system_count>;

constexpr Places everywhere(const char* place) { return {place, place, place, place, place, place}; }

constexpr const char* nautilus = ".nautilus/bookmarks.xml";
constexpr const char* konqueror = ".kde/share/apps/konqueror/bookmarks.xml";
constexpr const char* evolution_settings = ".gconf/apps/evolution/mail/%gconf.xml";
// A "*" stands for the person's profile, whose name nobody knows.
constexpr const char* evolution_calendar = ".evolution/calendar/local/system/calendar.ics";
constexpr const char* evolution_tasks = ".evolution/tasks/local/system/tasks.ics";
constexpr const char* evolution_contacts = ".evolution/addressbook/local/system/addressbook.db";
constexpr const char* mozilla_contacts = ".mozilla/default/*/abook.mab";
constexpr const char* kaddressbook = ".kde/share/apps/kabc/std.vcf";
// "Friends" in Chinese, in GB2312.
constexpr const char* kaddressbook_chinese = ".kde/share/apps/kabc/std.vcf_\xC5\xF3\xD3\xD1";
constexpr const char* knotes = ".kde/share/apps/knotes/notes.ics";
constexpr const char* mozilla_calendar = ".mozilla/default/*/Calendar/CalendarDataFile.ics";
constexpr const char* korganizer = ".kde/share/apps/korganizer/std.ics";

// clang-format off
constexpr Row register_rows[] = {
  // kind                 in the archive           gnome            nld              linspire          xandros          redflag               redflag_plus           how
  {Kind::documents,       layout::documents,       {"Documents",    "Documents",     "Documents",      "Documents",     "Desktop/mydocument", "Desktop/mydocument"}, compare_documents},
  {Kind::desktop,         layout::desktop,         everywhere("Desktop"),                                                                                           compare_desktop},
  {Kind::shared_files,    layout::file_extensions, everywhere("File Extensions"),                                                                                   compare_shared_files},
  {Kind::mail_accounts,   layout::mail_accounts,   {evolution_settings, evolution_settings, ".mozilla/default", ".kde/share/config/kmailrc", ".kde/share/config/kmailrc", ".kde/share/config/kmailrc"}, compare_mail_accounts},
  {Kind::mail,            layout::mail_folders,    {".evolution/mail/local", ".evolution/mail/local", ".mozilla/default", "Mail", "Mail", "Mail"}, compare_mail},
  {Kind::calendar,        layout::calendar_file,   {evolution_calendar, evolution_calendar, mozilla_calendar, korganizer, korganizer, korganizer},                  compare_calendar},
  {Kind::tasks,           layout::tasks_file,      {evolution_tasks,  evolution_tasks,  mozilla_calendar,  korganizer,      korganizer,           korganizer},           compare_tasks},
  {Kind::contacts,        layout::contacts_file,   {evolution_contacts, evolution_contacts, mozilla_contacts, kaddressbook, kaddressbook, kaddressbook_chinese},     compare_contacts},
  {Kind::notes,           layout::notes,           {nullptr,          nullptr,          nullptr,           knotes,           knotes,              knotes},               compare_notes},
  {Kind::wallpaper,       layout::wallpaper,       {"",             "",              "Wallpaper1",     "Wallpaper1",    "Wallpaper1",         "Wallpaper1"},         compare_wallpaper},
  {Kind::bookmarks,       layout::bookmarks,       everywhere(".mozilla"),                                                                                          compare_bookmarks},
  {Kind::cookies,         layout::cookies,         everywhere(".mozilla"),                                                                                          compare_cookies},
  {Kind::fonts,           layout::fonts,           everywhere(".fonts"),                                                                                            compare_fonts},
  {Kind::drives,          layout::mapped_drives,   {nautilus,       nautilus,        konqueror,        konqueror,       konqueror,            konqueror},            compare_drives},
  {Kind::printers,        layout::printers,        everywhere("/etc/cups"),                                                                                         compare_printers},
  {Kind::groupwise,       layout::groupwise,       {"",             "",              nullptr,          nullptr,         nullptr,              nullptr},              compare_groupwise},
};
// clang-format on

}  // namespace

Tally compare(const Row& row, const Case& of) {
  Tally tally;
  row.compare(of, tally);
  if (const auto reason = taken_over(of, row.kind))
    tally.explain(Cause::place_missing, reason->cause, reason->detail);
  return tally;
}

std::span<const Row> rows() { return register_rows; }

}  // namespace account
