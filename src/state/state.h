// Every global that the wizard and the worker share, each with four facts:
//   what it means; who writes it; when; who reads it.
//
// The rule for all of them: entry functions (migrators, callbacks) read them, helpers below take values.
#ifndef BRINDLE_STATE_STATE_H
#define BRINDLE_STATE_STATE_H

#include <linux/limits.h>

#include <atomic>
#include <cstdio>
#include <cstring>

typedef struct _GConfClient GConfClient;

// ---------------------------------------------------------------------------------------------------
// Fixed before the worker starts. The GUI thread writes them; afterwards both threads only read, but for
// OSName and OSVersion, which a later detection may rewrite when /etc has changed.
// ---------------------------------------------------------------------------------------------------

/// Detected system: "Linspire", "Xandros", "RedFlag", "GNome" or "INVALID"; empty until the first
/// detection. Written by getOsVersion, which later only rewrites it when the answer has changed. Read as
/// a System (system/system.h), and printed.
extern char OSName[256];

/// "Any", "4.1", "4.1 Plus" or "INVALID". Written and read like OSName.
extern char OSVersion[256];

/// 1 on a "GNome" system with the Novell Linux Desktop's /opt/gnome tree. Written once by main. Read by
/// the window builders and the help button.
extern int isNLD;

/// The log file. Opened by main before any window exists. Written through write_log by both threads.
extern std::FILE* fp_log;

/// Path of the migration archive, less than 256 bytes. Written by page 2's Next. Read by the worker.
extern char g_filename[256];

/// 1 for an encrypted archive, whose password is known. Written by page 2 right before the worker starts;
/// nobody reads it.
extern int g_isEncrypted;

/// Password of an encrypted archive, tried; empty for another. Written by page 2. Read, then wiped, by the
/// worker once the archive is unpacked.
extern char g_password[256];

/// Source id of the 200 ms progress timeout. Written by page 2's Next before the worker starts. Read by
/// the worker and by page 3's Cancel, which remove the timeout.
extern int timer;

// ---------------------------------------------------------------------------------------------------
// Shared flags. Both threads write and read them; the answer a flag stands for is written first.
// ---------------------------------------------------------------------------------------------------

/// 1 while the printer error dialog is open, and at the start. The worker sets it, the dialog's OK or a
/// decline clears it, the worker polls it. The other three below work the same way for their windows
/// (question.h).
extern std::atomic<int> isPrinterPopupOpen;
extern std::atomic<int> isUserPopupOpen;
extern std::atomic<int> isWindowSelectDriverOpen;
extern std::atomic<int> isWindowSmbUsernamePasswordOpen;

/// 1 once the user has cancelled a running migration. Set by page 3's Cancel. Read by the worker, which then
/// keeps its final pop-ups to itself and asks for no answers, and by the callbacks of questions, which then
/// show no window.
extern std::atomic<int> isKilled;

/// True while there is a worker. Set by page 2's Next before it is started, cleared by the worker as the last
/// thing it does. Read at the end of the program, which waits for it.
extern std::atomic<bool> worker_runs;

/// The worker's temporary directory; null before it is made or when it could not be made. Written once by
/// the worker. Read by the worker, by page 3's Cancel and at the end of the program, hence atomic.
extern std::atomic<char*> dir_name;

// ---------------------------------------------------------------------------------------------------
// Answers of the windows the worker waits for. Written by one side, read by the other, always on the far
// side of one of the flags above.
// ---------------------------------------------------------------------------------------------------

/// Share credentials. Written by the credentials window's Next, emptied by a decline. Read, then wiped, by
/// the worker.
extern char Username[256];
extern char Password[256];

/// Share address shown in the credentials window. Written by the worker before it posts the window.
extern const char* smburl;

/// Title of the credentials window and of the driver window. Written by the worker before it posts one.
extern const char* displaylabel;

/// Answer of the driver window: a foomatic listing line, a PPD file name, or empty. Written by its Next,
/// emptied by a decline. Read by the worker.
extern char selecteddriver[1024];

/// Radio button chosen in the driver window. GUI thread only. Never reset between windows.
enum driver { STPHOTO = 0, STCOLOR = 1, EPSON24 = 2, EPSON9 = 3, DESKJET = 4, LASERJET = 5, SKIP = 6 };
extern enum driver driverselection;

// ---------------------------------------------------------------------------------------------------
// Owned by the worker (and by tests): nobody else reads or writes them while it runs.
// ---------------------------------------------------------------------------------------------------

/// 1 while the run is for the user running the program, 0 while it is for the profile user `cur_user`.
/// Written by the run: 0 at each profile's account, 1 again when the running user's own items begin. Read by
/// current_owner and target_of. Start-up reads it before the worker exists.
extern int isDefaultUser;

/// Login name of the profile being migrated; keeps the last one, a refused one too, after the loop. Written
/// by the run at each entry of "Profiles". Read as isDefaultUser, and by `profiles`.
extern char cur_user[256];

/// 1 for an archive with several users. Written by CheckMultiUser, once the archive is unpacked. Read by
/// process and target_of.
extern int isMultiUser;

/// The "Default" line of users.txt, or null. Written by CheckMultiUser; only printed.
extern char* default_user;

/// Despite the name nothing new: the folder in which an item's folder or file is tested. Written by the run:
/// "Profiles" in the archive root before a profile, that profile's folder for its items, the archive root for
/// the running user's. Read by `item` and its kin, and printed.
extern char new_dir_path[PATH_MAX];

/// Despite the name no folder of fonts: the archive root. Written by the run before the first profile. Read
/// by `profiles`, whose fonts are those of the archive root.
extern char font_dir_path[PATH_MAX];

/// Despite the name nobody's home: the folder that the skeleton home is unpacked in (as its folder "root"),
/// and the tarball it comes from. Empty until one is used. Written whenever the run unpacks it. `homedirpath`
/// is read where new accounts and Konqueror folders are made from it, and removed by the run at its end.
extern char homedirpath[256];
extern char tarfilepath[256];

/// The GConf client: made by the run on "GNome", null on every other system.
extern GConfClient* client;

/// Printer id and driver of the queue being made; `Id` and `Driver` point at buffers of the printer
/// migrators or at selecteddriver, `Id2` and `Driver2` hold the foomatic answer in its single quotes.
extern char* Id;
extern char* Driver;
extern char Id2[256];
extern char Driver2[256];

/// Copies `text` into one of the buffers above.
/// Returns false, and leaves the buffer empty, when it does not fit: a cut path would name another file.
template <std::size_t Size>
bool assign(char (&buffer)[Size], const char* text);

// ---------------------------------------------------------------------------------------------------

template <std::size_t Size>
bool assign(char (&buffer)[Size], const char* text) {
  const std::size_t length = std::strlen(text);
  if (length >= Size) {
    buffer[0] = '\0';
    return false;
  }
  std::memmove(buffer, text, length + 1);  // `text` may be the buffer itself
  return true;
}

#endif
