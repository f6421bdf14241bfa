// Favourites and cookies of the Windows browser.
#ifndef BRINDLE_PROCESS_DESKTOP_BROWSER_H
#define BRINDLE_PROCESS_DESKTOP_BROWSER_H

// The browser is Firefox where /usr/bin has one, else the Mozilla suite. The profile is the first entry of
// its folder in the home being migrated, in directory order, besides "pluginreg.dat" and "profiles.ini".

/// Makes ARGS/Bookmark.htm the profile's bookmarks.html. Returns 0, also when the copy fails (the system
/// log has it, and the old bookmarks.html stays), or -1: without a home, or after a line on standard error
/// when there is no browser folder or no profile, or the old bookmarks.html could not be kept.
int favourites(const char* args);

/// Makes ARGS/Cookies.txt the profile's cookies.txt, each cookie widened from its host to the host's
/// subdomains by a dot in front. The archive's file is converted to LF line ends on the way.
/// Returns 0, or -1: without a home, or after a line on standard error without folder or profile or when a
/// file cannot be read or written to its end: the old cookies.txt then stays.
int cookies(const char* args);

/// Makes ARGS/bookmarks.xml the Konqueror bookmarks. Not part of a run. Returns SYSTEM's result for the
/// copy, or -1 without a home.
int konquererbookmarks(const char* args);

/// Makes ARGS/Cookies2.txt the Konqueror cookies. Not part of a run. Returns SYSTEM's result for the copy,
/// or -1 without a home.
int konquerercookies(const char* args);

#endif
