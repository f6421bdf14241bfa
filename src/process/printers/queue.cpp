#include "process/printers/queue.h"

#include <cstdio>

#include "process/printers/device_uri.h"
#include "shell/run.h"

namespace {

void migrate(const PrinterDescription& printer, const QueueTools& tools, const char* system) {
  const std::optional<Device> device = device_of_port(printer.port);
  if (!device) return;
  std::printf("Going into find driver");
  if (!tools.find_driver(printer)) return;
  std::string uri = uri_of(*device, printer.queue);
  shell::Command last = tools.make_queue(printer, uri);
  forget_credentials(uri);
  if (printer.is_default) {
    last = tools.default_command(printer.queue);
    SYSTEM(last);
  }
  std::printf("Properties Read.");
  set_options(printer, tools.option_tool, system, last);
}

}  // namespace

void migrate_printers(const char* args, const QueueTools& tools, const char* system) {
  for_each_description(args, [&](const PrinterDescription& printer) { migrate(printer, tools, system); });
}
