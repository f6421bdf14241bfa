// The settings a test's code made through the GConf client, in their order, which the daemon does not keep.
#ifndef BRINDLE_TESTS_DESKTOP_GCONF_CALLS_H
#define BRINDLE_TESTS_DESKTOP_GCONF_CALLS_H

#include <string>
#include <vector>

/// One "string KEY VALUE" or "bool KEY" a setting made so far; each one is really made as well.
const std::vector<std::string>& settings_made();

#endif
