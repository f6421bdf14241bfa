// An NTFS partition that is not mounted, read by libntfs-3g.
#ifndef BRINDLE_PACK_NTFS_NTFS_TREE_H
#define BRINDLE_PACK_NTFS_NTFS_TREE_H

#include <memory>

#include "pack/disk/tree.h"
#include "pack/ntfs/image.h"

namespace pack {

/// The partition of the image that begins at `begin` and has `size` bytes. Everything on it is read as
/// Windows does, folders and files of OneDrive too, whose content is here; compressed files are unpacked.
/// What Windows keeps elsewhere or for itself is told by Entry::gap. 8.3 names and the files of NTFS itself
/// are no entries. Of a folder whose list is damaged the rest is listed, and the folder noted as unlisted.
///
/// Throws std::system_error when it is no NTFS, or too damaged to be read at all.
std::unique_ptr<Tree> ntfs_tree(std::shared_ptr<const Image> image, std::uint64_t begin, std::uint64_t size);

}  // namespace pack

#endif
