// Archives with a password.
#ifndef BRINDLE_PROCESS_ARCHIVE_ENCRYPTION_H
#define BRINDLE_PROCESS_ARCHIVE_ENCRYPTION_H

#include <optional>
#include <string>

#include "process/archive/zip.h"

/// How the archive at `path` is encrypted: by the worst of its entries. `other` is a way unzip cannot read.
/// `none` too when its list cannot be read.
Encryption encryption_of_archive(const std::string& path);

/// The bytes to give to unzip for the password as it was typed, in UTF-8: these, or as Windows has them in
/// its code page. Tried on the smallest encrypted entry. No value when that does not open, or nothing is
/// encrypted. A password is taken untried when no encrypted entry is packed in a way known here.
std::optional<std::string> password_for(const std::string& path, const std::string& typed,
                                        const char* code_page);

/// True when unzip can be told this password in its environment variable: one that has white space as well as
/// a quote or a backslash cannot be written there.
bool unzip_takes(const std::string& password);

/// Makes room for a password in the environment variable UNZIP, which holds options for unzip; what the
/// person has there stays in front. Once, before the worker starts: while it runs, nobody may change the
/// environment's list.
void prepare_unzip_variable();

/// Puts `password` into the variable, and wipes it there at the end of its life. Does nothing for an empty
/// password, or one that unzip does not take, or without room.
class PasswordForUnzip {
 public:
  explicit PasswordForUnzip(const std::string& password);
  ~PasswordForUnzip();
  PasswordForUnzip(const PasswordForUnzip&) = delete;
  PasswordForUnzip& operator=(const PasswordForUnzip&) = delete;

  /// Wipes it once unzip has been started, which has its own copy then: what is started afterwards, such as a
  /// browser, does not get it.
  static void take_back();
};

/// Overwrites a text to its last byte and empties it.
void wipe(std::string& secret);

#endif
