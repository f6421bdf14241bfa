#include "account/kinds/mail.h"

#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <vector>

#include "account/kinds/entries.h"
#include "account/kinds/mail_places.h"
#include "account/readers/digest.h"
#include "account/readers/mbox.h"
#include "account/readers/message_name.h"
#include "process/archive/layout.h"

namespace account {
namespace {

// ---- The archive's mailboxes ----------------------------------------------------------------------------

struct Mailbox {
  const Entry* entry;
  std::string_view name;         // relative to the mail folder
  std::string place;             // empty when there is a reason
  std::optional<Reason> reason;  // why nothing of it can have arrived
};

std::string_view own_name(const Mailbox& box) { return box.name.substr(box.name.rfind('/') + 1); }

bool exists(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0;
}

Mailbox mailbox_of(const Entry& entry, std::string_view name, const MailRoot& root) {
  Mailbox box = {&entry, name, {}, {}};
  const auto place = place_of_mailbox(root, name);
  if (const auto fault = fault_of(entry)) {
    box.reason = {*fault, {}};
  } else if (const Cause* const cause = std::get_if<Cause>(&place)) {
    box.reason = {*cause, {}};
  } else {
    box.place = std::get<std::string>(place);
  }
  return box;
}

// Those that end up in one folder stand side by side.
std::vector<Mailbox> mailboxes(const Case& of, const MailRoot& root) {
  std::vector<Mailbox> boxes;
  const std::string folder = of.in_archive(layout::mail_folders);
  const auto entries = of.archive.below(folder);
  for (const Entry& entry : entries)
    if (!entry.folder && !is_overridden(entry, entries))
      boxes.push_back(mailbox_of(entry, name_within(entry, folder), root));
  std::ranges::stable_sort(boxes, {}, &Mailbox::place);
  return boxes;
}

// ---- One folder of the mail program ---------------------------------------------------------------------

// What is left in it of messages that no message of the archive has been held against.
class Folder {
 public:
  Folder(MailStore store, const std::string& place)
      : is_there_(exists(store == MailStore::kmail ? place + "/cur" : place)),
        left_(store == MailStore::kmail ? messages_of_maildir(place) : messages_of_mbox(place)) {}

  bool is_there() const { return is_there_; }

  /// Begins with another mailbox of the archive. One that was named alike shares its messages' files, and a
  /// file that holds the same message is not written twice.
  void begin(std::string_view name, bool is_shared) {
    shared_ = is_shared ? &taken_[std::string(name)] : nullptr;
    if (shared_ != nullptr) to_share_ = *shared_;
  }

  bool take(const Digest& digest) {
    if (shared_ == nullptr) return left_.take(digest);
    if (const auto found = to_share_.find(digest); found != to_share_.end() && found->second > 0) {
      --found->second;
      return true;
    }
    if (!left_.take(digest)) return false;
    ++(*shared_)[digest];
    return true;
  }

 private:
  using Counts = std::map<Digest, std::size_t>;

  bool is_there_;
  DigestPool left_;
  std::map<std::string, Counts> taken_;  // by the name of the archive's mailbox
  Counts* shared_ = nullptr;
  Counts to_share_;
};

// ---- Comparing ------------------------------------------------------------------------------------------

class Comparison {
 public:
  Comparison(const Case& of, const MailRoot& root, Tally& tally) : of_(of), root_(root), tally_(tally) {}

  // `folder` is null when nothing can have arrived, for `reason`.
  void compare(const Mailbox& box, Folder* folder, const Reason& reason) {
    EntryStream stream = of_.archive.open(*box.entry);
    const std::string title = folder_title(box.name);
    bool is_empty = true;
    read_mbox([&](std::span<char> buffer) { return stream.read(buffer); },
              [&](const MboxMessage& message) {
                is_empty = false;
                count(message, title, folder, reason);
              });
    if (stream.failed()) {
      tally_.find();
      tally_.miss("folder " + title, Cause::damaged);
    } else if (is_empty) {
      miss_empty(title, folder, reason);
    }
  }

