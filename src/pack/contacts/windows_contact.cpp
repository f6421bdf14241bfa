#include "pack/contacts/windows_contact.h"

#include <algorithm>
#include <array>

#include "pack/xml/xml.h"

namespace pack {

namespace {

// What is there once for each of somebody's addresses stands in "NAMECollection".
std::vector<const XmlElement*> all_of(const XmlElement& contact, const std::string& name) {
  std::vector<const XmlElement*> found;
  const XmlElement* const collection = contact.child(name + "Collection");
  if (collection == nullptr) return found;
  for (const XmlElement& element : collection->children)
    if (element.name == name) found.push_back(&element);
  return found;
}

bool has_label(const XmlElement& element, std::string_view label) {
  const XmlElement* const labels = element.child("LabelCollection");
  return labels != nullptr && std::ranges::any_of(labels->children, [&](const XmlElement& one) {
           return one.text == label || one.text.ends_with(":" + std::string(label));
         });
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
}

void add_birthday(const XmlElement& contact, Vcard& card) {
  constexpr std::size_t date = std::string_view("1970-05-10").size();  // the time behind it is none
  for (const XmlElement* one : all_of(contact, "Date"))
    if (has_label(*one, "Birthday")) return card.add("BDAY", one->text_of("Value").substr(0, date));
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
  for (const XmlElement* one : all_of(contact, "Photo")) {
    const XmlElement* const value = one->child("Value");
    if (value == nullptr) continue;
    const auto type = std::ranges::find(types, value->attribute("ContentType"), &Type::content);
    std::string bytes = value->text;
    std::erase_if(bytes, [](char c) { return !is_base64(c); });
    if (bytes.empty() || type == types.end()) continue;
    return card.add_line(std::string("PHOTO;ENCODING=b;TYPE=") + type->type + ":" + bytes);
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
  add_birthday(*contact, card);
  card.add("NOTE", contact->text_of("Notes"));
  add_photo(*contact, card);
  return card;
}

}  // namespace pack
