// What Thunderbird and its relatives keep.
#ifndef BRINDLE_PACK_MAIL_THUNDERBIRD_H
#define BRINDLE_PACK_MAIL_THUNDERBIRD_H

#include "pack/mail/mail_account.h"
#include "pack/mail/mail_folders.h"
#include "pack/people/people.h"

namespace pack {

/// Adds the accounts and mail folders of all of a person's profiles. Folders of accounts in the network are
/// there as far as they were kept on the disk.
void add_thunderbird(Packing& packing, const Machine& machine, const Person& person, MailAccounts& accounts,
                     MailFolders& folders);

}  // namespace pack

#endif
