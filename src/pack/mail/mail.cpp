#include "pack/mail/mail.h"

#include "pack/mail/outlook_mail.h"
#include "pack/mail/thunderbird.h"

namespace pack {

void pack_mail(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  MailAccounts accounts(packing);
  MailFolders folders;
  add_thunderbird(packing, machine, person, accounts, folders);
  add_outlook(packing, machine, person, hive, accounts, folders);
  folders.pack(packing);
}

}  // namespace pack