  // The list of the archive has an encrypted mailbox's length and checksum; what the same file holds is
  // known.
  void compare_encrypted(const Mailbox& box) {
    Tally file;
    if (root_.store != MailStore::kmail) compare_file(of_.archive, *box.entry, box.place, "", file);
    if (file.unchanged() > 0) {
      read_mbox(file_source(box.place), [&](const MboxMessage&) {
        tally_.find();
        tally_.arrive_unchanged();
      });
      return;
    }
    tally_.find();
    tally_.miss("folder " + folder_title(box.name), Cause::encrypted);
    if (root_.store == MailStore::kmail && exists(box.place)) tally_.give_up();
  }

 private:
  void count(const MboxMessage& message, const std::string& title, Folder* folder, const Reason& reason) {
    tally_.find();
    const bool is_kmail = root_.store == MailStore::kmail;
    const bool is_left_out = is_kmail && !message.begins_with_from;
    if (folder != nullptr && !is_left_out) {
      if (folder->take(message.digest)) return tally_.arrive_unchanged();
      if (is_kmail && message.for_kmail && folder->take(*message.for_kmail)) return tally_.arrive_changed();
    }
    std::string name = message_name(message.head, title, of_.charset.c_str());
    if (folder != nullptr && is_left_out) return tally_.miss(std::move(name), Cause::before_first_message);
    tally_.miss(std::move(name), reason.cause, reason.detail);
  }

  void miss_empty(const std::string& title, const Folder* folder, const Reason& reason) {
    if (folder == nullptr || !folder->is_there())
      tally_.miss_uncounted("folder " + title, reason.cause, reason.detail);
  }

  const Case& of_;
  const MailRoot& root_;
  Tally& tally_;
};

bool is_folder_of_archive(const Archive& archive, const std::string& name) {
  const Entry* const entry = archive.find(name);
  return entry == nullptr ? archive.has(name) : entry->folder;
}

// The reason for a message that its folder does not have.
Reason reason_in(const Folder& folder, const std::string& place) {
  if (folder.is_there()) return {Cause::no_such_message, {}};
  return {Cause::place_missing, place};
}

using Boxes = std::span<const Mailbox>;

// Mailboxes that end up in one folder.
void compare_group(Comparison& comparison, const MailRoot& root, Boxes group) {
  Folder folder(root.store, group.front().place);
  const Reason reason = reason_in(folder, group.front().place);
  for (const Mailbox& box : group) {
    if (box.entry->encrypted()) {
      comparison.compare_encrypted(box);
    } else {
      folder.begin(own_name(box), root.store == MailStore::kmail && group.size() > 1);
      comparison.compare(box, &folder, reason);
    }
  }
}

void compare_unreachable(Comparison& comparison, const Mailbox& box, const Reason& reason, Tally& tally) {
  const bool is_readable = !box.entry->encrypted() && !fault_of(*box.entry);
  if (is_readable) return comparison.compare(box, nullptr, reason);
  tally.find();
  tally.miss("folder " + folder_title(box.name), reason.cause, reason.detail);
}

}  // namespace

std::optional<std::string> mail_waits_for(const Case& of) {
  if (!of.archive.has(of.in_archive(layout::mail))) return layout::mail;
  // Evolution's accounts come first, and without their folder nothing else is done.
  if (has_evolution(of.system) && !is_folder_of_archive(of.archive, of.in_archive(layout::mail_accounts)))
    return layout::mail_accounts;
  return std::nullopt;
}

void compare_mail(const Case& of, Tally& tally) {
  const MailRoot root = mail_root(of);
  const std::vector<Mailbox> boxes = mailboxes(of, root);
  const auto waits_for = mail_waits_for(of);
  Comparison comparison(of, root, tally);
  for (auto first = boxes.begin(); first != boxes.end();) {
    const bool is_reachable = !waits_for && !first->reason;
    const auto last =
        is_reachable
            ? std::find_if(first, boxes.end(), [&](const Mailbox& box) { return box.place != first->place; })
            : first + 1;
    if (is_reachable) {
      compare_group(comparison, root, Boxes(first, last));
    } else {
      compare_unreachable(comparison, *first,
                          first->reason ? *first->reason : Reason{Cause::not_looked_at, *waits_for}, tally);
    }
    first = last;
  }
}

}  // namespace account
