#include "account/kinds/printers.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>

#include "account/archive/charset.h"
#include "account/archive/settings.h"
#include "account/kinds/entries.h"
#include "account/readers/cups.h"
#include "process/archive/layout.h"

namespace account {
namespace {

constexpr std::size_t largest_description = 1 << 16;

struct Printer {
  Settings settings;
  std::string name;   // for the person
  std::string queue;  // "Driver Name Wo Spaces"
  std::string port;
  bool was_default;
};

struct Fault {
  Cause cause;
  std::string detail{};
};

bool contains(const std::string& text, std::string_view part) { return text.find(part) != std::string::npos; }

bool is_same_queue(const std::string& one, const std::string& other) {
  return strcasecmp(one.c_str(), other.c_str()) == 0;  // as the print system takes them
}

// ---- What the archive has -------------------------------------------------------------------------------

Printer printer_of(const Case& of, const Entry& entry, const std::string& text) {
  Printer printer = {.settings = Settings(text), .name = {}, .queue = {}, .port = {}, .was_default = false};
  for (const char* key : {"Printer Name", "Driver Name"})
    if (printer.name.empty()) printer.name = readable(printer.settings.text(key), of.charset.c_str());
  const std::string file(name_within(entry, of.in_archive(layout::printers)));
  if (printer.name.empty()) printer.name = file;
  printer.queue = printer.settings.text("Driver Name Wo Spaces");
  printer.port = printer.settings.text("Port Name");
  printer.was_default = file == layout::default_printer;
  return printer;
}

// Counts every description; those that cannot be read are missing already.
std::vector<Printer> find_printers(const Case& of, Tally& tally) {
  std::vector<Printer> printers;
  const std::string folder = of.in_archive(layout::printers);
  const auto entries = of.archive.below(folder);
  for (const Entry& entry : entries) {
    if (entry.folder || is_overridden(entry, entries)) continue;
    tally.find();
    const std::string name(name_within(entry, folder));
    bool whole = true;
    const auto fault = fault_of(entry);
    const std::string text = entry.encrypted() ? "" : of.archive.read(entry, largest_description, &whole);
    if (fault) {
      tally.miss(name, *fault);
    } else if (contains(name, "/")) {
      tally.miss(name, Cause::folder_left_out);
    } else if (entry.encrypted()) {
      tally.miss(name, Cause::encrypted);
    } else if (!whole) {
      tally.miss(name, Cause::damaged);
    } else {
      printers.push_back(printer_of(of, entry, text));
    }
  }
  return printers;
}

// ---- Where a port leads ---------------------------------------------------------------------------------

// A device address; a share's is what follows the credentials that the person was asked for.
struct Device {
  std::string uri;
  bool is_share = false;
};

std::optional<Device> device_of(const std::string& port) {
  const std::size_t colon = port.find(':');
  if (contains(port, "http:")) return Device{"ipp:" + port.substr(colon + 1)};
  for (const char* drive : {"C:", "D:", "E:", "F:"})
    if (contains(port, drive)) return std::nullopt;
  if (colon != std::string::npos) {
    std::string path = port;
    std::ranges::replace(path, ':', '/');
    return Device{"lpd://" + path};
  }
  if (contains(port, "//")) return Device{port.substr(2), true};
  if (contains(port, "USB001")) return Device{"parallel:/dev/usb/lp0"};
  if (contains(port, "LPT1")) return Device{"parallel:/dev/lp0"};
  if (contains(port, "LPT2")) return Device{"parallel:/dev/lp1"};
  return std::nullopt;
}

bool leads_to(const PrintQueue& queue, const Device& device, System system) {
  if (device.is_share)
    return queue.uri == "smb://" + device.uri ||
           (queue.uri.starts_with("smb://") && queue.uri.ends_with("@" + device.uri));
  // foomatic-configure knows better than the port it is given and makes a usb: of the USB device.
  if (!has_evolution(system) && queue.uri == "usb:/dev/usb/lp0") return device.uri == "parallel:/dev/usb/lp0";
  return queue.uri == device.uri;
}

// ---- Settings -------------------------------------------------------------------------------------------

// A Windows constant, and the option it becomes; the first of a group that is in the key's value holds.
struct OptionRow {
  const char* key;
  const char* contained;
  const char* option;
  const char* choice;
  bool differs = false;  // the choice is another one than the person had
};

constexpr OptionRow option_rows[] = {
    {"Duplex", "DMDUP_HORIZONTAL", "Duplex", "DuplexTumble"},
    {"Duplex", "DMDUP_VERTICAL", "Duplex", "DuplexNoTumble"},
    {"Paper Size", "DMPAPER_LETTER", "PageSize", "Letter"},
    {"Paper Size", "DMPAPER_A3", "PageSize", "A3"},
    {"Paper Size", "DMPAPER_A4", "PageSize", "A4"},
    {"Paper Size", "DMPAPER_A5", "PageSize", "A5"},
    {"Paper Size", "DMPAPER_A6", "PageSize", "A6"},
    {"Paper Size", "DMPAPER_LEGAL", "PageSize", "Legal"},
    {"Paper Size", "DMPAPER_ENV_10", "PageSize", "Env10"},
    {"Paper Size", "DMPAPER_ENV_DL", "PageSize", "EnvDL"},
    {"Paper Size", "DMPAPER_EXECUTIVE", "PageSize", "Executive"},
    {"Paper Size", "DMPAPER_B5", "PageSize", "EnvISOB5", true},
    {"Paper Size", "DMPAPER_ENV_C5", "PageSize", "EnvC5"},
    {"Paper Size", "DMPAPER_ENV_C6", "PageSize", "EnvC6"},
    {"Paper Size", "DMPAPER_ENV_MONARCH", "PageSize", "EnvMonarch"},
    {"Paper Size", "DMPAPER_USER", "PageSize", "Custom"},
    {"Color", "DMCOLOR_MONOCHROME", "OutputType", "BlackAndWhite"},
    {"Color", "DMCOLOR_COLOR", "OutputType", "Color"},
    {"Print Quality", "DMRES_HIGH", "QualityType", "High"},
    {"Print Quality", "DMRES_MEDIUM", "QualityType", "Normal"},
    {"Print Quality", "DMRES_LOW", "QualityType", "Normal", true},
    {"Print Quality", "DMRES_DRAFT", "QualityType", "Draft"},
};

struct Wish {
  std::string option, choice;
  bool differs = false;
};

std::vector<Wish> wishes_of(const Printer& printer, System system) {
  std::vector<Wish> wishes;
  if (contains(printer.settings.text("Orientation"), "DMORIENT_LANDSCAPE"))
    wishes.push_back(is_redflag(system) ? Wish{"orientation-requested", "4"} : Wish{"landscape", "true"});
  std::string_view served;
  for (const OptionRow& row : option_rows) {
    if (row.key == served || !contains(printer.settings.text(row.key), row.contained)) continue;
    served = row.key;
    wishes.push_back({row.option, row.choice, row.differs});
  }
  const std::string dots = printer.settings.text("Y-Resolution");
  if (contains(dots, "300") || contains(dots, "600")) wishes.push_back({"Quality", dots + "x" + dots + "sw"});
  return wishes;
}

// foomatic-configure sets nothing that the driver does not offer; lpoptions notes down everything. Job
// options are lpoptions' everywhere.
bool can_be_set(const Wish& wish, const PrintQueue& queue, System system) {
  if (has_evolution(system) || wish.option == "landscape" || wish.option == "orientation-requested")
    return true;
  const auto offered = queue.driver.find(wish.option);
  return offered != queue.driver.end() && offered->second.choices.contains(wish.choice);
}

bool is_set(const Wish& wish, const PrintQueue& queue) {
  const std::string choice = queue.choice(wish.option);
  return choice == wish.choice || (wish.choice == "Custom" && choice.starts_with("Custom"));
}

// ---- A printer and its queue ----------------------------------------------------------------------------

std::optional<Fault> fault_in(const PrintQueue& queue, const Printer& printer, const Device& device,
                              System system) {
  if (contains(queue.uri, "/dev/null")) return Fault{Cause::queue_leads_nowhere};
  if (!queue.has_driver) return Fault{Cause::no_driver};
  if (!leads_to(queue, device, system)) return Fault{Cause::queue_leads_elsewhere, queue.uri};
  for (const Wish& wish : wishes_of(printer, system))
    if (can_be_set(wish, queue, system) && !is_set(wish, queue))
      return Fault{Cause::option_not_set, wish.option};
  if (printer.was_default && !queue.is_default) return Fault{Cause::not_default};
  return std::nullopt;
}

bool is_adapted(const PrintQueue& queue, const Printer& printer, System system) {
  return std::ranges::any_of(wishes_of(printer, system), [&](const Wish& wish) {
    return wish.differs || !can_be_set(wish, queue, system);
  });
}

const PrintQueue* find_queue(const std::vector<PrintQueue>& queues, const std::string& name) {
  const auto found =
      std::ranges::find_if(queues, [&](const PrintQueue& queue) { return is_same_queue(queue.name, name); });
  return found == queues.end() ? nullptr : &*found;
}

// The printers of one queue. Only one of them can have arrived: the first whom it serves, and without such a
// one the first of all tells what is wrong with it.
void compare_group(const Case& of, const PrintQueue& queue, const std::vector<const Printer*>& group,
                   Tally& tally) {
  const auto fault_for = [&](const Printer* printer) {
    return fault_in(queue, *printer, *device_of(printer->port), of.system);
  };
  auto served = std::ranges::find_if(group, [&](const Printer* printer) { return !fault_for(printer); });
  if (served == group.end()) served = group.begin();
  for (const Printer* printer : group) {
    if (printer != *served) {
      tally.miss(printer->name, Cause::queue_shared, queue.name);
    } else if (const auto fault = fault_for(printer)) {
      tally.miss(printer->name, fault->cause, fault->detail);
    } else if (is_adapted(queue, *printer, of.system)) {
      tally.arrive_changed();
    } else {
      tally.arrive_unchanged();
    }
  }
}

using Groups = std::map<std::string, std::vector<const Printer*>>;

// By queue, whose names are the same in small and capital letters.
Groups grouped(const std::vector<Printer>& printers) {
  Groups groups;
  for (const Printer& printer : printers) {
    std::string name = printer.queue;
    std::ranges::transform(name, name.begin(), [](unsigned char c) { return std::tolower(c); });
    groups[name].push_back(&printer);
  }
  return groups;
}

void miss_all(const std::vector<const Printer*>& printers, Cause cause, Tally& tally) {
  for (const Printer* printer : printers) tally.miss(printer->name, cause, printer->queue);
}

void compare_queues(const Case& of, const std::vector<Printer>& printers, Tally& tally) {
  const auto queues = read_queues();
  // Nobody but the administrator was allowed to add a printer, so none of somebody else's is in doubt.
  if (!queues && of.as_root) tally.give_up();
  for (const auto& [name, group] : grouped(printers)) {
    const PrintQueue* const queue = queues ? find_queue(*queues, name) : nullptr;
    if (queue != nullptr) {
      compare_group(of, *queue, group, tally);
    } else if (!of.as_root) {
      miss_all(group, Cause::printers_need_root, tally);
    } else {
      miss_all(group, queues ? Cause::no_queue : Cause::no_print_system, tally);
    }
  }
}

void compare_for_runner(const Case& of, std::vector<Printer> printers, Tally& tally) {
  std::erase_if(printers, [&](const Printer& printer) {
    if (device_of(printer.port)) return false;
    tally.miss(printer.name, Cause::port_has_no_counterpart, printer.port);
    return true;
  });
  if (!printers.empty()) compare_queues(of, printers, tally);
}

// ---- A profile ------------------------------------------------------------------------------------------

// The port of that queue's printer, which the wizard makes for all from the archive's own printers, when it
// has no counterpart here.
std::optional<std::string> port_without_counterpart(const Case& of, const std::string& queue) {
  const std::string folder = std::string(layout::root) + "/" + layout::printers;
  for (const Entry& entry : of.archive.below(folder)) {
    if (entry.folder || entry.encrypted()) continue;
    const Settings settings(of.archive.read(entry, largest_description));
    if (!is_same_queue(settings.text("Driver Name Wo Spaces"), queue)) continue;
    const std::string port = settings.text("Port Name");
    if (!device_of(port)) return port;
  }
  return std::nullopt;
}

void compare_for_profile(const Case& of, const std::vector<Printer>& printers, Tally& tally) {
  const auto queues = printers.empty() ? std::vector<PrintQueue>() : read_queues();
  if (!queues) tally.give_up();
  const std::string chosen = default_printer_in(of.person.home);
  const auto is_chosen = [&](const Printer& printer) {
    return is_same_queue(printer.settings.text("Printer Name"), chosen);
  };
  const bool has_default = !chosen.empty() && std::ranges::any_of(printers, is_chosen);
  for (const Printer& printer : printers) {
    const std::string queue = printer.settings.text("Printer Name");
    if (!queues) {
      tally.miss(printer.name, Cause::no_print_system);
    } else if (find_queue(*queues, queue) == nullptr) {
      const auto port = port_without_counterpart(of, queue);
      tally.miss(printer.name, port ? Cause::port_has_no_counterpart : Cause::no_queue, port.value_or(queue));
    } else if (!has_default || (printer.was_default && !is_chosen(printer))) {
      tally.miss(printer.name, Cause::not_default);
    } else {
      tally.arrive_unchanged();
    }
  }
}

}  // namespace

void compare_printers(const Case& of, Tally& tally) {
  const std::vector<Printer> printers = find_printers(of, tally);
  if (of.person.runs) {
    compare_for_runner(of, printers, tally);
  } else {
    compare_for_profile(of, printers, tally);
  }
}

}  // namespace account
