#include "pack/mail/outlook_mail.h"

#include <algorithm>
#include <array>
#include <memory>
#include <set>

#include "pack/files/program_folders.h"
#include "pack/outlook/message.h"
#include "pack/outlook/outlook.h"
#include "pack/outlook/profiles.h"

namespace pack {

namespace {

// ---- Accounts

bool is_set(const Hive& hive, const std::string& key, std::string_view value) {
  return hive.number(key, value).value_or(0) != 0;
}

std::string number_text(const Hive& hive, const std::string& key, const std::string& value) {
  const auto number = hive.number(key, value);
  return number && *number != 0 ? std::to_string(*number) : "";
}

// Under the name of today, or an older one.
std::string user_of(const Hive& hive, const std::string& key, const std::string& protocol) {
  const std::string user = outlook_text(hive, key, protocol + " User");
  return user.empty() ? outlook_text(hive, key, protocol + " User Name") : user;
}

// 2 and what is above it begins after a plain start, always or where the server offers it.
Encryption encryption_of(const Hive& hive, const std::string& key, const std::string& protocol) {
  const std::uint32_t kind = hive.number(key, protocol + " Secure Connection").value_or(0);
  if (kind > 1) return Encryption::after_a_plain_start;
  return kind == 1 || is_set(hive, key, protocol + " Use SSL") ? Encryption::from_the_start
                                                               : Encryption::none;
}

// "Use SSL" alone decides beside a kind of encryption that begins later.
bool is_secure(const Hive& hive, const std::string& key, const std::string& protocol) {
  return is_set(hive, key, protocol + " Use SSL") ||
         encryption_of(hive, key, protocol) == Encryption::from_the_start;
}

void note_lost(const Hive& hive, const std::string& key, const std::string& protocol, MailAccount& account) {
  if (encryption_of(hive, key, protocol) == Encryption::after_a_plain_start)
    account.lost.push_back("STARTTLS for " + account.server);
  if (is_set(hive, key, protocol + " Use SPA")) account.lost.push_back("SPA for " + account.server);
  note_lost_sending(account, encryption_of(hive, key, "SMTP"), number_text(hive, key, "SMTP Port"),
                    user_of(hive, key, "SMTP"));
  if (is_set(hive, key, "SMTP Use SPA") && !account.smtp_server.empty())
    account.lost.push_back("SPA for " + account.smtp_server);
}

MailAccount account_of(const Hive& hive, const std::string& key, const std::string& protocol) {
  const auto text = [&](const std::string& value) { return outlook_text(hive, key, value); };
  MailAccount account{.is_imap = protocol == "IMAP",
                      .name = text("Account Name"),
                      .full_name = text("Display Name"),
                      .address = text("Email"),
                      .reply_address = text("Reply Email"),
                      .organization = text("Organization"),
                      .server = text(protocol + " Server"),
                      .user = user_of(hive, key, protocol),
                      .port = number_text(hive, key, protocol + " Port"),
                      .is_secure = is_secure(hive, key, protocol),
                      .leaves_on_server = is_set(hive, key, "Leave on Server"),
                      .smtp_server = text("SMTP Server"),
                      .smtp_wants_login = is_set(hive, key, "SMTP Use Auth"),
                      .smtp_is_secure = is_secure(hive, key, "SMTP")};
  note_lost(hive, key, protocol, account);
  return account;
}

// Services that have nothing of their own: data files are packed from where they are, and the book shows
// contacts that lie in them.
constexpr std::array<std::string_view, 3> services_of_files = {"MSPST MS", "MSUPST MS", "CONTAB"};

enum class Service { none, exchange, other };

// All of them have one clsid; whose name is missing is taken for Exchange, which keeps mail elsewhere.
Service service_of(const Hive& hive, const std::string& key) {
  const std::string name = outlook_text(hive, key, "Service Name");
  const auto is_it = [&](std::string_view other) { return is_same_name(name, other); };
  if (is_it("MSEMS") || !outlook_text(hive, key, "EAS Server URL").empty()) return Service::exchange;
  if (!is_same_name(outlook_text(hive, key, "clsid"), "{ED475414-B0D6-11D2-8C3B-00104B2A6676}") ||
      std::ranges::any_of(services_of_files, is_it))
    return Service::none;
  return name.empty() ? Service::exchange : Service::other;
}

void add_accounts(Packing& packing, const Hive& hive, MailAccounts& accounts) {
  std::set<std::string> told;
  for (const std::string& profile : outlook_profiles(hive)) {
    for (const std::string& key : accounts_in(hive, profile)) {
      for (const char* protocol : {"POP3", "IMAP"})
        if (!outlook_text(hive, key, std::string(protocol) + " Server").empty())
          accounts.add(account_of(hive, key, protocol), key);
      const Service service = service_of(hive, key);
      if (service == Service::none) continue;
      std::string name = outlook_text(hive, key, "Account Name");
      if (name.empty()) name = outlook_text(hive, key, "Email");
      if (name.empty()) name = key;
      if (told.insert(name).second)
        packing.leave_out(Kind::accounts, service == Service::exchange ? Cause::exchange : Cause::no_place,
                          name);
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

  // All folders have been read, for the first or the second time: what fails then was good before.
  void tell_of_end() {
    if (is_whole_ && !blocks_.is_damaged()) {
      packing_.unpacked(file_.place, Kind::mail);
    } else {
      packing_.not_unpacked(file_.place, Kind::mail);
    }
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

// A folder has the name of the language in which Office was installed; newer versions note which.
std::set<std::string> names_of_signatures(const Hive* hive) {
  std::set<std::string> names{"Signatures", "Signaturen"};
  for (const char* version : {"16.0", "15.0", "14.0", "12.0", "11.0"}) {
    const std::string key = std::string(R"(Software\Microsoft\Office\)") + version + R"(\Common\General)";
    const std::string name = hive == nullptr ? "" : outlook_text(*hive, key, "Signatures");
    if (!name.empty() && name.find_first_of(R"(/\)") == std::string::npos) names.insert(name);
  }
  return names;
}

// What is typed below each message, and rules for messages that come, as old versions keep them.
void tell_of_settings(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  Gaps told_of_thunderbird;  // those on the way to the folders of all programs
  Gaps gaps;
  std::set<std::string> told;
  const auto each_in = [&](const std::string& path, const auto& take) {
    for (const Place& all : folders_of(Settings::roaming, machine.disk, person, hive, told_of_thunderbird))
      if (const auto folder = folder_at(all, path, gaps); folder && told.insert(folder->path).second)
        take(*folder, listed(*folder, gaps));
  };
  if (packing.wants(Kind::accounts))
    for (const std::string& name : names_of_signatures(hive))
      each_in("Microsoft/" + name, [&](const Place& folder, const std::vector<Entry>& entries) {
        if (!entries.empty()) packing.tell_of(Kind::accounts, Cause::no_place, folder.path);
      });
  if (packing.wants(Kind::mail))
    each_in("Microsoft/Outlook", [&](const Place& folder, const std::vector<Entry>& entries) {
      constexpr std::string_view ending = ".rwz";
      for (const Entry& entry : entries)
        if (entry.name.size() > ending.size() &&
            is_same_name(entry.name.substr(entry.name.size() - ending.size()), ending))
          packing.tell_of(Kind::mail, Cause::no_place, joined(folder.path, entry.name));
    });
  gaps.tell(packing, packing.wants(Kind::mail) ? Kind::mail : Kind::accounts);
}

}  // namespace

void add_outlook(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                 MailAccounts& accounts, MailFolders& folders) {
  if (packing.wants(Kind::accounts) && hive != nullptr) add_accounts(packing, *hive, accounts);
  tell_of_settings(packing, machine, person, hive);
  if (!packing.wants(Kind::mail)) return;
  tell_of_new_outlook(packing, person);
  const auto awake = std::make_shared<Awake>();
  for (const OutlookFile& file : outlook_files(packing, machine, person, hive, Kind::mail))
    std::make_shared<MailFile>(packing, file, awake)->add_to(folders);
}

}  // namespace pack
