#include "pack/mail/mail.h"

#include "pack/mail/thunderbird.h"

namespace pack {

void pack_mail(Packing& packing, const Machine& machine, const Person& person, const Hive*) {
  MailAccounts accounts(packing);
  MailFolders folders;
  add_thunderbird(packing, machine, person, accounts, folders);
  folders.pack(packing);
}

}  // namespace pack
