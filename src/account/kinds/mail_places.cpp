#include "account/kinds/mail_places.h"

#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <utility>
#include <vector>

#include "process/archive/layout.h"

namespace account {
namespace {

constexpr std::string_view mark = layout::subfolders;

bool is_folder(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool is_marked(std::string_view name) { return name.find(mark) != std::string_view::npos; }

// A path's folders and, last, its own name.
std::vector<std::string> names_of(std::string_view path) {
  std::vector<std::string> names;
  for (;;) {
    const std::size_t slash = path.find('/');
    names.emplace_back(path.substr(0, slash));
    if (slash == std::string_view::npos) return names;
    path.remove_prefix(slash + 1);
  }
}

std::string kmail_name(const std::string& name) {
  static constexpr std::array<std::pair<const char*, const char*>, 5> own = {{{layout::inbox, "inbox"},
                                                                              {layout::sent, "sent-mail"},
                                                                              {layout::outbox, "outbox"},
                                                                              {layout::drafts, "drafts"},
                                                                              {layout::trash, "trash"}}};
  for (const auto& [archive, kmail] : own)
    if (name == archive) return kmail;
  return name;
}

// Only folders with the mark are looked into, and only names without it are mailboxes.
std::variant<std::string, Cause> kmail_place(const std::string& root, std::vector<std::string> names) {
  std::string place = root;
  names.front() = kmail_name(names.front().substr(0, names.front().find(mark))) +
                  (is_marked(names.front()) ? std::string(mark) : "");
  for (std::size_t i = 0; i < names.size(); ++i) {
    const bool is_mailbox = i + 1 == names.size();
    if (is_mailbox == is_marked(names[i])) return Cause::beside_layout;
    place += is_mailbox ? "/" + names[i] : "/." + names[i].substr(0, names[i].find(mark)) + ".directory";
  }
  return place;
}

std::variant<std::string, Cause> evolution_1_place(const std::string& root,
                                                   const std::vector<std::string>& names) {
  if (names.size() > 1 && !names[names.size() - 2].ends_with(mark)) return Cause::beside_layout;
  if (is_marked(names.back())) return Cause::beside_layout;
  std::string below;
  for (const std::string& name : names) below += "/" + name;
  for (std::size_t at = 0; (at = below.find(mark, at)) != std::string::npos;)
    below.replace(at, mark.size(), "/subfolders");
  return root + below + "/mbox";
}

}  // namespace

std::string mozilla_profile(const Case& of) {
  const std::string folder = of.in_home(".mozilla/default");
  std::error_code fault;
  const std::filesystem::directory_iterator first(folder, fault);
  return fault || first == std::filesystem::directory_iterator() ? "" : first->path().string();
}

MailRoot mail_root(const Case& of) {
  if (has_kmail(of.system)) return {MailStore::kmail, of.target()};
  if (!has_evolution(of.system)) {
    const std::string profile = mozilla_profile(of);
    return {MailStore::mozilla, (profile.empty() ? of.target() : profile) + "/Mail/Local Folders"};
  }
  if (is_folder(of.in_home(".evolution"))) return {MailStore::evolution_2, of.target()};
  return {MailStore::evolution_1, of.in_home("evolution/local")};
}

std::variant<std::string, Cause> place_of_mailbox(const MailRoot& root, std::string_view name) {
  const std::vector<std::string> names = names_of(name);
  if (root.store == MailStore::kmail) return kmail_place(root.folder, names);
  if (name.starts_with('.')) return Cause::hidden;
  if (root.store == MailStore::evolution_1) return evolution_1_place(root.folder, names);
  return root.folder + "/" + std::string(name);
}

std::string folder_title(std::string_view name) {
  std::string title;
  std::vector<std::string> names = names_of(name);
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i + 1 < names.size() && names[i].ends_with(mark)) names[i].resize(names[i].size() - mark.size());
    title += (i == 0 ? "" : "/") + names[i];
  }
  return title;
}

}  // namespace account
