#include "process/printers/queue.h"

#include <cstdio>
#include <optional>

#include "process/printers/description.h"
#include "process/printers/device_uri.h"
#include "process/printers/kept_queue.h"
#include "process/printers/options.h"
#include "process/printers/usable_queue.h"
#include "shell/run.h"
#include "state/question.h"

namespace {

std::optional<Model> find_model(const QueueTools& tools, const std::string& home,
                                const PrinterDescription& printer) {
  std::printf("Going into find driver");
  driver_question.set_text(printer.name.empty() ? printer.queue : printer.name);
  Model model = tools.find_model(home, printer.driver_name);
  std::printf("ID=%s \t Driver=%s", model.id.c_str(), model.driver.c_str());
  if (model.driver.empty() || (tools.needs_id && model.id.empty())) return std::nullopt;
  return model;
}

// `shown` is `command` without the password of a share.
void make_queue(const QueueTools& tools, const std::string& queue, const Model& model,
                const shell::Command& command, const shell::Command& shown) {
  if (tools.traces_more) std::printf("Driver::%s", model.driver.c_str());
  std::printf("Printer Name::%s", queue.c_str());
  shell::run_shown_as(command, shown);
  if (tools.traces_more) std::printf("Options::%s", shown.c_str());
}

bool make_default(const QueueTools& tools, const std::string& queue, shell::Command& last) {
  if (!tools.keep_for_default(queue)) return false;
  const QueueChange change = QueueChange::of_default();
  if (!change.is_allowed()) return false;
  last = tools.default_command(queue);
  SYSTEM(last);
  change.over();
  return true;
}

// False when something that was there could not be kept.
bool migrate(const Target& target, const QueueTools& tools, const PrinterDescription& printer) {
  const std::optional<Device> device = device_of_port(printer.port);
  if (!device) return true;
  if (!tools.keep_search(target.home)) return false;
  const std::optional<Model> model = find_model(tools, target.home, printer);
  if (!model) return true;
  if (!tools.keep_for_queue(printer.queue)) return false;
  std::optional<std::string> uri = uri_of(*device, printer.queue);
  if (!uri) return true;
  shell::Command last = tools.queue_command(printer.queue, shown_uri(*device), *model);
  const QueueChange change = QueueChange::of(printer.queue);
  if (!change.is_allowed()) {
    forget_credentials(*uri);
    return false;
  }
  UsableQueue queue(printer.queue);
  make_queue(tools, printer.queue, *model, tools.queue_command(printer.queue, *uri, *model), last);
  queue.after_making(*uri, [&] { return tools.find_driver(*model); });
  forget_credentials(*uri);
  if (printer.is_default && !make_default(tools, printer.queue, last)) return false;
  std::printf("Properties Read.");
  const bool all_set = set_options(printer, tools.family, target.system, queue, last);
  queue.after_all();
  change.over();
  return all_set;
}

}  // namespace

bool migrate_printers(const Target& target, const QueueTools& tools) {
  bool kept = true;
  for_each_description(target.root, [&](const PrinterDescription& printer) {
    kept = migrate(target, tools, printer);
    return kept;
  });
  return kept;
}
