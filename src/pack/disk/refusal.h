// Why something that is there cannot be read: the disk does not give it, or we have not the right to.
#ifndef BRINDLE_PACK_DISK_REFUSAL_H
#define BRINDLE_PACK_DISK_REFUSAL_H

#include <system_error>

#include "pack/disk/disk.h"

namespace pack {

/// True for the error of somebody who may not read.
bool is_refusal(const std::error_code& error);

/// Cause::forbidden when a file or folder cannot be opened for want of a right, else `other`. To be asked
/// when reading it has failed.
Cause cause_at(const Place& place, Cause other);

/// Cause::forbidden of such an error, else `other`.
Cause cause_of(const std::system_error& error, Cause other = Cause::unreadable);

}  // namespace pack

#endif
