#include "process/printers/cups.h"

#include <cstdio>

#include "process/archive/settings.h"
#include "process/printers/description.h"
#include "process/printers/driver_search.h"
#include "process/printers/queue.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/run.h"
#include "state/state.h"

namespace {

// No id here: the model list knows a printer by its PPD alone.
bool find_driver(const PrinterDescription& printer) {
  nldfinddriver(printer.driver_name.c_str());
  std::printf("ID=%s \t Driver=%s", "", Driver);
  return Driver[0] != '\0';
}

shell::Command make_queue(const PrinterDescription& printer, const std::string& uri) {
  std::printf("Driver::%s", Driver);
  std::printf("Printer Name::%s", printer.queue.c_str());
  shell::Command command = compose(" lpadmin -p '%s' -E -v '%s' -m '%s'", printer.queue, uri, Driver);
  SYSTEM(command);
  std::printf("Options::%s", command.c_str());
  return command;
}

shell::Command default_command(const std::string& queue) { return compose("lpadmin -d '%s'", queue); }

constexpr QueueTools cups_tools = {find_driver, make_queue, default_command, OptionTool::lpoptions};

void set_default_printer(const std::string& path) {
  SYSTEM(compose("dos2unix %s", path));
  const File file = open_file(path, "r");
  if (!file) return;
  const std::string name = setting(file.get(), "Printer Name").value_or("");
  const shell::Command command = compose("su - %s -c\"%s\"", cur_user, compose("lpoptions -d '%s'", name));
  shell::run_unlogged(command);
  std::printf("Executed Command::%s", command.c_str());
}

}  // namespace

int nldprinter(const char* args) {
  migrate_printers(args, cups_tools, OSName);
  return 0;
}

int normalprinter(const char* args) {
  user_home();  // for its trace line
  if (is_folder(args, "Printers") == 0) return 0;
  std::printf("Printer folder is present for normal user");
  for (const std::string& path : description_files(args)) set_default_printer(path);
  return 0;
}
