#include "process/printers/options.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <optional>

#include "shell/files.h"
#include "shell/run.h"

namespace {

using Printer = PrinterDescription;
using Value = std::string Printer::*;

// One setting: the Windows constant that a value contains, and the option it becomes. Rows of the same value
// are one group, of which the first that fits is applied: LETTERSMALL counts as LETTER, ENV_C65 as ENV_C6.
struct Row {
  Value value;
  const char* contained;
  const char* option;
  std::optional<OptionTool> always = std::nullopt;  // this tool on every system
  const char* only_on = nullptr;                    // the one system the row is for
};

// Options that take values of the description file; their commands are composed with them.
constexpr const char* custom_size = "PageSize=Custom:";
constexpr const char* dots = "Quality=";

constexpr OptionTool foomatic = OptionTool::foomatic_configure;
constexpr OptionTool lpoptions = OptionTool::lpoptions;

constexpr Row rows[] = {
    // Orientation belongs to a job, no PPD has it.
    {&Printer::orientation, "DMORIENT_LANDSCAPE", "orientation-requested=4", lpoptions, "RedFlag"},
    {&Printer::orientation, "DMORIENT_LANDSCAPE", "landscape", lpoptions},

    {&Printer::duplex, "DMDUP_HORIZONTAL", "Duplex=DuplexTumble"},
    {&Printer::duplex, "DMDUP_VERTICAL", "Duplex=DuplexNoTumble"},

    {&Printer::paper_size, "DMPAPER_LETTER", "PageSize=Letter"},
    {&Printer::paper_size, "DMPAPER_A3", "PageSize=A3"},
    {&Printer::paper_size, "DMPAPER_A4", "PageSize=A4"},
    {&Printer::paper_size, "DMPAPER_A5", "PageSize=A5"},
    {&Printer::paper_size, "DMPAPER_A6", "PageSize=A6"},
    {&Printer::paper_size, "DMPAPER_LEGAL", "PageSize=Legal"},
    {&Printer::paper_size, "DMPAPER_ENV_10", "PageSize=Env10"},
    {&Printer::paper_size, "DMPAPER_ENV_DL", "PageSize=EnvDL"},
    {&Printer::paper_size, "DMPAPER_EXECUTIVE", "PageSize=Executive"},
    // The envelope, on purpose: PPDs know B5 as the Japanese sheet, Windows means the ISO one.
    {&Printer::paper_size, "DMPAPER_B5", "PageSize=EnvISOB5"},
    // The one size that foomatic-configure sets on every system, deliberately.
    {&Printer::paper_size, "DMPAPER_ENV_C5", "PageSize=EnvC5", foomatic},
    {&Printer::paper_size, "DMPAPER_ENV_C6", "PageSize=EnvC6"},
    {&Printer::paper_size, "DMPAPER_ENV_MONARCH", "PageSize=EnvMonarch"},
    {&Printer::paper_size, "DMPAPER_USER", custom_size},

    {&Printer::color, "DMCOLOR_MONOCHROME", "OutputType=BlackAndWhite"},
    {&Printer::color, "DMCOLOR_COLOR", "OutputType=Color"},

    {&Printer::print_quality, "DMRES_HIGH", "QualityType=High"},
    {&Printer::print_quality, "DMRES_MEDIUM", "QualityType=Normal"},
    {&Printer::print_quality, "DMRES_LOW", "QualityType=Normal"},  // on purpose: low is not yet a draft
    {&Printer::print_quality, "DMRES_DRAFT", "QualityType=Draft"},

    {&Printer::y_resolution, "300", dots},
    {&Printer::y_resolution, "600", dots},
};

shell::Command plain_command(const Printer& printer, OptionTool tool, const char* option) {
  return tool == foomatic ? compose("foomatic-configure -s cups -n '%s' -o %s", printer.queue, option)
                          : compose("lpoptions -p '%s' -o %s", printer.queue, option);
}

// The blanks around the first quote stand so on purpose: the size is a word of its own behind the option.
shell::Command custom_size_command(const Printer& printer, OptionTool tool) {
  std::printf("Setting page size based on paper width and height.");
  return tool == foomatic ? compose(
                                "foomatic-configure -s cups -n '%s' -o PageSize=Custom: "
                                "\" -dDEVICEWIDTHPOINTS=%s -dDEVICEHEIGHTPOINTS=%s\"",
                                printer.queue, printer.paper_width, printer.paper_length)
                          : compose(
                                "lpoptions -p '%s' -o PageSize=Custom: "
                                "\" -dDEVICEWIDTHPOINTS=%s -dDEVICEHEIGHTPOINTS=%s\"",
                                printer.queue, printer.paper_width, printer.paper_length);
}

shell::Command dots_command(const Printer& printer, OptionTool tool) {
  const std::string& resolution = printer.y_resolution;
  return tool == foomatic
             ? compose("foomatic-configure -s cups -n '%s' -o Quality=%sx%ssw", printer.queue, resolution,
                       resolution)
             : compose("lpoptions -p '%s' -o Quality=%sx%ssw", printer.queue, resolution, resolution);
}

shell::Command command_of(const Row& row, const Printer& printer, OptionTool of_system) {
  const OptionTool tool = row.always.value_or(of_system);
  if (row.option == custom_size) return custom_size_command(printer, tool);
  if (row.option == dots) return dots_command(printer, tool);
  return plain_command(printer, tool, row.option);
}

bool fits(const Row& row, const Printer& printer, const char* system) {
  return contains(printer.*row.value, row.contained) &&
         (row.only_on == nullptr || std::strcmp(row.only_on, system) == 0);
}

}  // namespace

void set_options(const PrinterDescription& printer, OptionTool tool, const char* system,
                 shell::Command last) {
  for (const Row* group = std::begin(rows); group != std::end(rows);) {
    const Row* end =
        std::find_if(group, std::end(rows), [&](const Row& row) { return row.value != group->value; });
    const Row* row = std::find_if(group, end, [&](const Row& one) { return fits(one, printer, system); });
    if (row != end) {
      last = command_of(*row, printer, tool);
      SYSTEM(last);
    }
    std::printf("Options::%s", last.text().c_str());
    group = end;
  }
}
