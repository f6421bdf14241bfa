#include "account/kinds/contacts.h"

#include <algorithm>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "account/archive/charset.h"
#include "account/kinds/entries.h"
#include "account/kinds/mozilla_contacts.h"
#include "account/kinds/personal.h"
#include "account/readers/address_book.h"
#include "account/readers/vcard.h"
#include "process/archive/layout.h"

namespace account {
namespace {

using Content = std::vector<std::string>;
using TakeCard = std::function<void(const std::string& uid, const std::string& card)>;

std::uint64_t hash_of(const Content& content) {
  std::string whole;
  for (const std::string& field : content) (whole += field) += '\0';
  return std::hash<std::string>()(whole);
}

// A contact that has not been found as it was.
struct Lost {
  std::string uid, title;
  Content content;
  bool mistaken;  // its letters are moved as others
};

Lost lost_contact(const std::string& uid, const Card& card, bool mistaken) {
  const std::string title = card.title();
  return {uid, title.empty() ? uid : title, card.content(), mistaken};
}

// ---- Where contacts lie afterwards -----------------------------------------------------------------------

// False when the place cannot be read to its end.
bool each_contact_there(const Case& of, const std::string& place, const TakeCard& take) {
  if (has_evolution(of.system))
    return AddressBook(file_source(place)).each([&take](std::string_view uid, const std::string& card) {
      take(std::string(uid), card);
    });
  each_card(file_source(place), [&take](const std::string& card) {
    take(Card(card, [](std::string_view text) { return std::string(text); }).value_of("UID"), card);
  });
  return true;
}

std::string place_of(const Case& of) { return personal_file(of, "evolution/local/Contacts/addressbook.db"); }

// ---- The vCards themselves, in Evolution and KAddressBook ------------------------------------------------

class CardsThere {
 public:
  CardsThere(const Case& of, std::string place)
      : of_(of), place_(std::move(place)), fault_(fault_of_place(place_)) {
    if (fault_) return;
    is_whole_ = each_contact_there(of_, place_, [this](const std::string&, const std::string& card) {
      contents_.insert(hash_of(content_of(card)));
    });
  }

  bool take(const Content& content) {
    const auto found = contents_.find(hash_of(content));
    if (found == contents_.end()) return false;
    contents_.erase(found);
    return true;
  }

  // Says of each why, by the contacts of the same uid, or for want of one of the same name.
  void explain(const std::vector<Lost>& lost, Tally& tally) const {
    const std::unordered_multimap<std::string, Content> others = contents_like(lost);
    for (const Lost& contact : lost) {
      if (fault_) {
        tally.miss(contact.title, *fault_, place_);
        continue;
      }
      const auto other = others.find(key_of(contact.uid, contact.content));
      if (other == others.end()) {
        if (is_whole_) {
          tally.miss(contact.title, Cause::not_there);
        } else {
          tally.miss(contact.title, Cause::program_refuses, place_);
        }
      } else if (contact.mistaken && without_letters(contact.content) == without_letters(other->second)) {
        tally.miss(contact.title, Cause::other_letters, Letters::taken_for);
      } else {
        tally.miss(contact.title, Cause::differs_in, difference_of_cards(contact.content, other->second));
      }
    }
  }

 private:
  Content content_of(const std::string& card) const {
    return Card(card, [this](std::string_view text) { return readable(text, of_.charset.c_str()); })
        .content();
  }

  static std::string key_of(const std::string& uid, const Content& content) {
    if (!uid.empty()) return uid;
    const auto name =
        std::ranges::find_if(content, [](const std::string& field) { return field.starts_with("FN"); });
    return name == content.end() ? "" : *name;
  }

  std::unordered_multimap<std::string, Content> contents_like(const std::vector<Lost>& lost) const {
    std::unordered_multimap<std::string, Content> others;
    if (fault_ || lost.empty()) return others;
    std::set<std::string> wanted;
    for (const Lost& contact : lost) wanted.insert(key_of(contact.uid, contact.content));
    each_contact_there(of_, place_, [&](const std::string& uid, const std::string& card) {
      Content content = content_of(card);
      const std::string key = key_of(uid, content);
      if (wanted.contains(key) && contents_.contains(hash_of(content)))
        others.emplace(key, std::move(content));
    });
    return others;
  }

