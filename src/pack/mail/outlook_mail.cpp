#include "pack/mail/outlook_mail.h"

#include <algorithm>
#include <memory>
#include <set>

#include "pack/outlook/message.h"
#include "pack/outlook/outlook.h"
#include "pack/outlook/profiles.h"

namespace pack {

namespace {

// ---- Accounts

constexpr std::uint32_t encrypted_from_the_start = 1;

bool is_set(const Hive& hive, const std::string& key, std::string_view value) {
  return hive.number(key, value).value_or(0) != 0;
}

std::string number_text(const Hive& hive, const std::string& key, const std::string& value) {
  const auto number = hive.number(key, value);
  return number ? std::to_string(*number) : "";
}

MailAccount account_of(const Hive& hive, const std::string& key, const std::string& protocol) {
  const auto text = [&](const std::string& value) { return outlook_text(hive, key, value); };
  const std::string user = text(protocol + " User");
  return {.is_imap = protocol == "IMAP",
          .name = text("Account Name"),
          .full_name = text("Display Name"),
          .address = text("Email"),
          .reply_address = text("Reply Email"),
          .organization = text("Organization"),
          .server = text(protocol + " Server"),
          .user = user.empty() ? text(protocol + " User Name") : user,
          .port = number_text(hive, key, protocol + " Port"),
          .is_secure = is_set(hive, key, protocol + " Use SSL") ||
                       hive.number(key, protocol + " Secure Connection") == encrypted_from_the_start,
          .leaves_on_server = is_set(hive, key, "Leave on Server"),
          .smtp_server = text("SMTP Server"),
          .smtp_wants_login = is_set(hive, key, "SMTP Use Auth"),
          .smtp_is_secure = is_set(hive, key, "SMTP Use SSL") ||
                            hive.number(key, "SMTP Secure Connection") == encrypted_from_the_start};
}

bool is_exchange(const Hive& hive, const std::string& key) {
  return is_same_name(outlook_text(hive, key, "Service Name"), "MSEMS") ||
         is_same_name(outlook_text(hive, key, "clsid"), "{ED475414-B0D6-11D2-8C3B-00104B2A6676}") ||
         !outlook_text(hive, key, "EAS Server URL").empty();
}

void add_accounts(Packing& packing, const Hive& hive, MailAccounts& accounts) {
  std::set<std::string> told;
  for (const std::string& profile : outlook_profiles(hive)) {
    for (const std::string& key : accounts_in(hive, profile)) {
      for (const char* protocol : {"POP3", "IMAP"})
        if (!outlook_text(hive, key, std::string(protocol) + " Server").empty())
          accounts.add(account_of(hive, key, protocol), key);
      if (!is_exchange(hive, key)) continue;
      std::string name = outlook_text(hive, key, "Account Name");
      if (name.empty()) name = outlook_text(hive, key, "Email");
      if (name.empty()) name = key;
      if (told.insert(name).second) packing.leave_out(Kind::accounts, Cause::exchange, name);
    }
  }
}

// ---- Mail

// The process that reads a file sleeps while another one's works.
struct Awake {
  BlocksOfFile* blocks = nullptr;

  void wake(BlocksOfFile& next) {
    if (blocks != nullptr && blocks != &next) blocks->rest();
    blocks = &next;
  }
  void forget(const BlocksOfFile& gone) {
    if (blocks == &gone) blocks = nullptr;
  }
};

bool is_for_mail(const Store::Folder& folder) {
  constexpr std::string_view mail = "IPF.Note";
  return folder.container.empty() || is_same_name(folder.container.substr(0, mail.size()), mail);
}

// A data file while its mail is packed.
class MailFile : public std::enable_shared_from_this<MailFile> {
 public:
  MailFile(Packing& packing, OutlookFile file, std::shared_ptr<Awake> awake)
      : packing_(packing),
        file_(std::move(file)),
        blocks_(file_.place, file_.entry.size),
        store_(blocks_),
        awake_(std::move(awake)) {}
  MailFile(const MailFile&) = delete;
  MailFile& operator=(const MailFile&) = delete;
  ~MailFile() { awake_->forget(blocks_); }

