// The settings a test's code made through the GConf client, in their order, which the daemon does not keep.
#ifndef BRINDLE_TESTS_GCONF_GCONF_CALLS_H
#define BRINDLE_TESTS_GCONF_GCONF_CALLS_H

#include <string>
#include <vector>

/// One "string KEY VALUE", "bool KEY true" or "list KEY VALUE..." a setting asked for so far; each one is
/// really asked for as well.
const std::vector<std::string>& settings_made();

/// One "KEY" or, with an object for the error, "KEY with an error object" a list asked for so far.
const std::vector<std::string>& lists_asked_for();

/// From now on no setting is kept: the client answers that it could not be.
void refuse_settings();

#endif
