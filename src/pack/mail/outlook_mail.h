// What Outlook keeps of mail.
#ifndef BRINDLE_PACK_MAIL_OUTLOOK_MAIL_H
#define BRINDLE_PACK_MAIL_OUTLOOK_MAIL_H

#include "pack/mail/mail_account.h"
#include "pack/mail/mail_folders.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Adds the accounts of all of a person's profiles, and the mail folders of all data files. What the person
/// has deleted is left out. Accounts of Exchange are told, and so is new Outlook, which keeps nothing on the
/// disk.
void add_outlook(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                 MailAccounts& accounts, MailFolders& folders);

}  // namespace pack

#endif
