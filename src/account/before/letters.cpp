#include <algorithm>
#include <string>
#include <string_view>

#include "account/archive/charset.h"
#include "account/before/before.h"
#include "account/kinds/entries.h"
#include "account/kinds/personal.h"
#include "account/readers/address_book.h"
#include "account/readers/vcard.h"
#include "process/archive/layout.h"

namespace account {
namespace {

constexpr std::size_t largest_text = std::size_t{64} << 20;

bool is_ascii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// Chinese that happens to be valid UTF-8 as well is taken for UTF-8, as the account does it.
bool is_chinese(std::string_view text) {
  return is_ascii(text) || (!is_utf8(text) && to_utf8(text, Letters::taken_for).has_value());
}

// Values that tell their character set keep their letters.
bool keeps_letters(const std::string& text) {
  if (is_chinese(text)) return true;
  bool all_chinese = true;
  const Card card(text, [&all_chinese](std::string_view value) {
    all_chinese &= is_chinese(value);
    return std::string(value);
  });
  return all_chinese;
}

class Look {
 public:
  Look(const Outlook& outlook, const Person& person, std::vector<Warning>& found)
      : outlook_(outlook), person_(person), found_(found) {}

  void at_accounts() const {
    at_each(layout::mail_accounts, [this](const Entry& entry) {
      const std::string text = outlook_.archive.read(entry, largest_text);
      if (has_kmail(outlook_.system)) {
        if (!is_chinese(text)) say(Kind::mail_accounts, entry, Foresight::other_letters);
      } else if (!is_utf8(text)) {
        say(Kind::mail_accounts, entry, Foresight::letters_taken, outlook_.charset);
      }
    });
  }

  void at_text(Kind kind, const std::string& name) const {
    at_each(name, [&](const Entry& entry) {
      if (!is_chinese(outlook_.archive.read(entry, largest_text))) say(kind, entry, Foresight::other_letters);
    });
  }

  void at_contacts(const std::string& name) const {
    at_each(name, [this](const Entry& entry) {
      EntryStream stream = outlook_.archive.open(entry);
      const AddressBook book([&stream](std::span<char> buffer) { return stream.read(buffer); });
      bool all_chinese = true;
      book.each([&](std::string_view, const std::string& card) { all_chinese &= keeps_letters(card); });
      if (!all_chinese) say(Kind::contacts, entry, Foresight::other_letters);
    });
  }

 private:
  // The file of that name, or the files of the folder.
  template <typename Take>
  void at_each(const std::string& name, const Take& take) const {
    const std::string path = person_.folder + "/" + name;
    const auto take_file = [&take](const Entry& entry) {
      if (!entry.folder && !fault_of(entry) && !entry.encrypted()) take(entry);
    };
    if (const Entry* const entry = outlook_.archive.find(path)) take_file(*entry);
    for_each_thing(outlook_.archive, path, take_file);
  }

  void say(Kind kind, const Entry& entry, Foresight what, const std::string& detail = "") const {
    found_.push_back({person_.login, kind, std::string(entry.name), what, detail});
  }

  const Outlook& outlook_;
  const Person& person_;
  std::vector<Warning>& found_;
};

}  // namespace

void foresee_letters(const Outlook& outlook, std::vector<Warning>& found) {
  const std::string mail = std::string(layout::mail) + "/";
  for (const Person& person : outlook.people) {
    const Look look(outlook, person, found);
    look.at_accounts();
    if (!has_kmail(outlook.system)) continue;
    look.at_text(Kind::calendar, mail + layout::calendar_file);
    look.at_text(Kind::tasks, mail + layout::tasks_file);
    look.at_contacts(mail + layout::contacts_file);
    look.at_text(Kind::notes, layout::notes);
  }
}

}  // namespace account
