// Rules for how something comes again, in the order and the words that all targets of an archive understand.
#ifndef BRINDLE_PACK_CALENDAR_RULE_H
#define BRINDLE_PACK_CALENDAR_RULE_H

#include <cstdint>
#include <string>

namespace pack {

/// `rule` ("FREQ=MONTHLY;BYDAY=2MO") with its end at `until` ("20051231T235959Z", or empty). FREQ and
/// INTERVAL stand first, where Mozilla's calendar gets its units by them. One n-th weekday of each month is
/// "BYDAY=MO" and "BYSETPOS=2" at the end; the wizard makes "BYDAY=2MO" of that for Mozilla. With an end,
/// behind which it would not, and in one month of the year it is "BYDAY=2MO" for all.
///
/// Empty for a rule that the targets' calendar library would refuse.
std::string written_rule(const std::string& rule, const std::string& until);

/// A rule that comes so many days later (1) or earlier (-1) each time: a clock elsewhere may show another
/// day. Empty when no rule says that: the day behind each second Tuesday is no second Wednesday.
std::string moved_rule(const std::string& rule, std::int64_t days);

}  // namespace pack

#endif
