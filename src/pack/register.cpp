#include "pack/register.h"

#include <array>

#include "pack/browsers/browsers.h"
#include "pack/contacts/contacts.h"
#include "pack/desktop/desktop.h"
#include "pack/files/files.h"
#include "pack/files/outside.h"
#include "pack/machine.h"
#include "pack/mail/mail.h"
#include "pack/outlook/outlook.h"
#include "pack/planner/planner.h"
#include "pack/printers/printers.h"

namespace pack {

namespace {

constexpr std::array all_sources{
    Source{"the home and the folders that the registry names", "My Documents, Desktop", pack_files},
    Source{"Users/Public, and what lies on the disks outside of the people's folders",
           "My Documents of an archive of one person", pack_outside},
    Source{"profiles of Thunderbird, stores of Outlook, Outlook Express, Windows Mail and Windows Live Mail",
           "ImapMail, Mail", pack_mail},
    Source{"profiles of Thunderbird, data files of Outlook, Contacts", "ImapMail/Contacts", pack_contacts},
    Source{"profiles of Thunderbird, data files of Outlook", "ImapMail/Calendar, ImapMail/Tasks",
           pack_calendars},
    Source{"Sticky Notes of Windows 7 to 11, data files of Outlook", "Notes", pack_notes},
    Source{"data files of Outlook that are not unpacked whole", "My Documents", pack_outlook_files},
    Source{R"(Control Panel\Desktop)", "Wallpaper", pack_wallpaper},
    Source{"Network", "Mapped_Drives", pack_drives},
    Source{"profiles of Firefox and the browsers made of Chromium, Favorites", "Bookmark.htm",
           pack_bookmarks},
    Source{"profiles of Firefox", "Cookies.txt", pack_cookies},
    Source{"profiles of the browsers", "nothing", tell_of_passwords},
};

constexpr std::array all_shared_sources{
    SharedSource{"Windows/Fonts, and AppData/Local/Microsoft/Windows/Fonts of all people", "Fonts",
                 pack_fonts},
    SharedSource{
        R"(Control\Print\Printers of the machine, Printers\Connections and default printers of all people)",
        "Printers, Profiles/LOGIN/Printers/Default.txt", pack_printers},
    SharedSource{"Users/Public, and what lies on the disks outside of the people's folders",
                 "nothing in an archive of several", tell_of_outside},
    SharedSource{"the disks themselves", "nothing", tell_of_machine},
};

}  // namespace

std::span<const Source> sources() { return all_sources; }

std::span<const SharedSource> shared_sources() { return all_shared_sources; }

}  // namespace pack
