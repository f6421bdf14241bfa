#include "system/capabilities.h"

namespace {

constexpr Skeleton gnome_skeleton = {"/tmp/nldroot", "/usr/local/brindle/nldroot.tar.bz2", true};
constexpr Skeleton linspire_skeleton = {"/tmp/linspireroot", "/usr/local/brindle/linspireroot.tar", false};
constexpr Skeleton redflag_skeleton = {"/tmp/redflagroot", "/usr/local/brindle/redflagroot.tar.bz2", true};

using Text = std::string;

shell::Command usual_account(const Text& login, const Text& home, const Text& skeleton) {
  return compose("useradd %s -d %s -m -k %s/root -g users", login, home, skeleton);
}

shell::Command linspire_account(const Text& login, const Text& home, const Text& skeleton) {
  return compose(
      "useradd %s -d %s -m -k %s/root -G audio,cdrom,cnr,desktop,dialout,dip,disk -s /bin/bash "
      "-g users",
      login, home, skeleton);
}

shell::Command redflag_account(const Text& login, const Text& home, const Text& skeleton) {
  return compose("useradd %s -d %s -m -k %s/root -s /bin/bash -g users", login, home, skeleton);
}

// In the order of enum System.
constexpr Capabilities rows[] = {
    {.name = "GNome",
     .first_start = FirstStart::gnome,
     .skeleton = &gnome_skeleton,
     .make_account = usual_account,
     .account_has_evolution = true,
     .link_icon = "X-Nautilus-Icon=gnome-fs-directory",
     .documents_on_desktop = false,
     .share_in_konqueror = false,
     .fonts_for_everybody = false,
     .brings_terminal_settings = false,
     .kde_tiled = 5,
     .printers = PrinterTools::cups,
     .language_from_ctype = true,
     .progress_moves = true,
     .first_row = 22,
     .row_pitch = 22,
     .hidden_rows = {},
     .sets = {Mark::preparing_printers, Mark::several_users, Mark::documents, Mark::desktop, Mark::mail,
              Mark::wallpaper, Mark::bookmarks, Mark::cookies, Mark::fonts, Mark::file_extensions,
              Mark::mapped_drives, Mark::printers, Mark::groupwise}},

    {.name = "Linspire",
     .first_start = FirstStart::from_skeleton,
     .skeleton = &linspire_skeleton,
     .make_account = linspire_account,
     .account_has_evolution = false,
     .link_icon = "Icon=folder1",
     .documents_on_desktop = false,
     .share_in_konqueror = true,
     .fonts_for_everybody = false,
     .brings_terminal_settings = false,
     .kde_tiled = 2,
     .printers = PrinterTools::foomatic,
     .language_from_ctype = false,
     .progress_moves = false,
     .first_row = 24,
     .row_pitch = 22,
     .hidden_rows = {},  // GroupWise stays in sight although nothing sets it: it says what is left behind
     .sets = {Mark::preparing_printers, Mark::several_users, Mark::documents, Mark::desktop, Mark::mail,
              Mark::wallpaper, Mark::bookmarks, Mark::cookies, Mark::fonts, Mark::file_extensions,
              Mark::mapped_drives, Mark::printers}},

    {.name = "RedFlag",
     .first_start = FirstStart::from_skeleton,
     .skeleton = &redflag_skeleton,
     .make_account = redflag_account,
     .account_has_evolution = false,
     .link_icon = "Icon=folder",
     .documents_on_desktop = true,
     .share_in_konqueror = true,
     .fonts_for_everybody = true,
     .brings_terminal_settings = true,
     .kde_tiled = 2,
     .printers = PrinterTools::foomatic,
     .language_from_ctype = false,
     .progress_moves = true,
     .first_row = 26,
     .row_pitch = 23,
     .hidden_rows = {Mark::groupwise},
     .sets = {Mark::preparing_printers, Mark::several_users, Mark::documents, Mark::desktop, Mark::mail,
              Mark::wallpaper, Mark::bookmarks, Mark::cookies, Mark::fonts, Mark::file_extensions,
              Mark::mapped_drives, Mark::printers}},

    {.name = "Xandros",
     .first_start = FirstStart::of_programs,
     .skeleton = nullptr,
     .make_account = usual_account,
     .account_has_evolution = true,  // in root's home, if at all
     .link_icon = "Icon=folder1",
     .documents_on_desktop = false,
     .share_in_konqueror = false,
     .fonts_for_everybody = false,
     .brings_terminal_settings = false,
     .kde_tiled = 5,
     .printers = PrinterTools::foomatic,
     .language_from_ctype = false,
     .progress_moves = true,
     .first_row = 24,
     .row_pitch = 22,
     .hidden_rows = {},
     .sets = {Mark::preparing_printers, Mark::several_users, Mark::documents, Mark::desktop, Mark::mail,
              Mark::wallpaper, Mark::bookmarks, Mark::cookies, Mark::fonts, Mark::file_extensions,
              Mark::mapped_drives}},

    {.name = "",
     .first_start = FirstStart::none,
     .skeleton = nullptr,
     .make_account = usual_account,
     .account_has_evolution = true,
     .link_icon = "Icon=folder1",
     .documents_on_desktop = false,
     .share_in_konqueror = false,
     .fonts_for_everybody = false,
     .brings_terminal_settings = false,
     .kde_tiled = 5,
     .printers = PrinterTools::foomatic,
     .language_from_ctype = false,
     .progress_moves = true,
     .first_row = 24,
     .row_pitch = 22,
     .hidden_rows = {},
     .sets = {Mark::preparing_printers, Mark::several_users, Mark::documents, Mark::desktop}},
};
static_assert(std::size(rows) == system_count);

}  // namespace

const Capabilities& capabilities(System system) { return rows[static_cast<int>(system)]; }