  void add_to(MailFolders& folders) {
    awake_->wake(blocks_);
    if (!can_read(packing_, file_, blocks_, Kind::mail)) return;
    was_damaged_ = blocks_.is_damaged();
    for (const Store::Folder& folder : store_.folders()) add(folder, folders);
    if (missing_.empty()) tell_of_end();
  }

 private:
  void add(const Store::Folder& folder, MailFolders& folders) {
    std::uint64_t size = 0;
    bool has_mail = is_for_mail(folder);
    for (const Store::Item& item : store_.items(folder)) {
      if (item.kind != ItemKind::message) continue;
      has_mail = true;
      size += most_of_message(item.size, blocks_.form());
      if (folder.is_deleted) packing_.leave_out(Kind::mail, Cause::deleted, where(folder));
    }
    if (folder.is_deleted || !has_mail) return;
    missing_.insert(folder.id);
    folders.add(folder.names, {.place = file_.place,
                               .size = size,
                               .written = [self = shared_from_this(), folder](const TakeHead& take,
                                                                              const Complain& complain) {
                                 self->write(folder, take, complain);
                               }});
  }

  void write(const Store::Folder& folder, const TakeHead& take, const Complain& complain) {
    awake_->wake(blocks_);
    for (const Store::Item& item : store_.items(folder)) {
      if (item.kind != ItemKind::message) continue;
      const Rebuilt outcome = item.is_there ? write_message(store_, item.id, take) : Rebuilt::lost;
      if (outcome == Rebuilt::whole) continue;
      is_whole_ = false;
      if (outcome == Rebuilt::simplified)
        complain(Cause::simplified, where(folder) + ": " + subject_of_message(store_, item.id));
      else
        complain(outcome == Rebuilt::cut ? Cause::item_cut : Cause::damaged, where(folder));
    }
    missing_.erase(folder.id);
    if (missing_.empty()) tell_of_end();
  }

  // All folders have been read, for the first or the second time.
  void tell_of_end() {
    if (is_whole_ && !blocks_.is_damaged())
      packing_.unpacked(file_.place, Kind::mail);
    else
      packing_.not_unpacked(file_.place, Kind::mail);
    if (blocks_.is_damaged() && !was_damaged_)
      packing_.tell_of(Kind::mail, Cause::store_damaged, file_.place.path);
    was_damaged_ = blocks_.is_damaged();
  }

  std::string where(const Store::Folder& folder) const {
    return file_.place.path + ": " + joined_names(folder.names);
  }

  Packing& packing_;
  OutlookFile file_;
  BlocksOfFile blocks_;
  Store store_;
  std::shared_ptr<Awake> awake_;
  std::set<std::uint32_t> missing_;  // folders that are not yet packed
  bool is_whole_ = true;
  bool was_damaged_ = false;  // and it has been told
};

void tell_of_new_outlook(Packing& packing, const Person& person) {
  const auto folder = find_folder(*person.home.tree, person.home.path, "AppData/Local/Microsoft/Olk");
  if (folder) packing.leave_out(Kind::mail, Cause::new_outlook, *folder);
}

}  // namespace

void add_outlook(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                 MailAccounts& accounts, MailFolders& folders) {
  if (packing.wants(Kind::accounts) && hive != nullptr) add_accounts(packing, *hive, accounts);
  if (!packing.wants(Kind::mail)) return;
  tell_of_new_outlook(packing, person);
  const auto awake = std::make_shared<Awake>();
  for (const OutlookFile& file : outlook_files(packing, machine, person, hive, Kind::mail))
    std::make_shared<MailFile>(packing, file, awake)->add_to(folders);
}

}  // namespace pack
