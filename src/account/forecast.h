// What is known before a run, as plain text for a terminal.
#ifndef BRINDLE_ACCOUNT_FORECAST_H
#define BRINDLE_ACCOUNT_FORECAST_H

#include <ostream>
#include <string>
#include <vector>

#include "account/account.h"
#include "account/before/before.h"
#include "account/model/texts.h"

namespace account {

/// For each person a line a kind that the archive has; then the warnings and the notes, at most 15 of each
/// sentence. `people` as draw_up() gives it before a run.
void write_forecast(std::ostream& out, const std::string& archive, const std::vector<PersonAccount>& people,
                    const std::vector<Warning>& warnings, const Texts& texts);

}  // namespace account

#endif
