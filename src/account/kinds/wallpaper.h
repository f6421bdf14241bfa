// The picture behind the desktop.
#ifndef BRINDLE_ACCOUNT_KINDS_WALLPAPER_H
#define BRINDLE_ACCOUNT_KINDS_WALLPAPER_H

#include "account/kinds/case.h"

namespace account {

/// A picture has arrived when it lies in the home byte for byte, the desktop's settings name it, and it is
/// centred, stretched or tiled as it was. On KDE it has another name then and counts as changed. Of several
/// pictures one is the desktop's: on GNOME the others have arrived as files, on KDE they are missing.
void compare_wallpaper(const Case& of, Tally& tally);

}  // namespace account

#endif
