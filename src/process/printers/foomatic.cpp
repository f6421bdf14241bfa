#include "process/printers/foomatic.h"

#include <cstdio>

#include "process/printers/queue.h"
#include "process/printers/tools_files.h"
#include "shell/compose.h"
#include "state/state.h"
#include "system/target.h"
#include "things/program.h"

namespace {

// Id and driver bring their own single quotes and are refused unless they are one quoted word each.
shell::Command queue_command(const std::string& queue, const std::string& uri, const Model& model) {
  return compose(" foomatic-configure -s cups -p %s -c '%s' -n '%s' -d %s", shell::QuotedWord{model.id}, uri,
                 queue, shell::QuotedWord{model.driver});
}

shell::Command default_command(const std::string& queue) {
  return compose("foomatic-configure -s cups -D -n '%s'", queue);
}

constexpr const char* of_names = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_+.-";

// Empty for what is no name in the database.
std::string without_quotes(const std::string& quoted) {
  if (quoted.size() < 3 || quoted.front() != '\'' || quoted.back() != '\'') return "";
  std::string name = quoted.substr(1, quoted.size() - 2);
  return name.find_first_not_of(of_names) == name.npos ? name : "";
}

// What foomatic-configure does with its database. The part that the database has in the server's own list
// takes longer than cupsd waits for it on a busy machine.
constexpr const char* describe = R"(
my ($id, $driver) = @ARGV;
my $database = Foomatic::DB->new();
my $found = $database->getdat($driver, $id) && ($database->{dat}{cmd} || $database->{dat}{ppdfile});
print $database->getppd(0) if $found;
)";

things::Driver find_driver(const Model& model) {
  const std::string id = without_quotes(model.id);
  const std::string driver = without_quotes(model.driver);
  if (id.empty() || driver.empty()) return {};
  things::Driver found;
  std::string error;
  if (!things::run_program_for(found.ppd, {"perl", "-MFoomatic::DB", "-e", describe, "--", id, driver},
                               error))
    std::fprintf(stderr, "foomatic's database cannot be asked: %s\n", error.c_str());
  return found;
}

// It tells lpoptions as well.
bool keep_for_default(const std::string& /*queue*/) { return keep_own_options(); }

constexpr QueueTools foomatic_tools = {.family = PrinterTools::foomatic,
                                       .keep_search = keep_foomatic_search,
                                       .find_model = find_foomatic_model,
                                       .needs_id = true,
                                       .keep_for_queue = keep_foomatic_files,
                                       .queue_command = queue_command,
                                       .find_driver = find_driver,
                                       .keep_for_default = keep_for_default,
                                       .default_command = default_command,
                                       .traces_more = false};

}  // namespace

int printer(const char* args) {
  static char id[128];
  static char driver[128];
  id[0] = driver[0] = '\0';
  Id = id;
  Driver = driver;
  return migrate_printers(target_of(args), foomatic_tools) ? 0 : -1;
}
