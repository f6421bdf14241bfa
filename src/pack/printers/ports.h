// Windows's ports in the forms that an archive has for them.
#ifndef BRINDLE_PACK_PRINTERS_PORTS_H
#define BRINDLE_PACK_PRINTERS_PORTS_H

#include <optional>
#include <string>

#include "pack/registry/hive.h"

namespace pack {

/// True for the ports of printers that make files or send faxes.
bool is_own_port(const std::string& port);

/// "LPT1", "USB001", "host:queue", "http://host:631/ipp/print", "//server/printer". No value when an archive
/// has no form for it, its form would not fit into a line there, or the address of a printer that tells of
/// itself in the network is not known for certain. `system` is the machine's registry, whose current settings
/// are below `control`.
std::optional<std::string> port_in_archive(const std::string& port, const Hive& system,
                                           const std::string& control);

/// A printer "//server/queue" of the network, when an archive can hold it.
std::optional<std::string> share_in_archive(const std::string& share);

}  // namespace pack

#endif
