// Files of the person that commands replace, and copies that nobody has looked at.
#ifndef BRINDLE_PROCESS_MAIL_OLD_FILE_H
#define BRINDLE_PROCESS_MAIL_OLD_FILE_H

#include <sys/stat.h>

#include <string>
#include <vector>

#include "place/beneath.h"

/// Keeps a file that commands are about to replace until the new one has been looked at:
///
///   OldFile old = OldFile::copy_of(calendar);
///   if (!old.is_safe()) return -1;
///   SYSTEM(compose("cp -f %s %s", from, calendar));
///   if (same_content(from, calendar)) return 0;
///   old.put_back();
///   return -1;
///
/// It lies under a hidden name in the same folder and is gone at the end of this object's life. A path
/// without a file is safe as well.
class OldFile {
 public:
  /// For commands that write into the file. A link stays, the file that it names is kept.
  static OldFile copy_of(const std::string& path);

  /// For commands that remove the file first: a second name, which takes no room. A link is kept as a link.
  static OldFile second_name_of(const std::string& path);

  ~OldFile();
  OldFile(const OldFile&) = delete;
  OldFile& operator=(const OldFile&) = delete;

  /// False when the file could not be kept, for want of room perhaps, which was said on standard error: then
  /// it must not be replaced.
  bool is_safe() const { return safe_; }

  /// Puts the old file in the place of whatever lies there now, with the owner and the mode it had; without
  /// an old file nothing is left there. Says so on standard error, with the name of the kept file when it
  /// cannot be put back.
  void put_back();

 private:
  OldFile(std::string path, place::Spot spot, bool is_copy);

  bool keep_copy();
  void keep_second_name();
  bool move_back() const;

  std::string path_;  // for the words
  place::Spot spot_;
  std::string kept_;  // empty when nothing is kept
  struct stat old_ {};
  bool safe_ = true;
};

/// True when the file at `path` holds what `parts` hold, one after the other. A file that is missing counts
/// as an empty one.
bool holds_joined(const std::string& path, const std::vector<std::string>& parts);

/// The same behind the command that was to join them, by its exit status: one that has succeeded and left as
/// many bytes has. The bytes are looked at only when it tells of a failure.
bool is_joined(int status, const std::string& path, const std::vector<std::string>& parts);

/// Gives the last line of the file at `path` a line feed if it has none, so that nothing is joined to it. A
/// missing or an empty file stays as it is. False, with errno set, when it cannot be written.
[[nodiscard]] bool end_last_line(const std::string& path);

/// Makes every line end of a file LF, that of the last line too; a carriage return within a line stays. A
/// byte order mark in front and Ctrl-Z behind go. A missing file counts as done; false as above.
[[nodiscard]] bool mend_lines(const std::string& path);

/// convert_line_ends, and mend_lines for what that leaves.
[[nodiscard]] bool convert_and_mend_lines(const std::string& path);

#endif
