#include "process/printers/cups.h"

#include <cstdio>
#include <string>

#include "process/archive/layout.h"
#include "process/archive/settings.h"
#include "process/printers/description.h"
#include "process/printers/queue.h"
#include "process/printers/tools_files.h"
#include "shell/files.h"
#include "shell/home.h"
#include "shell/run.h"
#include "system/target.h"

namespace {

shell::Command queue_command(const std::string& queue, const std::string& uri, const Model& model) {
  return compose(" lpadmin -p '%s' -E -v '%s' -m '%s'", queue, uri, model.driver);
}

shell::Command default_command(const std::string& queue) { return compose("lpadmin -d '%s'", queue); }

things::Driver find_driver(const Model& model) { return {.listed_as = model.driver, .ppd = {}}; }

// lpadmin leaves all its work to the server.
bool keep_nothing(const std::string& /*queue*/) { return true; }

constexpr QueueTools cups_tools = {.family = PrinterTools::cups,
                                   .keep_search = keep_cups_search,
                                   .find_model = find_cups_model,
                                   .needs_id = false,
                                   .keep_for_queue = keep_nothing,
                                   .queue_command = queue_command,
                                   .find_driver = find_driver,
                                   .keep_for_default = keep_nothing,
                                   .default_command = default_command,
                                   .traces_more = true};

// False when the login's options could not be kept.
bool set_default_printer(const std::string& login, const std::string& path) {
  convert_line_ends(path);
  const File file = open_file(path, "r");
  if (!file) return true;
  if (!keep_options_of(login)) return false;
  const std::string name = setting(file.get(), "Printer Name").value_or("");
  const shell::Command command = compose("su - %s -c\"%s\"", login, compose("lpoptions -d '%s'", name));
  shell::run_unlogged(command);
  std::printf("Executed Command::%s", command.c_str());
  return true;
}

}  // namespace

int nldprinter(const char* args) { return migrate_printers(target_of(args), cups_tools) ? 0 : -1; }

int normalprinter(const char* args) {
  const Target target = target_of(args);
  trace_home(target.home);
  if (is_folder(args, layout::printers) == 0) return 0;
  std::printf("Printer folder is present for normal user");
  for (const std::string& path : description_files(target.root))
    if (!set_default_printer(target.login, path)) return -1;
  return 0;
}
