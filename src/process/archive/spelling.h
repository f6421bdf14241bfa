// How the archive's own name has to be spelt in a command, so that the program opens this file and no other.
#ifndef BRINDLE_PROCESS_ARCHIVE_SPELLING_H
#define BRINDLE_PROCESS_ARCHIVE_SPELLING_H

#include <string>

/// For any program: a name that begins with a dash, an option elsewhere, gets "./" before it.
///
///   a.zip   a.zip            -a.zip   ./-a.zip
std::string as_file(const std::string& name);

/// For unzip and zipinfo: as_file, and spelt so that they do not take it for a pattern. They do so when it
/// holds
/// * ? or [ without a backslash before it; only what follows the last / is matched then, and there each
/// character that means something in a pattern is put into brackets or behind a backslash. Other names stay.
///
///   a.zip   a.zip            a[1].zip   a[[]1].zip          d[1]/a\.zip   d[1]/a\\.zip
std::string as_archive(const std::string& name);

#endif
