// What the programs of a shape must get, worked out without the composer.
#ifndef BRINDLE_FUZZ_COMPOSER_EXPECTED_H
#define BRINDLE_FUZZ_COMPOSER_EXPECTED_H

#include <optional>
#include <string>
#include <vector>

#include "composer/hostile.h"
#include "composer/shapes.h"
#include "composer/trial.h"

/// Values for each %s of a shape, and files and folders where its redirections and globs look for some.
std::vector<std::string> values_for(const Shape& shape, Hostile& hostile, const std::string& folder);

/// The calls, by the order of their words, or no value when the composer has to refuse. A glob stands for
/// what lies in the folder now.
std::optional<std::vector<Call>> expected_calls(const Shape& shape, const std::vector<std::string>& values,
                                                const std::string& folder);

#endif
