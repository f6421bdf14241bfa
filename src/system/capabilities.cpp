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

constexpr MarkSet everywhere = {Mark::preparing_printers, Mark::several_users, Mark::documents,
                                Mark::desktop};
constexpr MarkSet on_known_systems =
    everywhere + MarkSet{Mark::mail,  Mark::wallpaper,       Mark::bookmarks,    Mark::cookies,
                         Mark::fonts, Mark::file_extensions, Mark::mapped_drives};

// In the order of enum System.
constexpr Capabilities rows[] = {
    {.name = "GNome",
     .gconf = true,
     .first_start = FirstStart::gnome,
     .skeleton = &gnome_skeleton,
     .make_account = usual_account,
     .link_icon = "X-Nautilus-Icon=gnome-fs-directory",
     .printers = PrinterTools::cups,
     .language_from_ctype = true,
     .first_row = 22,
     .sets = on_known_systems + MarkSet{Mark::printers, Mark::groupwise}},

    {.name = "Linspire",
     .first_start = FirstStart::from_skeleton,
     .skeleton = &linspire_skeleton,
     .make_account = linspire_account,
     .account_has_evolution = false,
     .share_in_konqueror = true,
     .kde_tiled = 2,
     .progress_moves = false,
     .sets = on_known_systems + MarkSet{Mark::printers}},

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
     .first_row = 26,
     .row_pitch = 23,
     .hidden_rows = {Mark::groupwise},
     .sets = on_known_systems + MarkSet{Mark::printers}},

    // Deliberate: part of the output. Printers are made, but the mark that repeats their result stays empty.
    {.name = "Xandros",
     .first_start = FirstStart::of_programs,
     .make_account = usual_account,
     .sets = on_known_systems},

    {.make_account = usual_account, .sets = everywhere},
};
static_assert(std::size(rows) == system_count);

}  // namespace

const Capabilities& capabilities(System system) { return rows[static_cast<int>(system)]; }
