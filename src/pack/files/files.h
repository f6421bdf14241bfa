// Somebody's own files: documents, desktop, pictures, music, videos, downloads, and what else lies in the
// home.
#ifndef BRINDLE_PACK_FILES_FILES_H
#define BRINDLE_PACK_FILES_FILES_H

#include "pack/files/packing.h"
#include "pack/people/people.h"
#include "pack/registry/hive.h"

namespace pack {

/// Packs them all. Pictures and their like become folders of the documents, which is where the archive has a
/// place for them; so does what is no known folder, in "Other files", and what a second folder of a kind
/// holds. Files that begin with a dot, which a run does not copy from the top of documents and desktop, go
/// into "Dot files" there. `hive` is the person's registry, null when it cannot be read.
void pack_files(Packing& packing, const Machine& machine, const Person& person, const Hive* hive);

}  // namespace pack

#endif
