#include "process/run/sequence.h"

#include <cstdio>

#include "process/archive/layout.h"
#include "process/desktop/browser.h"
#include "process/desktop/documents.h"
#include "process/desktop/fonts.h"
#include "process/desktop/gnome_defaults.h"
#include "process/desktop/mapped_drives.h"
#include "process/desktop/wallpaper.h"
#include "process/mail/evolution/accounts.h"
#include "process/mail/groupwise.h"
#include "process/mail/kde/accounts.h"
#include "process/mail/mozilla/accounts.h"
#include "process/printers/cups.h"
#include "process/printers/foomatic.h"
#include "process/run/accounts.h"

namespace {

int firefox_launcher(const char* /*root*/) {
  set_to_firefox();
  return 0;
}

using Migrators = std::array<Migrator, system_count>;

constexpr Migrators everywhere(Migrator m) { return {m, m, m, m, m}; }
constexpr Migrators on_known_systems(Migrator m) { return {m, m, m, m, {}}; }

constexpr Migrator none = {};
constexpr Migrator again = Migrator::no_call();
constexpr Migrator suite_mail = {mozilla, "Aboutj to call mozilla mail"};  // Deliberate: part of the output.
constexpr Migrator kmail_mail = {kmail_mail_account, "About to call kmail"};
constexpr Migrator kde_wallpaper = {kdewallpaper, "About to call kdewallpaper"};

// clang-format off
constexpr Step steps[] = {
  // whom             mark                      looks                     for                      GNome                  Linspire       RedFlag        Xandros        any other
  {For::running_user, Mark::preparing_printers, Looks::for_printers,      layout::printers,        {nldprinter,           printer,       printer,       printer,       printer}},
  {For::running_user, Mark::several_users,      Looks::for_several_users, nullptr,                 everywhere(migrate_profiles)},
  {For::running_user, {},                       Looks::for_nothing,       nullptr,                 everywhere(begin_running_user)},
  {For::everybody,    Mark::documents,          Looks::for_documents,     nullptr,                 everywhere(mydocs)},
  {For::everybody,    Mark::desktop,            Looks::for_item,          layout::desktop,         everywhere(desktop)},
  {For::everybody,    Mark::mail,               Looks::for_item,          layout::mail,            {mail_account,         suite_mail,    kmail_mail,    kmail_mail,    none}},
  {For::everybody,    Mark::wallpaper,          Looks::for_item,          layout::wallpaper,       {wallpaper,            kde_wallpaper, kde_wallpaper, kde_wallpaper, none}},
  {For::everybody,    Mark::bookmarks,          Looks::for_item,          layout::bookmarks,       on_known_systems(favourites)},
  {For::everybody,    {},                       Looks::for_nothing,       nullptr,                 {firefox_launcher,     none,          none,          none,          none}},
  {For::everybody,    Mark::cookies,            Looks::for_item,          layout::cookies,         on_known_systems(cookies)},
  {For::running_user, Mark::fonts,              Looks::for_item,          layout::fonts,           on_known_systems(fonts)},
  // Deliberate: part of the output. Red Flag has none for profiles: fonts of several users are everybody's there.
  {For::profiles,     Mark::fonts,              Looks::for_nothing,       nullptr,                 {fonts,                fonts,         none,          fonts,         none}},
  {For::everybody,    Mark::file_extensions,    Looks::for_item,          layout::file_extensions, on_known_systems(file_extensions)},
  {For::everybody,    Mark::mapped_drives,      Looks::for_item,          layout::mapped_drives,   {nautilusmappeddrives, mappeddrives,  mappeddrives,  mappeddrives,  none}},
  // Deliberate: part of the output. On Xandros printers are made, but the mark that repeats their result stays empty.
  {For::running_user, Mark::printers,           Looks::back_at_printers,  nullptr,                 {again,                again,         again,         none,          none}},
  {For::profiles,     Mark::printers,           Looks::for_item,          layout::printers,        on_known_systems(normalprinter)},
  {For::everybody,    Mark::groupwise,          Looks::for_item,          layout::groupwise,       {groupwise,            none,          none,          none,          none}},
};
// clang-format on

}  // namespace

std::span<const Step> sequence() { return steps; }

const Migrator& migrator_of(const Step& step, System system) {
  return step.migrators[static_cast<std::size_t>(system)];
}

bool exists_on(const Step& step, System system) { return migrator_of(step, system).exists; }
