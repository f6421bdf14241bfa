#include "pack/mail/mail.h"

#include "pack/mail/outlook_express.h"
#include "pack/mail/outlook_mail.h"
#include "pack/mail/thunderbird.h"
#include "pack/mail/windows_mail.h"

namespace pack {

void pack_mail(Packing& packing, const Machine& machine, const Person& person, const Hive* hive) {
  MailAccounts accounts(packing);
  MailFolders folders;
  add_thunderbird(packing, machine, person, hive, accounts, folders);
  add_outlook(packing, machine, person, hive, accounts, folders);
  add_outlook_express(packing, machine, person, hive, accounts, folders);
  add_windows_mail(packing, machine, person, hive, accounts, folders);
  folders.pack(packing);
}

}  // namespace pack
