// The mail folders in a profile of Thunderbird.
#ifndef BRINDLE_PACK_MAIL_THUNDERBIRD_FOLDERS_H
#define BRINDLE_PACK_MAIL_THUNDERBIRD_FOLDERS_H

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "pack/files/program_folders.h"
#include "pack/mail/mail_folders.h"

namespace pack {

/// Adds what lies below folders of servers, each of them once: "NAME" is a mail folder, "NAME.sbd" holds
/// those within it.
class ThunderbirdFolders {
 public:
  /// How names are spelt: as people see them, or as IMAP sends them ("Entw&APw-rfe").
  enum class Spelling : std::uint8_t { plain, of_imap };

  ThunderbirdFolders(Packing& packing, MailFolders& folders, Gaps& gaps)
      : packing_(packing), folders_(folders), gaps_(gaps) {}

  /// What lies below a server's folder. One that was added before, or lies in one, is passed over.
  void add_server(const Place& folder, Spelling spelling);

  /// What lies below a folder of servers, and mail folders that lie beside them.
  void add_servers(const Place& folder, Spelling spelling);

 private:
  using Names = std::set<std::string>;

  void add(const Place& folder);
  void add_folder(const Place& place, const std::string& name);
  void add_file(const Place& place, const Entry& entry, const Names& indexed);
  void add_source(const std::string& name, const MailFolders::Source& source);

  Packing& packing_;
  MailFolders& folders_;
  Gaps& gaps_;
  std::vector<Place> servers_;
  std::vector<std::string> names_;  // of the folders above
  Spelling spelling_ = Spelling::plain;
};

}  // namespace pack

#endif
