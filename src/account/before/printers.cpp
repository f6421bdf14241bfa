#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "account/before/before.h"
#include "account/before/driver_search.h"
#include "account/before/settings_file.h"
#include "process/archive/layout.h"

namespace account {
namespace {

bool has(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

// ---- Ports ---------------------------------------------------------------------------------------------

enum class Port { moved, shared, left_out };

Port port_of(std::string_view port) {
  if (has(port, "http:")) return Port::moved;
  if (has(port, ":")) {
    const bool drive = has(port, "C:") || has(port, "D:") || has(port, "E:") || has(port, "F:");
    return drive ? Port::left_out : Port::moved;
  }
  if (has(port, "//")) return Port::shared;
  return has(port, "USB001") || has(port, "LPT1") || has(port, "LPT2") ? Port::moved : Port::left_out;
}

// ---- Descriptions --------------------------------------------------------------------------------------

struct Printer {
  std::string name;  // of the entry
  std::string port, driver, queue;
};

std::vector<Printer> printers_below(const Archive& archive, const std::string& folder) {
  std::vector<Printer> printers;
  for (const Entry& entry : archive.below(folder)) {
    if (entry.folder || entry.encrypted()) continue;
    const SettingsFile file(archive, entry);
    printers.push_back({std::string(entry.name), file.value("Port Name").value_or(""),
                        file.value("Driver Name").value_or(""),
                        file.value("Driver Name Wo Spaces").value_or("")});
  }
  return printers;
}

}  // namespace

void foresee_printers(const Outlook& outlook, std::vector<Warning>& found) {
  const Person& person = outlook.people.front();
  const std::string folder = person.folder + "/" + layout::printers;
  if (!outlook.archive.has(folder)) return;
  if (!outlook.as_root)
    return found.push_back({person.login, Kind::printers, folder, Foresight::printers_need_root, ""});
  const std::vector<Printer> printers = printers_below(outlook.archive, folder);
  std::set<std::string> drivers;
  for (const Printer& printer : printers)
    if (port_of(printer.port) != Port::left_out) drivers.insert(printer.driver);
  const std::set<std::string> found_drivers = drivers_found(drivers, outlook.system);
  std::map<std::string, std::string> queues;
  for (const Printer& printer : printers) {
    const auto say = [&](Foresight what, const std::string& detail = "") {
      found.push_back({person.login, Kind::printers, printer.name, what, detail});
    };
    const Port way = port_of(printer.port);
    if (way == Port::left_out) {
      say(Foresight::port_left_out, printer.port);
      continue;
    }
    if (way == Port::shared) say(Foresight::asks_credentials);
    if (!found_drivers.contains(printer.driver)) say(Foresight::driver_window, printer.driver);
    const auto [first, is_new] = queues.try_emplace(printer.queue, printer.name);
    if (!is_new) say(Foresight::shares_queue, first->second);
  }
}

}  // namespace account
