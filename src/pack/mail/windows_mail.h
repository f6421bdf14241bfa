// What Windows Mail (Vista) and Windows Live Mail keep: a folder of Windows a mail folder, a file a message.
#ifndef BRINDLE_PACK_MAIL_WINDOWS_MAIL_H
#define BRINDLE_PACK_MAIL_WINDOWS_MAIL_H

#include "pack/mail/mail_account.h"
#include "pack/mail/mail_folders.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Adds a person's accounts and mail folders. The folders of deleted mail stay; so does what the Mail app of
/// Windows 8 to 11 keeps, which is told. `hive` is the person's registry, null when it cannot be read.
void add_windows_mail(Packing& packing, const Machine& machine, const Person& person, const Hive* hive,
                      MailAccounts& accounts, MailFolders& folders);

}  // namespace pack

#endif
