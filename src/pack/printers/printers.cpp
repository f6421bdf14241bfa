#include "pack/printers/printers.h"

#include <glib.h>

#include <algorithm>
#include <cstdio>
#include <set>

#include "pack/printers/dev_mode.h"
#include "pack/printers/ports.h"
#include "pack/registry/hive.h"
#include "process/archive/layout.h"

namespace pack {

namespace {

constexpr std::size_t most_words = 10;
// Of a driver's name, so that its line fits into the piece that is read at once.
constexpr std::size_t longest_name = 98;

struct Printer {
  std::string name;
  std::string driver;
  std::string port;  // in the archive's form
  std::string dev_mode;
};

// Not longer than fits, and not to within a character.
std::string beginning_of(std::string text) {
  if (text.size() <= longest_name) return text;
  const char* end = nullptr;
  if (g_utf8_validate(text.data(), longest_name, &end) != FALSE) return text.substr(0, longest_name);
  text.resize(static_cast<std::size_t>(end - text.data()));
  return text;
}

std::string in_words(const std::string& text, const char* between) {
  std::string words;
  std::size_t count = 0;
  for (std::size_t begin = 0; begin < text.size() && count < most_words;) {
    const std::size_t end = std::min(text.find_first_of(" \t\r\n", begin), text.size());
    if (end > begin) words += (count++ == 0 ? "" : between) + text.substr(begin, end - begin);
    begin = end + 1;
  }
  return beginning_of(words);
}

// A queue's name takes few signs.
std::string queue_of(const std::string& driver) {
  std::string queue = in_words(driver, "");
  std::ranges::replace_if(
      queue,
      [](char c) {
        return !((c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' ||
                 c == '_' || c == '.');
      },
      '_');
  return queue;
}

// What a person has set for themselves, where Windows keeps it since XP and before.
std::optional<std::string> own_dev_mode(const Hive& hive, const std::string& printer) {
  for (const char* key : {R"(Printers\DevModePerUser)", R"(Printers\DevModes2)"}) {
    const auto mode = hive.bytes(key, printer);
    if (mode && is_dev_mode(*mode)) return mode;
  }
  return std::nullopt;
}

// A queue's name is made of it.
std::string driver_or_name(const std::string& driver, const std::string& name) {
  for (const std::string& text : {driver, name})
    if (text.find_first_not_of(" \t\r\n") != std::string::npos) return text;
  return "Printer";
}

// The settings come first: no word of theirs holds a key, while a driver's name ("Stylus Color") may, and
// would hide the lines behind it.
std::string description_of(const Printer& printer, const std::string& queue) {
  const PrinterSettings settings = settings_of(printer.dev_mode);
  const std::pair<const char*, const std::string*> lines[] = {{"Orientation", &settings.orientation},
                                                              {"Paper Size", &settings.paper_size},
                                                              {"Paper Width", &settings.paper_width},
                                                              {"Paper Length", &settings.paper_length},
                                                              {"Scale", &settings.scale},
                                                              {"Print Quality", &settings.print_quality},
                                                              {"Color", &settings.color},
                                                              {"Duplex", &settings.duplex},
                                                              {"Y-Resolution", &settings.y_resolution},
                                                              {"Port Name", &printer.port}};
  std::string text;
  for (const auto& [key, value] : lines) text += std::string(key) + "=" + *value + "\r\n";
  return text + "Driver Name=" + in_words(printer.driver, " ") + "\r\nDriver Name Wo Spaces=" + queue +
         "\r\nPrinter Name=" + queue + "\r\n";
}

std::string in_small_letters(std::string text) {
  std::ranges::transform(text, text.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return text;
}

std::optional<std::string> control_set(const Hive& system) {
  const auto current = system.number("Select", "Current");
  if (!current) return std::nullopt;
  char name[32];
  std::snprintf(name, sizeof name, "ControlSet%03u", *current);
  return name;
}

// "NAME,winspool,PORT": a name may hold commas.
std::string default_printer_of(const Hive& hive) {
  std::string device =
      hive.text(R"(Software\Microsoft\Windows NT\CurrentVersion\Windows)", "Device").value_or("");
  for (int comma = 0; comma < 2; ++comma) device.resize(std::min(device.rfind(','), device.size()));
  return device;
}

std::optional<Hive> hive_of(const Person& person) {
  const auto file = find(*person.home.tree, person.home.path, "NTUSER.DAT");
  return file ? Hive::open(*person.home.tree, file->path) : std::nullopt;
}

// Whether the machine's hive can be read is told with the machine, and damage that others have met.
std::vector<Printer> local_printers(Packing& packing, const Machine& machine) {
  std::vector<Printer> printers;
  const Tree& tree = machine.disk.system();
  const auto file = machine_hive(tree, "SYSTEM");
  const auto opened = file ? Hive::open(tree, *file) : std::nullopt;
  if (!opened) return printers;
  const Hive& system = *opened;
  const auto control = control_set(system);
  if (!control) {
    packing.tell_of(Kind::printers, Cause::registry_unreadable, *file);
    return printers;
  }
  const std::string key = *control + R"(\Control\Print\Printers)";
  for (const std::string& name : system.keys(key)) {
    const std::string printer = key + "\\" + name;
    const std::string port = system.text(printer, "Port").value_or("");
    const auto written = port_in_archive(port, system, *control);
    if (is_own_port(port) || !written) {
      packing.leave_out(Kind::printers, is_own_port(port) ? Cause::windows_own : Cause::port_not_kept, name);
      continue;
    }
    printers.push_back({.name = name,
                        .driver = driver_or_name(system.text(printer, "Printer Driver").value_or(""), name),
                        .port = *written,
                        .dev_mode = system.bytes(printer, "Default DevMode").value_or("")});
  }
  const Gap damage{.cause = Cause::registry_damaged, .path = *file};
  if (system.is_damaged() && std::ranges::find(machine.gaps, damage) == machine.gaps.end())
    packing.tell_of(Kind::printers, damage.cause, damage.path);
  return printers;
}

// Keys such as ",,server,queue".
std::vector<Printer> connected_printers(Packing& packing, const Hive& hive) {
  std::vector<Printer> printers;
  for (const std::string& key : hive.keys(R"(Printers\Connections)")) {
    std::string share = key;
    std::ranges::replace(share, ',', '/');
    const std::string queue = share.substr(share.rfind('/') + 1);
    if (queue.empty() || !share_in_archive(share)) {
      packing.leave_out(Kind::printers, Cause::port_not_kept, key);
      continue;
    }
    std::string shown = share;
    std::ranges::replace(shown, '/', '\\');
    printers.push_back({.name = shown, .driver = queue, .port = share, .dev_mode = ""});
  }
  return printers;
}

// The queue that each printer becomes.
struct Queue {
  Printer printer;
  std::string name;
};
std::vector<Queue> queues_of(std::vector<Printer> printers) {
  std::vector<Queue> queues;
  // Upper and lower case letters are one in a queue's name. The file of the default printer has this one.
  std::set<std::string> names{"default"};
  for (Printer& printer : printers) {
    const std::string wanted = queue_of(printer.driver);
    std::string name = wanted;
    for (int number = 2; !names.insert(in_small_letters(name)).second; ++number)
      name = wanted + "-" + std::to_string(number);
    queues.push_back({.printer = std::move(printer), .name = name});
  }
  return queues;
}

// Somebody's default printer, with the settings of their own that they have for it.
struct DefaultPrinter {
  std::string name;
  std::optional<std::string> own_mode;
};

// The machine's printers first, then those in the network that somebody has, each once; and each person's
// default one. One hive after the other is open.
struct AllPrinters {
  std::vector<Printer> printers;
  std::vector<DefaultPrinter> defaults;
};
AllPrinters found_printers(Packing& packing, const Machine& machine) {
  AllPrinters found;
  found.printers = local_printers(packing, machine);
  for (const Person& person : machine.people) {
    DefaultPrinter& by_default = found.defaults.emplace_back();
    const auto hive = hive_of(person);
    if (!hive) continue;
    by_default.name = default_printer_of(*hive);
    by_default.own_mode = own_dev_mode(*hive, by_default.name);
    for (Printer& printer : connected_printers(packing, *hive)) {
      const auto is_it = [&](const Printer& other) { return is_same_name(other.port, printer.port); };
      if (std::ranges::none_of(found.printers, is_it)) found.printers.push_back(std::move(printer));
    }
    if (machine.people.size() == 1)  // else the queues are everybody's
      for (Printer& printer : found.printers)
        printer.dev_mode = own_dev_mode(*hive, printer.name).value_or(printer.dev_mode);
    if (hive->is_damaged())
      packing.tell_of(Kind::printers, Cause::registry_damaged, joined(person.home.path, "NTUSER.DAT"));
  }
  return found;
}

bool is_called(const Queue& queue, const std::string& name) {
  return !name.empty() && is_same_name(queue.printer.name, name);
}

// In each one's profile.
void pack_defaults(Packing& shared, const Machine& machine, const std::vector<Queue>& queues,
                   const std::vector<DefaultPrinter>& defaults) {
  for (std::size_t number = 0; number < machine.people.size(); ++number) {
    const auto& [name, own_mode] = defaults[number];
    const auto queue = std::ranges::find_if(queues, [&](const Queue& one) { return is_called(one, name); });
    if (queue == queues.end()) continue;
    const std::string folder =
        std::string(layout::profiles) + "/" + machine.people[number].login + "/" + layout::printers;
    Printer printer = queue->printer;
    printer.dev_mode = own_mode.value_or(printer.dev_mode);
    shared.add_folder(folder);
    shared.add_control(folder + "/" + layout::default_printer, description_of(printer, queue->name));
  }
}

}  // namespace

void pack_printers(Packing& shared, const Machine& machine) {
  if (!shared.wants(Kind::printers)) return;
  AllPrinters found = found_printers(shared, machine);
  const auto queues = queues_of(std::move(found.printers));
  const bool is_for_one = machine.people.size() == 1;
  bool has_default = false;
  for (const Queue& queue : queues) {
    shared.add_folder(layout::printers);
    const bool is_default = is_for_one && !has_default && is_called(queue, found.defaults.front().name);
    has_default |= is_default;
    const std::string file = is_default ? layout::default_printer : queue.name + ".txt";
    shared.add_text(Kind::printers, std::string(layout::printers) + "/" + file,
                    description_of(queue.printer, queue.name));
  }
  if (!is_for_one) pack_defaults(shared, machine, queues, found.defaults);
}

}  // namespace pack
