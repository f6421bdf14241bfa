// Every name in a migration archive that the engine tests for, relative to the archive root. Names are
// case-sensitive and hold the blanks shown. Names inside these folders stand with the migrator that reads
// them.
#ifndef BRINDLE_PROCESS_ARCHIVE_LAYOUT_H
#define BRINDLE_PROCESS_ARCHIVE_LAYOUT_H

namespace layout {

/// The one folder at the top of an archive: the archive root once unpacked.
inline constexpr const char* root = "Brindle";

/// Control file and profiles of an archive with several users.
inline constexpr const char* users = "users.txt";
inline constexpr const char* profiles = "Profiles";

/// Items, in the archive root and in each profile.
inline constexpr const char* documents = "My Documents";
inline constexpr const char* documents_otherwise = "Personal";  ///< only used without "My Documents"
inline constexpr const char* desktop = "Desktop";
inline constexpr const char* mail = "ImapMail";
inline constexpr const char* wallpaper = "Wallpaper";
inline constexpr const char* bookmarks = "Bookmark.htm";
inline constexpr const char* cookies = "Cookies.txt";
inline constexpr const char* fonts = "Fonts";  ///< archive root only: profiles share it
inline constexpr const char* file_extensions = "File Extensions";
inline constexpr const char* mapped_drives = "Mapped_Drives";
inline constexpr const char* printers = "Printers";
inline constexpr const char* groupwise = "Groupwise";

}  // namespace layout

#endif
