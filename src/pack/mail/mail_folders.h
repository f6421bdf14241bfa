// Mail folders of any program on their way into an archive.
#ifndef BRINDLE_PACK_MAIL_MAIL_FOLDERS_H
#define BRINDLE_PACK_MAIL_MAIL_FOLDERS_H

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "pack/files/packing.h"

namespace pack {

/// Gets the head of a message, with its line "From " and the empty line at the end; what it returns gets the
/// body.
using Take = std::function<Writer(const std::string& head)>;

/// Gets a message, as its file holds it: lines may end with CR LF.
using TakeMessage = std::function<void(std::unique_ptr<Content> message)>;

/// Gets what is wrong with a source, or with one message of it.
using Complain = std::function<void(Cause cause, const std::string& path)>;

/// Gathers the mail folders of all programs and accounts of a person. Folders of one name become one; a
/// message that an earlier source of that folder has is not packed twice.
class MailFolders {
 public:
  /// Where messages lie.
  struct Source {
    Place place;
    std::uint64_t size = 0;
    bool is_maildir = false;  ///< a folder with a file a message, in place of a file with all of them
    /// Of a source that writes its messages itself, each as a mailbox has it; it may be called several times.
    std::function<void(const Take& take, const Complain& complain)> written{};
    /// Of a source in any other form, what hands out its messages; it may be called several times.
    std::function<void(const TakeMessage& take, const Complain& complain)> messages{};
  };

  /// Adds a folder; `names` are those of the folders above it and its own, from the top. The usual ones at
  /// the top (INBOX, Unsent Messages) become the archive's, and a dot in front of a name becomes "_". Each of
  /// those above it is a folder as well, if an empty one: programs show what is below no other.
  void add(const std::vector<std::string>& names, const Source& source);

  /// Packs all of them.
  void pack(Packing& packing) const;

 private:
  std::map<std::string, std::vector<Source>> folders_;  // by their names below "Mail": "Inbox.sbd/Work"
};

}  // namespace pack

#endif
