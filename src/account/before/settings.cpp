#include <array>
#include <span>
#include <string>

#include "account/before/before.h"
#include "account/before/settings_file.h"
#include "process/archive/layout.h"

namespace account {
namespace {

// A key, and the one asked for when the first is not found.
struct Question {
  const char* key;
  const char* otherwise = nullptr;
};

constexpr Question of_users[] = {{"Default"}, {"MultiUser Migration"}};

constexpr Question of_account[] = {
    {"Account Name"},
    {"SMTP Display Name", "Display Name"},
    {"SMTP Email Address", "Email"},
    {"SMTP Reply To Email Address", "Reply Email"},
    {"SMTP Organization Name", "Organization"},
    {"POP3 Server"},
    {"POP3 Prompt for Password"},
    {"POP3 User Name", "POP3 User"},
    {"POP3 Port"},
    {"POP3 Secure Connection", "POP3 Use SSL"},
    {"IMAP Server"},
    {"IMAP Prompt for Password"},
    {"IMAP User Name", "IMAP User"},
    {"IMAP Port"},
    {"IMAP Secure Connection", "IMAP Use SSL"},
    {"Leave Mail On Server"},
    {"Leave on Server"},
    {"SMTP Use Sicily"},
    {"SMTP Use Auth"},
    {"SMTP Prompt for Password"},
    {"SMTP Server"},
    {"SMTP Secure Connection"},
};

constexpr Question of_printer[] = {
    {"Port Name"},   {"Orientation"},  {"Driver Name"},  {"Driver Name Wo Spaces"}, {"Paper Size"},
    {"Paper Width"}, {"Paper Length"}, {"Scale"},        {"Print Quality"},         {"Color"},
    {"Duplex"},      {"Y-Resolution"}, {"Printer Name"},
};

struct Where {
  const Outlook& outlook;
  std::string person;
  std::optional<Kind> kind;
  std::vector<Warning>& found;
};

void look_at(const Where& where, const Entry& entry, std::span<const Question> questions) {
  if (entry.encrypted() || entry.folder) return;
  const SettingsFile file(where.outlook.archive, entry);
  const std::string name(entry.name);
  for (const std::string& key : file.cut_keys())
    where.found.push_back({where.person, where.kind, name, Foresight::line_cut, key});
  for (const Question& question : questions) {
    const char* asked = question.key;
    if (question.otherwise != nullptr && !file.value(asked)) asked = question.otherwise;
    if (file.hides(asked))
      where.found.push_back({where.person, where.kind, name, Foresight::key_hidden, asked});
  }
}

void look_below(const Where& where, const std::string& folder, std::span<const Question> questions) {
  for (const Entry& entry : where.outlook.archive.below(folder)) look_at(where, entry, questions);
}

// In the account's description, which the wizard writes without escaping.
constexpr std::array described = {Question{"Account Name"},
                                  Question{"SMTP Display Name", "Display Name"},
                                  Question{"SMTP Email Address", "Email"},
                                  Question{"SMTP Reply To Email Address"},
                                  Question{"SMTP Organization Name"},
                                  Question{"SMTP Server"}};

// The server, then the login.
constexpr std::array pop = {Question{"POP3 Server"}, Question{"POP3 User Name", "POP3 User"}};
constexpr std::array imap = {Question{"IMAP Server"}, Question{"IMAP User Name", "IMAP User"}};

void look_at_account(const Where& where, const Entry& entry) {
  const SettingsFile file(where.outlook.archive, entry);
  const auto look = [&](std::span<const Question> questions, const char* signs, Foresight what) {
    for (const Question& question : questions) {
      auto value = file.value(question.key);
      const char* const asked = value || question.otherwise == nullptr ? question.key : question.otherwise;
      if (!value && question.otherwise != nullptr) value = file.value(question.otherwise);
      if (value && value->find_first_of(signs) != std::string::npos)
        where.found.push_back({where.person, where.kind, std::string(entry.name), what, asked});
    }
  };
  const auto& incoming = file.value(pop.front().key) ? pop : imap;
  look(described, "&<", Foresight::evolution_refuses);
  look(incoming, "&<", Foresight::evolution_refuses);
  // Evolution's addresses are LOGIN@SERVER, which the wizard writes without escaping as well.
  look(std::span(incoming).last(1), "@:/", Foresight::login_misread);
}

}  // namespace

void foresee_settings(const Outlook& outlook, std::vector<Warning>& found) {
  const std::string root = layout::root;
  const Entry* const users = outlook.archive.find(root + "/" + layout::users);
  if (users != nullptr) look_at({outlook, "", {}, found}, *users, of_users);
  for (const Person& person : outlook.people) {
    const std::string folder = person.folder + "/";
    look_below({outlook, person.login, Kind::mail_accounts, found}, folder + layout::mail_accounts,
               of_account);
    look_below({outlook, person.login, Kind::printers, found}, folder + layout::printers, of_printer);
  }
}

void foresee_accounts(const Outlook& outlook, std::vector<Warning>& found) {
  if (!has_evolution(outlook.system)) return;
  for (const Person& person : outlook.people) {
    const std::string mail = person.folder + "/" + layout::mail;
    const std::string folder = person.folder + "/" + layout::mail_accounts;
    const bool has_mail =
        outlook.archive.has(mail) || outlook.archive.has(person.folder + "/" + layout::mail_folders);
    if (has_mail && !outlook.archive.has(folder))
      found.push_back(
          {person.login, Kind::mail, mail, Foresight::needs_accounts_folder, layout::mail_accounts});
    const Where where = {outlook, person.login, Kind::mail_accounts, found};
    for (const Entry& entry : outlook.archive.below(folder))
      if (!entry.folder && !entry.encrypted()) look_at_account(where, entry);
  }
}

}  // namespace account
