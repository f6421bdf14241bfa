// What is to be said of a machine's disks as a whole.
#ifndef BRINDLE_PACK_MACHINE_H
#define BRINDLE_PACK_MACHINE_H

#include "pack/files/packing.h"
#include "pack/people/people.h"

namespace pack {

/// Tells of partitions that are not read, of Windows that only sleeps or has not closed a disk, of registry
/// files that cannot be read, of people whose folder is not here, and of folders that nobody could list. The
/// last of all: by then everybody has looked.
void tell_of_machine(Packing& shared, const Machine& machine);

}  // namespace pack

#endif
