// Contacts in the address book of the Mozilla suite, which has a place for some fields of a vCard only.
#ifndef BRINDLE_ACCOUNT_KINDS_MOZILLA_CONTACTS_H
#define BRINDLE_ACCOUNT_KINDS_MOZILLA_CONTACTS_H

#include <map>
#include <string>
#include <vector>

#include "account/readers/mork.h"
#include "account/readers/vcard.h"

namespace account {

class MozillaContacts {
 public:
  /// Reads the address book at `path`; an empty path is an empty book.
  explicit MozillaContacts(const std::string& path);

  /// False when it is no address book that Mozilla reads.
  bool is_readable() const { return is_readable_; }

  struct Found {
    bool is_there = false;
    std::string differs;  ///< the vCard's fields that are not there: "EMAIL, TEL"
    bool is_all = false;  ///< the book has a place for everything in the vCard
  };

  /// Looks for the contact by its full name. Each row is given once.
  Found take(const Card& card);

 private:
  bool is_readable_ = true;
  std::vector<MorkRow> rows_;
  std::multimap<std::string, std::size_t> by_name_;
};

}  // namespace account

#endif
