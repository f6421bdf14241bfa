// Writing a file whole or not at all, and never somewhere else.
#ifndef BRINDLE_ACCOUNT_NEW_FILE_H
#define BRINDLE_ACCOUNT_NEW_FILE_H

#include <memory>
#include <ostream>
#include <string>

namespace account {

/// A file on its way. It lies under a hidden name beside its place until commit(), readable by everybody like
/// any document; without a commit() it goes again.
class NewFile {
 public:
  /// For `path`, which must be free or an ordinary file: a link is not written through, a pipe or device not
  /// replaced.
  explicit NewFile(std::string path);
  ~NewFile();
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;

  std::ostream& stream();

  /// Puts everything written in its place. False, with errno set, when any of it failed: what lay there is
  /// untouched then.
  bool commit();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace account

#endif
