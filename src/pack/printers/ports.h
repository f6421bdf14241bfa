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
/// has no form for it. `system` is the machine's registry, whose current settings are below `control`.
std::optional<std::string> port_in_archive(const std::string& port, const Hive& system,
                                           const std::string& control);

}  // namespace pack

#endif
