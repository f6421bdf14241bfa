#include <dirent.h>
#include <sys/stat.h>

#include <memory>
#include <string>

#include "account/before/before.h"
#include "account/before/compared.h"
#include "account/kinds/entries.h"
#include "account/kinds/register.h"
#include "process/archive/layout.h"

namespace account {
namespace {

bool exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

// ---- Single files that a run writes anew ---------------------------------------------------------------

enum class On { evolution, mozilla, kmail, kde, everywhere };

bool holds(On on, System system) {
  switch (on) {
    case On::evolution:
      return has_evolution(system);
    case On::mozilla:
      return system == System::linspire;
    case On::kmail:
      return has_kmail(system);
    case On::kde:
      return !has_evolution(system);
    case On::everywhere:
      return true;
  }
  return false;
}

// A file of the home, what in the archive makes the run write it, and what becomes of it. "@browser@" and
// "@mozilla@" stand for profiles.
struct Spot {
  On on;
  Kind kind;
  const char* cause;
  const char* file;
  Foresight what = Foresight::replaced;
};

constexpr Spot spots[] = {
    {On::evolution, Kind::mail_accounts, layout::mail_accounts, ".gconf/apps/evolution/mail/%gconf.xml"},
    {On::evolution, Kind::calendar, "ImapMail/Calendar", ".evolution/calendar/local/system/calendar.ics"},
    {On::evolution, Kind::tasks, "ImapMail/Tasks", ".evolution/tasks/local/system/tasks.ics"},
    {On::evolution, Kind::contacts, "ImapMail/Contacts",
     ".evolution/addressbook/local/system/addressbook.db"},
    {On::evolution, Kind::calendar, "ImapMail/Calendar", "evolution/local/Calendar/calendar.ics"},
    {On::evolution, Kind::tasks, "ImapMail/Tasks", "evolution/local/Tasks/tasks.ics"},
    {On::evolution, Kind::contacts, "ImapMail/Contacts", "evolution/local/Contacts/addressbook.db"},
    {On::evolution, Kind::drives, layout::mapped_drives, ".nautilus/bookmarks.xml", Foresight::removed},
    {On::evolution, Kind::wallpaper, layout::wallpaper, ".gconf/desktop/gnome/background/%gconf.xml"},
    {On::kmail, Kind::mail_accounts, layout::mail_accounts, ".kde/share/config/kmailrc", Foresight::removed},
    {On::kmail, Kind::calendar, "ImapMail/Calendar", ".kde/share/apps/korganizer/std.ics"},
    {On::kmail, Kind::notes, layout::notes, ".kde/share/apps/knotes/notes.ics"},
    {On::kmail, Kind::contacts, layout::mail, ".kde/share/apps/kabc/std.vcf", Foresight::added_to},
    {On::mozilla, Kind::mail_accounts, layout::mail_accounts, "@mozilla@/prefs.js"},
    {On::mozilla, Kind::calendar, "ImapMail/Calendar", "@mozilla@/Calendar/CalendarDataFile.ics"},
    {On::mozilla, Kind::tasks, "ImapMail/Tasks", "@mozilla@/Calendar/CalendarDataFile.ics",
     Foresight::added_to},
    {On::kde, Kind::drives, layout::mapped_drives, ".kde/share/apps/konqueror/bookmarks.xml",
     Foresight::added_to},
    {On::everywhere, Kind::bookmarks, layout::bookmarks, "@browser@/bookmarks.html"},
    {On::everywhere, Kind::cookies, layout::cookies, "@browser@/cookies.txt"},
};

// The first entry of `folder`, in its order, that can be a profile; empty when there is none.
std::string profile_in(const std::string& folder) {
  const std::unique_ptr<DIR, int (*)(DIR*)> open(opendir(folder.c_str()), closedir);
  while (const dirent* const entry = open ? readdir(open.get()) : nullptr) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != ".." && name != "pluginreg.dat" && name != "profiles.ini")
      return folder + "/" + entry->d_name;
  }
  return "";
}

// With the profiles put in; empty when the profile is not there.
std::string path_of(const Spot& spot, const Person& person, const Outlook& outlook) {
  const std::string file = spot.file;
  if (!file.starts_with('@')) return person.home + "/" + file;
  const bool firefox = file.starts_with("@browser@") && exists(outlook.machine + "/usr/bin/firefox");
  const std::string profile = profile_in(person.home + (firefox ? "/.mozilla/firefox" : "/.mozilla/default"));
  return profile.empty() ? "" : profile + file.substr(file.find('/'));
}

void look_at_spots(const Outlook& outlook, const Person& person, std::vector<Warning>& found) {
  for (const Spot& spot : spots) {
    if (!holds(spot.on, outlook.system) || !outlook.archive.has(person.folder + "/" + spot.cause)) continue;
    const std::string path = path_of(spot, person, outlook);
    if (!path.empty() && exists(path)) {
      found.push_back({person.login, spot.kind, path, spot.what, ""});
    }
  }
}

// ---- Files that are copied over others -----------------------------------------------------------------

bool has_other_content(Cause cause) { return cause == Cause::differs || cause == Cause::shorter; }

bool is_plain_file_kind(Kind kind) {
  return kind == Kind::documents || kind == Kind::desktop || kind == Kind::shared_files ||
         kind == Kind::fonts || kind == Kind::groupwise;
}

void look_at_copies(const Outlook& outlook, const Person& person, std::vector<Warning>& found) {
  for (const Row& row : rows()) {
    if (!is_plain_file_kind(row.kind)) continue;
    const Tally tally = compared(outlook, person, row);
    for (const Missing& thing : tally.missing())
      if (has_other_content(thing.cause))
        found.push_back({person.login, row.kind, thing.name, Foresight::replaced, ""});
  }
}

// Mail folders are copied as whole files into Evolution's and Mozilla's trees.
void look_at_mail(const Outlook& outlook, const Person& person, std::vector<Warning>& found) {
  std::string target;
  if (has_evolution(outlook.system) && exists(person.home + "/.evolution"))
    target = person.home + "/.evolution/mail/local/";
  if (outlook.system == System::linspire)
    target = profile_in(person.home + "/.mozilla/default") + "/Mail/Local Folders/";
  if (target.empty()) return;
  const std::string folder = person.folder + "/" + layout::mail_folders;
  for (const Entry& entry : outlook.archive.below(folder)) {
    const std::string name(name_within(entry, folder));
    if (entry.folder || !exists(target + name)) continue;
    Tally tally;
    compare_file(outlook.archive, entry, target + name, name, tally);
    if (!tally.missing().empty())
      found.push_back({person.login, Kind::mail, target + name, Foresight::replaced, ""});
  }
}

}  // namespace

void foresee_replaced(const Outlook& outlook, std::vector<Warning>& found) {
  for (const Person& person : outlook.people) {
    look_at_spots(outlook, person, found);
    look_at_copies(outlook, person, found);
    look_at_mail(outlook, person, found);
  }
}

}  // namespace account
