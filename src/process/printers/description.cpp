#include "process/printers/description.h"

#include <cstdio>

#include "process/archive/layout.h"
#include "process/archive/settings.h"
#include "shell/files.h"

namespace {

struct Key {
  std::string PrinterDescription::*value;
  const char* name;
};

constexpr Key keys[] = {
    {&PrinterDescription::port, "Port Name"},
    {&PrinterDescription::driver_name, "Driver Name"},
    {&PrinterDescription::queue, "Driver Name Wo Spaces"},
    {&PrinterDescription::orientation, "Orientation"},
    {&PrinterDescription::paper_size, "Paper Size"},
    {&PrinterDescription::paper_width, "Paper Width"},
    {&PrinterDescription::paper_length, "Paper Length"},
    {&PrinterDescription::scale, "Scale"},
    {&PrinterDescription::print_quality, "Print Quality"},
    {&PrinterDescription::color, "Color"},
    {&PrinterDescription::duplex, "Duplex"},
    {&PrinterDescription::y_resolution, "Y-Resolution"},
    {&PrinterDescription::name, "Printer Name"},
};

bool is_default(const std::string& path) {
  return path.ends_with(std::string("/") + layout::default_printer);
}

void trace(const PrinterDescription& printer) {
  std::printf("Printer Port::%s", printer.port.c_str());
  std::printf("Printer Name::%s", printer.driver_name.c_str());
  std::printf("Printer Name Wo Spaces::%s", printer.queue.c_str());
}

}  // namespace

std::optional<PrinterDescription> read_description(const std::string& path) {
  const File file = open_file(path, "r");
  if (!file) return std::nullopt;
  PrinterDescription printer;
  for (const Key& key : keys) printer.*key.value = setting(file.get(), key.name).value_or("");
  printer.is_default = is_default(path);
  return printer;
}

void for_each_description(const std::string& root,
                          const std::function<bool(const PrinterDescription&)>& migrate) {
  for (const std::string& path : description_files(root)) {
    std::printf("Printer File::%s", path.c_str());
    convert_line_ends(path);
    const std::optional<PrinterDescription> printer = read_description(path);
    if (!printer) continue;
    trace(*printer);
    if (!migrate(*printer)) return;
  }
}

std::vector<std::string> description_files(const std::string& root) {
  const std::string folder = root + "/" + layout::printers;
  std::optional<std::vector<std::string>> names = list_folder(folder);
  if (!names) {
    std::perror("Printer:: ");
    return {};
  }
  for (std::string& name : *names) name.insert(0, folder + "/");
  return *names;
}
