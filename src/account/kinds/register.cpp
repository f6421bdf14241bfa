#include "account/kinds/register.h"

#include "account/kinds/files.h"
#include "account/kinds/mail.h"
#include "account/kinds/mail_accounts.h"
#include "process/archive/layout.h"

namespace account {
namespace {

using Places = std::array<const char*, system_count>;

constexpr Places everywhere(const char* place) { return {place, place, place, place, place, place}; }

constexpr const char* evolution_settings = ".gconf/apps/evolution/mail/%gconf.xml";

// clang-format off
constexpr Row register_rows[] = {
  // kind                 in the archive           gnome            nld              linspire          xandros          redflag               redflag_plus           how
  {Kind::documents,       layout::documents,       {"Documents",    "Documents",     "Documents",      "Documents",     "Desktop/mydocument", "Desktop/mydocument"}, compare_documents},
  {Kind::desktop,         layout::desktop,         everywhere("Desktop"),                                                                                           compare_desktop},
  {Kind::shared_files,    layout::file_extensions, everywhere("File Extensions"),                                                                                   compare_shared_files},
  {Kind::mail_accounts,   layout::mail_accounts,   {evolution_settings, evolution_settings, ".mozilla/default", ".kde/share/config/kmailrc", ".kde/share/config/kmailrc", ".kde/share/config/kmailrc"}, compare_mail_accounts},
  {Kind::mail,            layout::mail_folders,    {".evolution/mail/local", ".evolution/mail/local", ".mozilla/default", "Mail", "Mail", "Mail"}, compare_mail},
};
// clang-format on

}  // namespace

std::span<const Row> rows() { return register_rows; }

}  // namespace account
