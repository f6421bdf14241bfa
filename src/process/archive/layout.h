// Every name in a migration archive with its place. Names are case-sensitive and hold the blanks shown.
//
// A name lies in the archive root and, when the archive has several users, in the folder of each of them
// again, unless its comment names another place.
#ifndef BRINDLE_PROCESS_ARCHIVE_LAYOUT_H
#define BRINDLE_PROCESS_ARCHIVE_LAYOUT_H

namespace layout {

/// At the top of the archive: the archive root, once unpacked. What lies beside it is not looked at.
inline constexpr const char* root = "Brindle";

/// In the archive root only: who is in an archive of several users, and a folder for each, named after the
/// login name.
inline constexpr const char* users = "users.txt";
inline constexpr const char* profiles = "Profiles";

/// In the archive root only, written by whoever packs: what was found and packed, and what was left out. A
/// run does not look at them.
inline constexpr const char* packed_counts = "packed.tsv";
inline constexpr const char* packed_remarks = "left out.tsv";

/// Documents; the second name only counts without the first.
inline constexpr const char* documents = "My Documents";
inline constexpr const char* documents_otherwise = "Personal";

inline constexpr const char* desktop = "Desktop";
inline constexpr const char* file_extensions = "File Extensions";

/// Mail, calendar, contacts and notes are one item and are looked at when `mail` is there.
inline constexpr const char* mail = "ImapMail";
inline constexpr const char* mail_accounts = "ImapMail/brindle-email-accounts";  ///< a file for each account
inline constexpr const char* calendar = "Calendar";                              ///< in `mail`
inline constexpr const char* calendar_file = "Calendar/calendar.ics";            ///< in `mail`
inline constexpr const char* tasks = "Tasks";                                    ///< in `mail`
inline constexpr const char* tasks_file = "Tasks/tasks.ics";                     ///< in `mail`
inline constexpr const char* contacts = "Contacts";                              ///< in `mail`
inline constexpr const char* contacts_file = "Contacts/addressbook.db";          ///< in `mail`
inline constexpr const char* mail_folders = "Mail";
inline constexpr const char* inbox = "Inbox";  ///< in `mail_folders`, like the next four
inline constexpr const char* sent = "Sent";
inline constexpr const char* outbox = "Outbox";
inline constexpr const char* drafts = "Drafts";
inline constexpr const char* trash = "Trash";
inline constexpr const char* subfolders =
    ".sbd";  ///< in the name of a folder of subfolders, within `mail_folders`
inline constexpr const char* notes = "Notes";

inline constexpr const char* wallpaper = "Wallpaper";
inline constexpr const char* wallpaper_style = "option.txt";  ///< in `wallpaper`, beside the picture

inline constexpr const char* bookmarks = "Bookmark.htm";
inline constexpr const char* cookies = "Cookies.txt";
inline constexpr const char* konqueror_bookmarks = "bookmarks.xml";  ///< not looked at by a run
inline constexpr const char* konqueror_cookies = "Cookies2.txt";     ///< not looked at by a run

inline constexpr const char* fonts = "Fonts";  ///< in the archive root only: the users share them
inline constexpr const char* mapped_drives = "Mapped_Drives";

inline constexpr const char* printers = "Printers";
inline constexpr const char* default_printer = "Default.txt";  ///< in `printers`

inline constexpr const char* groupwise = "Groupwise";
inline constexpr const char* groupwise_settings = ".gwuser.xml";  ///< in `groupwise`
inline constexpr const char* groupwise_mailbox = "gwremote";      ///< in `groupwise`

}  // namespace layout

#endif
