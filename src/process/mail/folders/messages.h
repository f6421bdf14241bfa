// The files of a mail folder's messages, PREFIX2, PREFIX3, ..., and what lies in the folder already.
#ifndef BRINDLE_PROCESS_MAIL_FOLDERS_MESSAGES_H
#define BRINDLE_PROCESS_MAIL_FOLDERS_MESSAGES_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "place/beneath.h"
#include "place/descriptor.h"

/// The files that lie at PREFIX and a number, with or without KMail's flags behind it ("Inbox2:2,S"), when
/// this is made. Each stands for one message of the archive: the one that has the same bytes.
class EarlierMessages {
 public:
  explicit EarlierMessages(const std::string& prefix);

  /// Finds the file that holds `message`, or the content of the file `path`, which begins with `head`. True
  /// when there is one; it is not found again.
  bool take(std::string_view message);
  bool take_copy_of(const std::string& path, std::string_view head, std::uintmax_t size);

  /// How much of a message take_copy_of needs to know, at most.
  static constexpr std::size_t head_size = 4096;

 private:
  using Key = std::pair<std::uintmax_t, std::size_t>;  // size, hash of the head

  void add(const std::string& path);
  template <typename Same>
  bool take(const Key& key, Same same);

  std::multimap<Key, std::string> paths_;
};

/// Takes messages piece by piece and writes each to a file of its own. A file that is there is never touched:
/// a message that `earlier` has is left out, another gets the next number that is free. Memory does not grow
/// with a message.
class MessageFiles {
 public:
  /// `earlier` was made for the same prefix, and outlives this.
  MessageFiles(const std::string& prefix, EarlierMessages& earlier);

  /// Begins the message that is to be PREFIX`number`; numbers grow from call to call.
  void begin(int number);
  /// `piece` stays as it is until settle or end: it is not copied before it has to be.
  void write(std::string_view piece);
  /// Copies what was written and is still needed.
  void settle();
  /// Ends the message, if one was begun. One that could not be written to its last byte leaves no file.
  void end();

  /// How many messages could not be written, and the system error of the last one.
  int lost() const { return lost_; }
  int error() const { return error_; }

 private:
  bool gather();
  bool spill();
  bool create();
  bool store();
  void fail();
  void remove();

  std::string folder_;  // of the files
  place::Spot spot_;    // there, with the start of their names
  EarlierMessages& earlier_;
  // What is not in the file yet.
  std::string buffer_;
  std::string_view borrowed_;  // behind that, where the caller has it
  std::string head_;           // of a message that is in a file
  std::string name_;           // of that file
  Descriptor file_;
  std::uintmax_t spilled_ = 0;
  int free_ = 0;  // none from the message's own number up to this one, without it, is free
  bool begun_ = false;
  bool failed_ = false;
  int lost_ = 0;
  int error_ = 0;
};

#endif
