// Evolution's address book: a Berkeley DB hash file with a vCard a record.
#ifndef BRINDLE_ACCOUNT_READERS_ADDRESS_BOOK_H
#define BRINDLE_ACCOUNT_READERS_ADDRESS_BOOK_H

#include <functional>
#include <string>
#include <string_view>

#include "account/readers/text.h"

namespace account {

/// A copy of a book that nobody else can change. Books of any page size and either byte order
/// are read.
class AddressBook {
 public:
  explicit AddressBook(const Source& source);
  ~AddressBook();
  AddressBook(const AddressBook&) = delete;
  AddressBook& operator=(const AddressBook&) = delete;

  /// Called with a record's key and vCard, both without the NUL at their end.
  using Take = std::function<void(std::string_view uid, const std::string& card)>;

  /// Calls `take` for each contact, in the book's order. False when the book is damaged or none: then there
  /// may be more contacts than were given. The database library works in a process of its own, so that no
  /// file can do harm to this one.
  bool each(const Take& take) const;

 private:
  std::string path_;
};

}  // namespace account

#endif
