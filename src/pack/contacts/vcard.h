// Contacts as vCards of the version that archives hold (3.0).
#ifndef BRINDLE_PACK_CONTACTS_VCARD_H
#define BRINDLE_PACK_CONTACTS_VCARD_H

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace pack {

/// A vCard in the making. Lines have no end of their own; they get CR LF.
class Vcard {
 public:
  /// Adds a line when the value is not empty: PROPERTY;PARAMETERS:value, with what has a meaning in it
  /// escaped.
  void add(std::string_view property, std::string_view value);

  /// The same for a value of several parts ("N", "ADR", "ORG"), when one of them is not empty. Empty parts
  /// stay, but for those at the end of ORG.
  void add(std::string_view property, const std::vector<std::string>& parts);

  /// The same for a list of values ("CATEGORIES").
  void add_list(std::string_view property, const std::vector<std::string>& values);

  /// Adds a line as it stands, but for NUL bytes, which would end it for its readers.
  void add_line(std::string line);

  /// Notes a field for which there is no place here.
  void drop(const std::string& field) { dropped_.insert(field); }

  /// The names of those fields.
  const std::set<std::string>& dropped() const { return dropped_; }

  bool is_empty() const { return lines_.empty(); }

  /// What people call the contact, without escapes; empty when it has no name.
  std::string shown() const;

  /// The contact without what tells it from another one with the same content.
  std::string content() const;

  /// The whole vCard. One without FN gets it from N, ORG or EMAIL, and one without N an N made of FN. A value
  /// with letters outside of ASCII tells that it is UTF-8.
  std::string text(const std::string& uid) const;

 private:
  std::string value_of(std::string_view property) const;

  std::string name() const;

  std::vector<std::string> lines_;
  std::set<std::string> dropped_;
};

/// A vCard that another program wrote (2.1, 3.0, 4.0), with the lines that programs of the day of 3.0
/// understand, in its words; the address for e-mail that is preferred comes first. Values that are no UTF-8
/// are in the character set that they tell, or in `charset`. What else it has is dropped.
Vcard vcard_of(std::string_view text, const std::string& charset = "windows-1252");

/// A contact by Mozilla's names ("FirstName", "PrimaryEmail", ...). What else it has is dropped.
Vcard vcard_of_mozilla(const std::map<std::string, std::string>& properties);

}  // namespace pack

#endif
