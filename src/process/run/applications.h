// Skeleton homes and first starts of the target applications.
#ifndef BRINDLE_PROCESS_RUN_APPLICATIONS_H
#define BRINDLE_PROCESS_RUN_APPLICATIONS_H

#include <string>

/// Makes the applications of the detected system create or find their configuration in `home`, the running
/// user's, before the migrators write into it: a browser profile (and Evolution's folders) from the skeleton
/// home, or on "Xandros" a short start of the programs themselves.
void prepare_applications(const std::string& home);

/// Unpacks the skeleton home that new accounts are made from. Sets homedirpath; systems without a skeleton
/// leave it as it is, normally empty, and their accounts are made from "/root".
void unpack_skeleton_for_accounts();

#endif
