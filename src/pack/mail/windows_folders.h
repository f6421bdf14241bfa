// The names that mail programs of Windows give their own folders.
#ifndef BRINDLE_PACK_MAIL_WINDOWS_FOLDERS_H
#define BRINDLE_PACK_MAIL_WINDOWS_FOLDERS_H

#include <string>

namespace pack {

/// The archive's name for one of them ("Sent" for "Sent Items", "Gesendete Objekte" and the like); any other
/// name as it is. For folders at the top.
std::string usual_mail_folder(const std::string& name);

/// True for the folder of what its owner has deleted.
bool is_of_deleted_mail(const std::string& name);

}  // namespace pack

#endif
