#include "pack/contacts/outlook_contacts.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

#include "pack/outlook/outlook.h"
#include "pack/outlook/times.h"

namespace pack {

namespace {

struct Line {
  const char* property;
  std::uint16_t id;
};
constexpr std::array numbers{Line{"TEL;TYPE=WORK;TYPE=VOICE", 0x3A08},
                             Line{"TEL;TYPE=WORK;TYPE=VOICE", 0x3A1B},
                             Line{"TEL;TYPE=HOME;TYPE=VOICE", 0x3A09},
                             Line{"TEL;TYPE=HOME;TYPE=VOICE", 0x3A2F},
                             Line{"TEL;TYPE=CELL", 0x3A1C},
                             Line{"TEL;TYPE=WORK;TYPE=FAX", 0x3A24},
                             Line{"TEL;TYPE=HOME;TYPE=FAX", 0x3A25},
                             Line{"TEL;TYPE=FAX", 0x3A23},
                             Line{"TEL;TYPE=PAGER", 0x3A21},
                             Line{"TEL;TYPE=PREF;TYPE=VOICE", 0x3A1A},
                             Line{"TEL;TYPE=VOICE", 0x3A1F},
                             Line{"TEL;TYPE=WORK;TYPE=VOICE", 0x3A57},
                             Line{"TEL;TYPE=VOICE", 0x3A02},
                             Line{"TEL;TYPE=VOICE", 0x3A1E},
                             Line{"TEL;TYPE=VOICE", 0x3A1D},
                             Line{"TEL;TYPE=VOICE", 0x3A2D},
                             Line{"TEL;TYPE=VOICE", 0x3A2E},
                             Line{"TEL;TYPE=VOICE", 0x3A4B}};

// Box, street, city, state, code, country.
using Address = std::array<std::uint16_t, 6>;
constexpr Address home{0x3A5E, 0x3A5D, 0x3A59, 0x3A5C, 0x3A5B, 0x3A5A};
constexpr Address other{0x3A64, 0x3A63, 0x3A5F, 0x3A62, 0x3A61, 0x3A60};
constexpr Address postal{0x3A2B, 0x3A29, 0x3A27, 0x3A28, 0x3A2A, 0x3A26};
constexpr std::array<std::uint32_t, 6> work{0x804A, 0x8045, 0x8046, 0x8047, 0x8048, 0x8049};  // of a set

bool add_address(Vcard& card, const Properties& contact, const char* type, const Address& ids) {
  const auto part = [&](std::size_t number) { return contact.text(ids.at(number)); };
  const std::vector parts{part(0), std::string(), part(1), part(2), part(3), part(4), part(5)};
  const bool is_there = std::ranges::any_of(parts, [](const std::string& one) { return !one.empty(); });
  card.add(std::string("ADR;TYPE=") + type, parts);
  return is_there;
}

bool is_address(const std::string& text) { return text.find('@') != std::string::npos; }

// Of three, each with the address and what Outlook shows for it, which is the address where the other is
// Exchange's.
void add_addresses(Vcard& card, Store& store, const Properties& contact) {
  constexpr std::array<std::uint32_t, 3> first_ids{0x8080, 0x8090, 0x80A0};
  bool has_one = false;
  for (const std::uint32_t first : first_ids) {
    const auto text = [&](std::uint32_t number) {
      return contact.text(store.id_of(PropertySet::contact, first + number));
    };
    for (const std::string& address : {text(3), text(4), text(0)}) {
      if (!is_address(address)) continue;
      card.add("EMAIL;TYPE=INTERNET", address);
      has_one = true;
      break;
    }
  }
  constexpr std::uint16_t plain_address = 0x3003;
  if (const std::string address = contact.text(plain_address); !has_one && is_address(address))
    card.add("EMAIL;TYPE=INTERNET", address);
}

// The day is kept as its first moment where the person was, by the clock of UTC: at most half a day from
// there.
std::string birthday(Store& store, const Properties& contact) {
  constexpr std::uint16_t by_utc = 0x3A42;
  constexpr std::uint32_t by_the_wall = 0x80DE;
  constexpr std::int64_t half_a_day = 43200;
  constexpr std::uint64_t none = 0x0CB34557A3DD4000;  // the year 4501
  const auto on_wall = contact.time(store.id_of(PropertySet::contact, by_the_wall));
  const auto time = on_wall ? on_wall : contact.time(by_utc);
  if (!time || *time == none || *time == 0) return "";
  const auto seconds = static_cast<std::time_t>(unix_time(*time) + (on_wall ? 0 : half_a_day));
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  char text[48];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday);
  return text;
}

Vcard card_of(Store& store, const Properties& contact) {
  const auto text = [&](std::uint16_t id) { return contact.text(id); };
  const auto text_of_set = [&](std::uint32_t number) {
    return contact.text(store.id_of(PropertySet::contact, number));
  };
  Vcard card;
  card.add("FN", text(0x3001));
  card.add("N", std::vector{text(0x3A11), text(0x3A06), text(0x3A44), text(0x3A45), text(0x3A05)});
  card.add("NICKNAME", text(0x3A4F));
  add_addresses(card, store, contact);
  for (const auto& [property, id] : numbers) card.add(property, text(id));
  add_address(card, contact, "HOME", home);
  Address at_work{};
  for (std::size_t part = 0; part < work.size(); ++part)
    at_work.at(part) = store.id_of(PropertySet::contact, work.at(part));
  if (!add_address(card, contact, "WORK", at_work)) add_address(card, contact, "WORK", postal);
  add_address(card, contact, "OTHER", other);
  card.add("ORG", std::vector{text(0x3A16), text(0x3A18)});
  card.add("TITLE", text(0x3A17));
  for (const std::string& page : {text_of_set(0x802B), text(0x3A51), text(0x3A50)}) {
    if (page.empty()) continue;
    card.add("URL", page);
    break;
  }
  card.add("BDAY", birthday(store, contact));
  card.add("NOTE", text(0x1000));
  card.add_list("CATEGORIES", contact.texts(store.id_of(PropertySet::strings, "Keywords")));
  return card;
}

}  // namespace

void each_outlook_contact(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                          const std::function<void(const Vcard& card, const std::string& from)>& take) {
  constexpr std::array kinds{Kind::contacts};
  each_outlook_item(packing, machine, person, hive, kinds,
                    [&](Store& store, ItemKind kind, const Properties& item, const std::string& from) {
                      if (kind == ItemKind::list_of_contacts) {
                        packing.leave_out(Kind::contacts, Cause::no_place, from + ": " + item.text(0x3001));
                        return false;
                      }
                      take(card_of(store, item), from);
                      const bool has_picture = item.has_attachments();
                      if (has_picture)
                        packing.tell_of(Kind::contacts, Cause::no_place,
                                        from + ": picture of " + item.text(0x3001));
                      return !has_picture;
                    });
}

}  // namespace pack
