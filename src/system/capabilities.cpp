#include "system/capabilities.h"

#include <algorithm>
#include <iterator>

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
     .gconf = true,
     .first_start = FirstStart::gnome,
     .skeleton = &gnome_skeleton,
     .make_account = usual_account,
     .link_icon = "X-Nautilus-Icon=gnome-fs-directory",
     .driver_answers = DriverAnswers::ppd_files,
     .language_from_ctype = true,
     .first_row = 41,
     .row_pitch = 21},

    {.name = "Linspire",
     .first_start = FirstStart::from_skeleton,
     .skeleton = &linspire_skeleton,
     .make_account = linspire_account,
     .repairs_source_lists = false,
     .share_in_konqueror = true,
     .kde_tiled = 2,  // Deliberate: part of the output.
     .driver_answers = DriverAnswers::kde_lines,
     .progress_moves = false,  // Deliberate: part of the output. The bar stands still during the whole run.
     .unset_rows = {Mark::groupwise}},

    {.name = "RedFlag",
     .first_start = FirstStart::from_skeleton,
     .skeleton = &redflag_skeleton,
     .make_account = redflag_account,
     .repairs_source_lists = false,
     .link_icon = "Icon=folder",
     .documents_on_desktop = true,
     .share_in_konqueror = true,
     .fonts_for_everybody = true,
     .brings_terminal_settings = true,
     .kde_tiled = 2,  // Deliberate: part of the output.
     .driver_answers = DriverAnswers::redflag_lines,
     .landscape_option = "orientation-requested=4",
     .first_row = 44,
     .hidden_rows = {Mark::groupwise}},

    {.name = "Xandros",
     .first_start = FirstStart::of_programs,
     .make_account = usual_account,
     .driver_answers = DriverAnswers::kde_lines,
     .unset_rows = {Mark::printers, Mark::groupwise}},

    {.make_account = usual_account,
     .driver_answers = DriverAnswers::kde_lines,
     .unset_rows = {Mark::mail, Mark::wallpaper, Mark::bookmarks, Mark::cookies, Mark::fonts,
                    Mark::file_extensions, Mark::mapped_drives, Mark::printers, Mark::groupwise}},
};
static_assert(std::size(rows) == system_count);
static_assert(std::ranges::all_of(rows, [](const Capabilities& row) {
  return row.make_account != nullptr && row.driver_answers != DriverAnswers{};
}));

}  // namespace

const Capabilities& capabilities(System system) { return rows[static_cast<int>(system)]; }
