// A volume that is mounted, or was copied: the folders and files below a folder of this machine.
#ifndef BRINDLE_PACK_DISK_FOLDER_TREE_H
#define BRINDLE_PACK_DISK_FOLDER_TREE_H

#include "pack/disk/tree.h"

namespace pack {

/// The tree below `folder`. Nothing outside of it is ever opened, whatever links lie in it. Throws
/// std::system_error when it is no folder or may not be read.
///
/// What Windows keeps online or in a form of its own is told from other files by the attributes that ntfs-3g
/// shows; a copy made by another program has lost them.
std::unique_ptr<Tree> folder_tree(const std::string& folder);

}  // namespace pack

#endif
