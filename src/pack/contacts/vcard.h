// Contacts as vCards of the version that archives hold (3.0).
#ifndef BRINDLE_PACK_CONTACTS_VCARD_H
#define BRINDLE_PACK_CONTACTS_VCARD_H

#include <map>
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

  /// Adds a line as it stands, but for zero bytes.
  void add_line(std::string line);

  bool is_empty() const { return lines_.empty(); }

  /// The contact without what tells it from another one with the same content.
  std::string content() const;

  /// The whole vCard. One without FN gets it from N, ORG or EMAIL, and one without N an N made of FN.
  std::string text(const std::string& uid) const;

 private:
  std::string value_of(std::string_view property) const;

  std::vector<std::string> lines_;
};

/// A vCard that another program wrote (2.1 without quoted-printable, 3.0, 4.0), with the lines that programs
/// of the day of 3.0 understand, in its words.
Vcard vcard_of(std::string_view text);

/// A contact by Mozilla's names ("FirstName", "PrimaryEmail", ...).
Vcard vcard_of_mozilla(const std::map<std::string, std::string>& properties);

}  // namespace pack

#endif
