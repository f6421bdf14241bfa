#include "process/printers/options.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <optional>

#include "process/printers/tools_files.h"
#include "shell/files.h"
#include "shell/run.h"
#include "system/capabilities.h"

namespace {

using Printer = PrinterDescription;
using Value = std::string Printer::*;
using Composer = shell::Command (*)(const Printer& printer, PrinterTools tools);

constexpr PrinterTools cups = PrinterTools::cups;
constexpr PrinterTools foomatic = PrinterTools::foomatic;

// Deliberate: part of the output. The size is a word of its own behind an option that ends in a colon.
shell::Command custom_size(const Printer& printer, PrinterTools tools) {
  return tools == foomatic ? compose(
                                 "foomatic-configure -s cups -n '%s' -o PageSize=Custom: "
                                 "\" -dDEVICEWIDTHPOINTS=%s -dDEVICEHEIGHTPOINTS=%s\"",
                                 printer.queue, printer.paper_width, printer.paper_length)
                           : compose(
                                 "lpoptions -p '%s' -o PageSize=Custom: "
                                 "\" -dDEVICEWIDTHPOINTS=%s -dDEVICEHEIGHTPOINTS=%s\"",
                                 printer.queue, printer.paper_width, printer.paper_length);
}

shell::Command dots(const Printer& printer, PrinterTools tools) {
  const std::string& resolution = printer.y_resolution;
  return tools == foomatic
             ? compose("foomatic-configure -s cups -n '%s' -o Quality=%sx%ssw", printer.queue, resolution,
                       resolution)
             : compose("lpoptions -p '%s' -o Quality=%sx%ssw", printer.queue, resolution, resolution);
}

std::string dots_option(const Printer& printer) {
  return "Quality=" + printer.y_resolution + "x" + printer.y_resolution + "sw";
}

shell::Command plain(const Printer& printer, PrinterTools tools, const char* option) {
  return tools == foomatic ? compose("foomatic-configure -s cups -n '%s' -o %s", printer.queue, option)
                           : compose("lpoptions -p '%s' -o %s", printer.queue, option);
}

// One setting: the Windows constant that a value contains, and the option it becomes. Rows of the same value
// are one group, of which the first that fits is applied: LETTERSMALL counts as LETTER, ENV_C65 as ENV_C6.
struct Row {
  Value value;
  const char* contained;
  const char* option = nullptr;
  Composer composer = nullptr;           // instead of `option`: makes the command of the printer's values
  const char* trace = "";                // printed before the command runs
  std::optional<PrinterTools> always{};  // these tools on every system
  const char* Capabilities::*option_of_system = nullptr;  // instead of `option`
};

constexpr Row rows[] = {
    // Deliberate: part of the output. The one option that lpoptions sets on every system.
    {.value = &Printer::orientation,
     .contained = "DMORIENT_LANDSCAPE",
     .always = cups,
     .option_of_system = &Capabilities::landscape_option},

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
    // Deliberate: part of the output. B5 paper becomes the B5 envelope.
    {&Printer::paper_size, "DMPAPER_B5", "PageSize=EnvISOB5"},
    // Deliberate: part of the output. The one size that foomatic-configure sets on every system.
    {.value = &Printer::paper_size,
     .contained = "DMPAPER_ENV_C5",
     .option = "PageSize=EnvC5",
     .always = foomatic},
    {&Printer::paper_size, "DMPAPER_ENV_C6", "PageSize=EnvC6"},
    {&Printer::paper_size, "DMPAPER_ENV_MONARCH", "PageSize=EnvMonarch"},
    {.value = &Printer::paper_size,
     .contained = "DMPAPER_USER",
     .composer = custom_size,
     .trace = "Setting page size based on paper width and height."},

    {&Printer::color, "DMCOLOR_MONOCHROME", "OutputType=BlackAndWhite"},
    {&Printer::color, "DMCOLOR_COLOR", "OutputType=Color"},

    {&Printer::print_quality, "DMRES_HIGH", "QualityType=High"},
    {&Printer::print_quality, "DMRES_MEDIUM", "QualityType=Normal"},
    // Deliberate: part of the output. Low quality is the same as medium.
    {&Printer::print_quality, "DMRES_LOW", "QualityType=Normal"},
    {&Printer::print_quality, "DMRES_DRAFT", "QualityType=Draft"},

    {&Printer::y_resolution, "300", nullptr, dots},
    {&Printer::y_resolution, "600", nullptr, dots},
};

shell::Command command_of(const Row& row, const Printer& printer, PrinterTools of_system, System system) {
  const PrinterTools tools = row.always.value_or(of_system);
  if (row.composer != nullptr) return row.composer(printer, tools);
  const bool differs = row.option_of_system != nullptr;
  return plain(printer, tools, differs ? capabilities(system).*row.option_of_system : row.option);
}

bool keep_files(const Row& row, const Printer& printer, PrinterTools of_system) {
  return row.always.value_or(of_system) == cups ? keep_own_options() : keep_foomatic_files(printer.queue);
}

// What the row's command sets; empty for the size of a person's own, which no tool takes.
std::string option_of(const Row& row, const Printer& printer) {
  if (row.option != nullptr) return row.option;
  return row.composer == dots ? dots_option(printer) : "";
}

bool fits(const Row& row, const Printer& printer) { return contains(printer.*row.value, row.contained); }

}  // namespace

bool set_options(const PrinterDescription& printer, PrinterTools tools, System system, UsableQueue& queue,
                 shell::Command last) {
  for (const Row* group = std::begin(rows); group != std::end(rows);) {
    const Row* end =
        std::find_if(group, std::end(rows), [&](const Row& row) { return row.value != group->value; });
    const Row* row = std::find_if(group, end, [&](const Row& one) { return fits(one, printer); });
    if (row != end) {
      if (!keep_files(*row, printer, tools)) return false;
      std::printf("%s", row->trace);
      last = command_of(*row, printer, tools, system);
      SYSTEM(last);
      if (row->always.value_or(tools) == foomatic) queue.after_option(option_of(*row, printer));
    }
    std::printf("Options::%s", last.text().c_str());
    group = end;
  }
  return true;
}
