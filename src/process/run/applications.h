// Skeleton homes and first starts of the target applications.
#ifndef BRINDLE_PROCESS_RUN_APPLICATIONS_H
#define BRINDLE_PROCESS_RUN_APPLICATIONS_H

#include "system/target.h"

/// Makes the applications of the system create or find their configuration in the home of `target`, the
/// running user, before the migrators write into it: a browser profile (and Evolution's folders) from the
/// skeleton home, or a short start of the programs themselves. Leaves out what would change something that
/// could not be kept.
void prepare_applications(const Target& target);

/// Unpacks a skeleton home afresh into its folder. Sets homedirpath and tarfilepath. What fails is in the
/// system log or on standard error. False when somebody else holds that folder: nothing is unpacked, and
/// homedirpath is a place that cannot exist.
[[nodiscard]] bool unpack_skeleton(const Skeleton& skeleton);

#endif
