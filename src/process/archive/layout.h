// Every name in a migration archive, relative to the archive root or, where the comment says so, to the folder
// named above it. Names are case-sensitive and hold the blanks shown.
#ifndef BRINDLE_PROCESS_ARCHIVE_LAYOUT_H
#define BRINDLE_PROCESS_ARCHIVE_LAYOUT_H

namespace layout {

/// The one folder at the top of an archive: the archive root once unpacked.
inline constexpr const char* root = "Brindle";

/// Control file and profiles of an archive with several users. A profile's folder holds the items below again.
inline constexpr const char* users = "users.txt";
inline constexpr const char* profiles = "Profiles";

/// Documents; the second name only counts without the first.
inline constexpr const char* documents = "My Documents";
inline constexpr const char* documents_otherwise = "Personal";

inline constexpr const char* desktop = "Desktop";
inline constexpr const char* file_extensions = "File Extensions";

/// Mail, calendar and contacts are one item and are looked at when `mail` is there.
inline constexpr const char* mail = "ImapMail";
inline constexpr const char* mail_accounts = "ImapMail/brindle-email-accounts";
inline constexpr const char* calendar = "Calendar";               ///< folder in `mail`
inline constexpr const char* calendar_file = "Calendar/calendar.ics";    ///< in `mail`
inline constexpr const char* tasks = "Tasks";                     ///< folder in `mail`
inline constexpr const char* tasks_file = "Tasks/tasks.ics";             ///< in `mail`
inline constexpr const char* contacts = "Contacts";               ///< folder in `mail`
inline constexpr const char* contacts_file = "Contacts/addressbook.db";  ///< in `mail`
inline constexpr const char* mail_folders = "Mail";
inline constexpr const char* subfolders = ".sbd";  ///< in the name of a folder of subfolders, within `mail_folders`
inline constexpr const char* notes = "Notes";

inline constexpr const char* wallpaper = "Wallpaper";
inline constexpr const char* wallpaper_style = "option.txt";  ///< in `wallpaper`

inline constexpr const char* bookmarks = "Bookmark.htm";
inline constexpr const char* cookies = "Cookies.txt";
inline constexpr const char* konqueror_bookmarks = "bookmarks.xml";
inline constexpr const char* konqueror_cookies = "Cookies2.txt";

inline constexpr const char* fonts = "Fonts";  ///< archive root only: profiles share it
inline constexpr const char* mapped_drives = "Mapped_Drives";

inline constexpr const char* printers = "Printers";
inline constexpr const char* default_printer = "Default.txt";  ///< in `printers`

inline constexpr const char* groupwise = "Groupwise";
inline constexpr const char* groupwise_settings = ".gwuser.xml";  ///< in `groupwise`
inline constexpr const char* groupwise_mailbox = "gwremote";      ///< in `groupwise`

}  // namespace layout

#endif
