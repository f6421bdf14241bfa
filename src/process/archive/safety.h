// Archives come from strangers and are often unpacked by root.
#ifndef BRINDLE_PROCESS_ARCHIVE_SAFETY_H
#define BRINDLE_PROCESS_ARCHIVE_SAFETY_H

#include <string>

/// Removes from the unpacked `folder` what is neither a file nor a folder: symbolic links, pipes, sockets and
/// devices. A link could reach out of the archive, and one that stays inside could still lead the walk
/// through the mail folders round in circles. Each removal is named on standard error. Folders and files are
/// made readable and writable for their owner, however deep: a read-only attribute from Windows would go into
/// the home with the file, and an Evolution that may not write its Inbox has none.
void remove_unsafe_entries(const std::string& folder);

#endif
