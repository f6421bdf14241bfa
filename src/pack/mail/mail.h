// Somebody's mail: accounts and folders of all programs.
#ifndef BRINDLE_PACK_MAIL_MAIL_H
#define BRINDLE_PACK_MAIL_MAIL_H

#include "pack/files/packing.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Packs them all: an account a file, and one tree of mail folders in which those of all accounts are joined.
void pack_mail(Packing& packing, const Machine& machine, const Person& person, const Hive* hive);

}  // namespace pack

#endif
