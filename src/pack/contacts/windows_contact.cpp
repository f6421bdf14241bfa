#include "pack/contacts/windows_contact.h"

#include <algorithm>
#include <array>

#include "pack/xml/xml.h"

namespace pack {

namespace {

bool says_something(const XmlElement& element) {
  const bool has_text = element.text.find_first_not_of(" \t\r\n") != std::string::npos;
  return has_text || std::ranges::any_of(element.children, [](const XmlElement& child) {
           return child.name != "LabelCollection" && says_something(child);
         });
}

// What is there once for each of somebody's addresses stands in "NAMECollection".
std::vector<const XmlElement*> all_of(const XmlElement& contact, const std::string& name) {
  std::vector<const XmlElement*> found;
  const XmlElement* const collection = contact.child(name + "Collection");
  if (collection == nullptr) return found;
  for (const XmlElement& element : collection->children)
    if (element.name == name && says_something(element)) found.push_back(&element);
  return found;
}

bool has_label(const XmlElement& element, std::string_view label) {
  const XmlElement* const labels = element.child("LabelCollection");
  return labels != nullptr && std::ranges::any_of(labels->children, [&](const XmlElement& one) {
           return one.text == label || one.text.ends_with(":" + std::string(label));
         });
}

// "Spouse" of a person with that label, else "Person".
std::string shown(const XmlElement& element) {
  const XmlElement* const labels = element.child("LabelCollection");
  constexpr std::array<std::string_view, 3> of_all = {"Business", "Personal", "Preferred"};
  if (labels == nullptr) return element.name;
  for (const XmlElement& label : labels->children)
    if (!label.text.empty() && std::ranges::find(of_all, label.text) == of_all.end())
      return label.text.substr(label.text.rfind(':') + 1);
  return element.name;
}

// Of those that a card has once the first is there.
void drop_behind_first(const std::vector<const XmlElement*>& elements, Vcard& card) {
  for (std::size_t number = 1; number < elements.size(); ++number) card.drop(shown(*elements[number]));
}

std::string place_of(const XmlElement& element) {
  if (has_label(element, "Business")) return ";TYPE=WORK";
  return has_label(element, "Personal") ? ";TYPE=HOME" : "";
}

void add_names(const XmlElement& contact, Vcard& card) {
  const auto names = all_of(contact, "Name");
  if (names.empty()) return;
  const XmlElement& name = *names.front();
  const std::string suffix = name.text_of("Suffix");
  card.add("FN", name.text_of("FormattedName"));
  card.add("N", std::vector{name.text_of("FamilyName"), name.text_of("GivenName"), name.text_of("MiddleName"),
                            name.text_of("Title"), suffix.empty() ? name.text_of("Generation") : suffix});
  card.add("NICKNAME", name.text_of("NickName"));
  if (!suffix.empty() && !name.text_of("Generation").empty()) card.drop("Generation");
  drop_behind_first(names, card);
}

// The preferred one first, which is the one that programs write to.
void add_addresses(const XmlElement& contact, Vcard& card) {
  auto addresses = all_of(contact, "EmailAddress");
  std::ranges::stable_partition(addresses,
                                [](const XmlElement* one) { return has_label(*one, "Preferred"); });
  for (const XmlElement* one : addresses)
    card.add("EMAIL;TYPE=INTERNET" + place_of(*one), one->text_of("Address"));
}

void add_numbers(const XmlElement& contact, Vcard& card) {
  struct Type {
    const char* label;
    const char* type;
  };
  constexpr std::array types{Type{"Voice", ";TYPE=VOICE"}, Type{"Cellular", ";TYPE=CELL"},
                             Type{"Fax", ";TYPE=FAX"}, Type{"Pager", ";TYPE=PAGER"}};
  for (const XmlElement* one : all_of(contact, "PhoneNumber")) {
    std::string property = "TEL" + place_of(*one);
    for (const auto& [label, type] : types)
      if (has_label(*one, label)) property += type;
    card.add(property, one->text_of("Number"));
  }
}

void add_places(const XmlElement& contact, Vcard& card) {
  for (const XmlElement* one : all_of(contact, "PhysicalAddress"))
    card.add("ADR" + place_of(*one),
             std::vector{one->text_of("POBox"), one->text_of("ExtendedAddress"), one->text_of("Street"),
                         one->text_of("Locality"), one->text_of("Region"), one->text_of("PostalCode"),
                         one->text_of("Country")});
}

void add_work(const XmlElement& contact, Vcard& card) {
  const auto positions = all_of(contact, "Position");
  if (positions.empty()) return;
  const XmlElement& work = *positions.front();
  const std::string company = work.text_of("Company");
  card.add("ORG", std::vector{company.empty() ? work.text_of("Organization") : company,
                              work.text_of("Department"), work.text_of("Office")});
  card.add("TITLE", work.text_of("JobTitle"));
  card.add("ROLE", work.text_of("Profession"));
  if (!company.empty() && !work.text_of("Organization").empty() && work.text_of("Organization") != company)
    card.drop("Organization");
  drop_behind_first(positions, card);
}

void add_dates(const XmlElement& contact, Vcard& card) {
  constexpr std::size_t date = std::string_view("1970-05-10").size();  // the time behind it is none
  bool has_birthday = false;
  for (const XmlElement* one : all_of(contact, "Date")) {
    if (!has_birthday && has_label(*one, "Birthday")) {
      has_birthday = true;
      card.add("BDAY", one->text_of("Value").substr(0, date));
    } else {
      card.drop(shown(*one));
    }
  }
}

bool is_base64(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '+' || c == '/' ||
         c == '=';
}

// One that lies in a file of its own is with that.
void add_photo(const XmlElement& contact, Vcard& card) {
  struct Type {
    const char* content;
    const char* type;
  };
  constexpr std::array types{Type{"image/jpeg", "JPEG"}, Type{"image/png", "PNG"}, Type{"image/gif", "GIF"},
                             Type{"image/bmp", "BMP"}};
  bool has_photo = false;
  for (const XmlElement* one : all_of(contact, "Photo")) {
    const XmlElement* const value = one->child("Value");
    if (value == nullptr) continue;
    const auto type = std::ranges::find(types, value->attribute("ContentType"), &Type::content);
    std::string bytes = value->text;
    std::erase_if(bytes, [](char c) { return !is_base64(c); });
    if (bytes.empty()) continue;
    if (has_photo || type == types.end()) {
      card.drop("Photo");
    } else {
      has_photo = true;
      card.add_line(std::string("PHOTO;ENCODING=b;TYPE=") + type->type + ":" + bytes);
    }
  }
}

// Elements of collections, and those parts of them that are looked at.
struct Known {
  std::string_view element;
  std::array<std::string_view, 9> parts;
};
constexpr std::array known{
    Known{"Name",
          {"FormattedName", "FamilyName", "GivenName", "MiddleName", "Title", "Suffix", "Generation",
           "NickName"}},
    Known{"EmailAddress", {"Address", "Type"}}, Known{"PhoneNumber", {"Number"}},
    // The label repeats the address.
    Known{"PhysicalAddress",
          {"POBox", "ExtendedAddress", "Street", "Locality", "Region", "PostalCode", "Country",
           "AddressLabel"}},
    Known{"Position", {"Company", "Organization", "Department", "Office", "JobTitle", "Profession"}},
    Known{"Url", {"Value"}}, Known{"Date", {"Value"}}, Known{"Photo", {"Value", "Url"}}};

void drop_unknown_of(const XmlElement& collection, Vcard& card) {
  for (const XmlElement& element : collection.children) {
    const auto kind = std::ranges::find(known, element.name, &Known::element);
    if (kind == known.end()) {
      if (says_something(element)) card.drop(shown(element));
      continue;
    }
    for (const XmlElement& part : element.children) {
      const bool is_known =
          part.name == "LabelCollection" || std::ranges::find(kind->parts, part.name) != kind->parts.end();
      if (!is_known && says_something(part)) card.drop(part.name);
    }
  }
}

void drop_unknown(const XmlElement& contact, Vcard& card) {
  constexpr std::array<std::string_view, 4> looked_at = {"Notes", "CreationDate", "ContactIDCollection",
                                                         "ProductID"};
  for (const XmlElement& part : contact.children) {
    if (std::ranges::find(looked_at, part.name) != looked_at.end()) continue;
    if (part.name.ends_with("Collection")) {
      drop_unknown_of(part, card);
    } else if (says_something(part) && part.text != "Unspecified") {
      card.drop(part.name);
    }
  }
}

}  // namespace

std::optional<Vcard> windows_contact(std::string_view file) {
  const auto contact = read_xml(file);
  if (!contact || contact->name != "contact") return std::nullopt;
  Vcard card;
  add_names(*contact, card);
  add_addresses(*contact, card);
  add_numbers(*contact, card);
  add_places(*contact, card);
  add_work(*contact, card);
  for (const XmlElement* one : all_of(*contact, "Url")) card.add("URL", one->text_of("Value"));
  add_dates(*contact, card);
  card.add("NOTE", contact->text_of("Notes"));
  add_photo(*contact, card);
  drop_unknown(*contact, card);
  return card;
}

}  // namespace pack
