// The names of unpacked files. unzip writes those of a zip from Windows in Latin-1 by way of one DOS code
// page, whatever the person's was, lets two of them become one, and leaves out what is too long for a file
// system.
#ifndef BRINDLE_PROCESS_ARCHIVE_NAMES_H
#define BRINDLE_PROCESS_ARCHIVE_NAMES_H

#include <functional>
#include <string>

struct Unpacked {
  std::string archive;
  std::string folder;                  ///< what unzip was given; holds files and folders only
  const char* code_page = "CP437";     ///< of names that are not UTF-8
  const char* password = nullptr;      ///< of encrypted entries; null for none
  bool encrypted_are_missing = false;  ///< unzip was not told the password
};

/// Gives each entry of the archive whose name is not ASCII the name that Windows showed: that of the Unicode
/// path field, else the bytes themselves when they are UTF-8, else by way of the code page. Files are told by
/// size and checksum, not by what unzip may have made of their names. What fell together with another file,
/// and what unzip could not write, is taken from the archive again.
///
/// A name of more than 255 bytes is cut between two characters and keeps its end (the last dot and what
/// follows); standard error names it, and what could not be taken. Two names that become one get "~2" before
/// their end.
///
/// Nothing is made, moved or removed outside `folder`, and no link is followed. An archive whose names are
/// short and ASCII costs the reading of its list. Ends early, between two files, when `stop` says so.
void restore_names(const Unpacked& unpacked, const std::function<bool()>& stop);

#endif
