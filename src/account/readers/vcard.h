// Contacts as vCards, field by field.
#ifndef BRINDLE_ACCOUNT_READERS_VCARD_H
#define BRINDLE_ACCOUNT_READERS_VCARD_H

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "account/readers/text.h"

namespace account {

struct CardField {
  std::string name;                ///< "TEL", in capitals, without a group
  std::vector<std::string> types;  ///< in capitals, sorted
  std::string raw;                 ///< decoded from its encoding and in UTF-8, escapes as they stand
  std::string value() const;       ///< escapes undone, LF line ends
};

/// What a vCard says. BEGIN, END and VERSION say nothing.
class Card {
 public:
  using Decode = std::function<std::string(std::string_view)>;

  /// `decode`: how bytes are read that name no character set.
  Card(std::string_view text, const Decode& decode);

  const std::vector<CardField>& fields() const { return fields_; }
  /// The value of the first field of that name; empty without one.
  std::string value_of(std::string_view name) const;
  /// By which a person knows the contact: the full name, or the first other thing that it has.
  std::string title() const;
  /// Every field as one text, whatever their order, folding and encoding; sorted. A long one stands as its
  /// checksum.
  std::vector<std::string> content() const;

 private:
  std::vector<CardField> fields_;
};

/// The names of the fields that only one of the two contents has, in order: "EMAIL, TEL".
std::string difference_of_cards(const std::vector<std::string>& one, const std::vector<std::string>& other);

/// Parts between semicolons that no backslash stands before, escapes undone.
std::vector<std::string> parts_of(std::string_view raw);

/// Calls `take` for each vCard of a file of many, its lines from BEGIN to END.
void each_card(Source source, const std::function<void(const std::string&)>& take);

}  // namespace account

#endif