  const Case& of_;
  std::string place_;
  std::optional<Cause> fault_;
  bool is_whole_ = false;
  std::unordered_multiset<std::uint64_t> contents_;  // that have not been taken
};

// ---- The archive -----------------------------------------------------------------------------------------

bool are_all_utf8(const AddressBook& book) {
  bool all = true;
  book.each([&all](std::string_view, const std::string& card) { all = all && is_utf8(card); });
  return all;
}

// False when the archive's book cannot be read to its end; so with the next.
bool compare_cards(const Case& of, const AddressBook& book, Tally& tally) {
  CardsThere there(of, place_of(of));
  const Letters letters(of, has_kmail(of.system) && are_all_utf8(book));
  std::vector<Lost> lost;
  const bool is_whole = book.each([&](std::string_view key, const std::string& text) {
    tally.find();
    letters.were_mistaken();
    const Card card(text, letters);
    if (there.take(card.content())) return tally.arrive_unchanged();
    const std::string uid = has_evolution(of.system) ? std::string(key) : card.value_of("UID");
    lost.push_back(lost_contact(uid, card, letters.were_mistaken()));
  });
  there.explain(lost, tally);
  return is_whole;
}

// The suite's contacts come through a conversion that reads letters that are no UTF-8 as Chinese.
std::string as_chinese(const Case& of, std::string_view text) {
  if (is_utf8(text)) return std::string(text);
  if (auto chinese = to_utf8(text, "GB2312")) return *chinese;
  return readable(text, of.charset.c_str());
}

bool compare_rows(const Case& of, const AddressBook& book, Tally& tally) {
  const std::string place = place_of(of);
  const auto fault = fault_of_place(place);
  MozillaContacts there(fault ? "" : place);
  const Letters letters(of, false);
  return book.each([&](std::string_view uid, const std::string& text) {
    tally.find();
    const Card card(text, letters);
    const std::string title = card.title().empty() ? std::string(uid) : card.title();
    if (fault) return tally.miss(title, *fault, place);
    if (!there.is_readable()) return tally.miss(title, Cause::program_refuses, place);
    MozillaContacts::Found found = there.take(card);
    if (!found.is_there || !found.differs.empty()) {
      const auto chinese = [&of](std::string_view bytes) { return as_chinese(of, bytes); };
      if (auto other = there.take(Card(text, chinese)); other.is_there) found = other;
    }
    if (!found.is_there) return tally.miss(title, Cause::not_there);
    if (!found.differs.empty()) return tally.miss(title, Cause::differs_in, found.differs);
    if (found.is_all) return tally.arrive_unchanged();
    tally.arrive_changed();
  });
}

// The book itself, when something of it cannot be read: it may hold more than was found.
void miss_book(const std::string& name, Tally& tally) {
  tally.find();
  tally.miss(name, Cause::damaged);
  tally.give_up();
}

// A kind that is not looked at has that as its cause.
void explain_condition(const Case& of, Tally& tally) {
  const std::string condition = condition_not_met(of, Kind::contacts);
  if (!condition.empty()) tally.explain_all(Cause::not_looked_at, condition);
}

}  // namespace

void compare_contacts(const Case& of, Tally& tally) {
  const std::string name = std::string(layout::mail) + "/" + layout::contacts_file;
  bool is_whole = true;
  read_personal(of, name, tally, [&](const Source& source) {
    const AddressBook book(source);
    is_whole = has_evolution(of.system) || has_kmail(of.system) ? compare_cards(of, book, tally)
                                                                : compare_rows(of, book, tally);
  });
  explain_condition(of, tally);
  const bool is_named = !tally.certain();  // as damaged in the archive
  if (!is_whole && !is_named) miss_book(name, tally);
}

}  // namespace account
