// What Outlook Express keeps.
#ifndef BRINDLE_PACK_MAIL_OUTLOOK_EXPRESS_H
#define BRINDLE_PACK_MAIL_OUTLOOK_EXPRESS_H

#include "pack/mail/mail_account.h"
#include "pack/mail/mail_folders.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Adds the accounts and mail folders of all of a person's identities. The folder of deleted mail stays.
/// `hive` is the person's registry, null when it cannot be read.
void add_outlook_express(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                         MailAccounts& accounts, MailFolders& folders);

}  // namespace pack

#endif
