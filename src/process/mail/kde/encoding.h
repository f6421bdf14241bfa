// The encoding of an archive's text on the KDE systems.
#ifndef BRINDLE_PROCESS_MAIL_KDE_ENCODING_H
#define BRINDLE_PROCESS_MAIL_KDE_ENCODING_H

#include <string>

/// Takes the text of the file `from` for GB2312 and replaces the file `to` by it in UTF-8. What does not
/// convert is dropped: the text of an archive in another encoding loses letters, "M\xFCller" becomes "Mller".
/// False when `to` is cut off; a missing `from` leaves it as it was.
bool convert_to_utf8(const std::string& from, const std::string& to);

#endif
