// The address book of an archive.
#ifndef BRINDLE_PACK_CONTACTS_ADDRESS_BOOK_H
#define BRINDLE_PACK_CONTACTS_ADDRESS_BOOK_H

#include <memory>
#include <set>
#include <string>

#include "pack/contacts/vcard.h"
#include "pack/disk/stage.h"
#include "pack/files/packing.h"

struct __db;

namespace pack {

/// A Berkeley DB hash file in the making: a record a contact, keys and values with the NUL byte at their
/// ends.
class AddressBook {
 public:
  AddressBook();
  AddressBook(const AddressBook&) = delete;
  AddressBook& operator=(const AddressBook&) = delete;
  ~AddressBook();

  /// Adds a contact. False when one with the same content is there. Throws std::system_error when it cannot
  /// be written.
  bool add(const Vcard& card);

  std::size_t size() const { return known_.size(); }

  /// Puts the file into the archive, when there is a contact. They have been counted by who added them.
  void pack(Packing& packing);

 private:
  void put(const std::string& key, const std::string& value);
  void close();

  Stage stage_;
  __db* database_ = nullptr;
  std::set<std::pair<std::uint64_t, std::uint64_t>> known_;
};

}  // namespace pack

#endif
