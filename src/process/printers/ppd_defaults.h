// The default choices in the text of a PPD file:
//
//   *DefaultPageSize: Letter
//   *PageSize A4/A4: "<</PageSize[595 842]>>setpagedevice"
#ifndef BRINDLE_PROCESS_PRINTERS_PPD_DEFAULTS_H
#define BRINDLE_PROCESS_PRINTERS_PPD_DEFAULTS_H

#include <string>

/// `ppd` with `choice` as the default of `option`; of "PageSize" those that go with it follow. The same text
/// when the option is not there, does not offer that choice or has it already.
std::string with_default(const std::string& ppd, const std::string& option, const std::string& choice);

#endif
