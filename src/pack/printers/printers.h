// The printers of a Windows machine.
#ifndef BRINDLE_PACK_PRINTERS_PRINTERS_H
#define BRINDLE_PACK_PRINTERS_PRINTERS_H

#include "pack/files/packing.h"
#include "pack/people/people.h"

namespace pack {

/// The machine's printers with their settings, and those in the network that people have connected; each
/// once. Of one person alone the default one is the archive's, of several each one's lies in their profile.
/// What only makes files (PDF, XPS, fax, notes) is Windows's own.
void pack_printers(Packing& shared, const Machine& machine);

}  // namespace pack

#endif
