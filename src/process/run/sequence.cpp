#include "process/run/sequence.h"

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
#include "shell/files.h"
#include "state/state.h"

namespace {

int firefox_launcher(const char* /*root*/) {
  set_to_firefox();
  return 0;
}

// The printer mark is posted where a system has printers of its own; which migrator made them is phase
// business, so any function marks the column.
int posts_printer_mark(const char* /*root*/) { return 0; }

constexpr func_t none = nullptr;

// "Aboutj" has always been spelled so; people search their output for it.
constexpr const char* mail_traces[system_count] = {nullptr, "Aboutj to call mozilla mail",
                                                   "About to call kmail", "About to call kmail", nullptr};
constexpr const char* wallpaper_traces[system_count] = {nullptr, "About to call kdewallpaper",
                                                        "About to call kdewallpaper",
                                                        "About to call kdewallpaper", nullptr};

constexpr Step with_traces(Step step, const char* const (&traces)[system_count]) {
  for (int i = 0; i < system_count; ++i) step.trace[i] = traces[i];
  return step;
}

// clang-format off
constexpr Step steps[] = {
  // whom            what                mark        folder                     GNome                 Linspire        RedFlag              Xandros              any other
  {For::everybody,    Does::documents,    "image_1",  layout::documents,       {mydocs,               mydocs,         mydocs,              mydocs,              mydocs},  {}},
  {For::everybody,    Does::item,         "image_2",  layout::desktop,         {desktop,              desktop,        desktop,             desktop,             desktop}, {}},
  with_traces(
  {For::everybody,    Does::item,         "image_3",  layout::mail,            {mail_account,         mozilla,        kmail_mail_account,  kmail_mail_account,  none},    {}}, mail_traces),
  with_traces(
  {For::everybody,    Does::item,         "image_4",  layout::wallpaper,       {wallpaper,            kdewallpaper,   kdewallpaper,        kdewallpaper,        none},    {}}, wallpaper_traces),
  {For::everybody,    Does::item,         "image_5",  layout::bookmarks,       {favourites,           favourites,     favourites,          favourites,          none},    {}},
  {For::everybody,    Does::call,         nullptr,    nullptr,                 {firefox_launcher,     none,           none,                none,                none},    {}},
  {For::everybody,    Does::item,         "image_6",  layout::cookies,         {cookies,              cookies,        cookies,             cookies,             none},    {}},
  {For::running_user, Does::item,         "image_7",  layout::fonts,           {fonts,                fonts,          fonts,               fonts,               none},    {}},
  {For::profiles,     Does::shared_fonts, nullptr,    nullptr,                 {fonts,                fonts,          none,                fonts,               none},    {}},
  {For::everybody,    Does::item,         "image_8",  layout::file_extensions, {file_extensions,      file_extensions, file_extensions,    file_extensions,     none},    {}},
  {For::everybody,    Does::item,         "image_9",  layout::mapped_drives,   {nautilusmappeddrives, mappeddrives,   mappeddrives,        mappeddrives,        none},    {}},
  {For::running_user, Does::printer_mark, "image_10", nullptr,                 {posts_printer_mark,   posts_printer_mark, posts_printer_mark, none,             none},    {}},
  {For::profiles,     Does::item,         "image_10", layout::printers,        {normalprinter,        normalprinter,  normalprinter,       normalprinter,       none},    {}},
  {For::everybody,    Does::item,         "image_11", layout::groupwise,       {groupwise,            none,           none,                none,                none},    {}},
};
// clang-format on

}  // namespace

std::span<const Step> sequence() { return steps; }

const char* documents_folder(const char* root) {
  return is_folder(root, layout::documents) == 1 ? layout::documents : layout::documents_otherwise;
}
