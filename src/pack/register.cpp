#include "pack/register.h"

#include <array>

#include "pack/files/files.h"

namespace pack {

namespace {

constexpr std::array all_sources{
    Source{"the home and the folders that the registry names", "My Documents, Desktop", pack_files},
};

}  // namespace

std::span<const Source> sources() { return all_sources; }

}  // namespace pack
