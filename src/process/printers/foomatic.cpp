#include "process/printers/foomatic.h"

#include <cstdio>

#include "process/printers/driver_search.h"
#include "process/printers/queue.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

bool find_driver(const PrinterDescription& printer) {
  finddriver(printer.driver_name.c_str());
  std::printf("ID=%s \t Driver=%s", Id2, Driver2);
  return Id2[0] != '\0' && Driver2[0] != '\0';
}

// Id and driver bring their own single quotes and are refused unless they are one quoted word each.
shell::Command make_queue(const PrinterDescription& printer, const std::string& uri) {
  std::printf("Printer Name::%s", printer.queue.c_str());
  shell::Command command = compose(" foomatic-configure -s cups -p %s -c '%s' -n '%s' -d %s",
                                   shell::QuotedWord{Id2}, uri, printer.queue, shell::QuotedWord{Driver2});
  SYSTEM(command);
  return command;
}

shell::Command default_command(const std::string& queue) {
  return compose("foomatic-configure -s cups -D -n '%s'", queue);
}

constexpr QueueTools foomatic_tools = {find_driver, make_queue, default_command,
                                       OptionTool::foomatic_configure};

}  // namespace

int printer(const char* args) {
  static char id[128];
  static char driver[128];
  id[0] = driver[0] = '\0';
  Id = id;
  Driver = driver;
  migrate_printers(args, foomatic_tools, OSName);
  return 0;
}
