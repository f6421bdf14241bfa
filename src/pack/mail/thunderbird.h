// What Thunderbird and its relatives keep.
#ifndef BRINDLE_PACK_MAIL_THUNDERBIRD_H
#define BRINDLE_PACK_MAIL_THUNDERBIRD_H

#include "pack/mail/mail_account.h"
#include "pack/mail/mail_folders.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Adds the accounts and mail folders of all of a person's profiles. Folders of accounts in the network are
/// there as far as they were kept on the disk. What cannot be found or looked at is told.
void add_thunderbird(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                     MailAccounts& accounts, MailFolders& folders);

}  // namespace pack

#endif
