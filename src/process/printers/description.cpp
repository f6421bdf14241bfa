#include "process/printers/description.h"

#include <cstdio>

#include "process/archive/settings.h"
#include "shell/files.h"
#include "shell/run.h"

namespace {

constexpr const char* default_file = "/Default.txt";

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
};

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
  printer.is_default = path.ends_with(default_file);
  return printer;
}

void for_each_description(const char* args, const std::function<void(const PrinterDescription&)>& migrate) {
  for (const std::string& path : description_files(args)) {
    std::printf("Printer File::%s", path.c_str());
    SYSTEM(compose("dos2unix %s", path));
    const std::optional<PrinterDescription> printer = read_description(path);
    if (!printer) continue;
    trace(*printer);
    migrate(*printer);
  }
}

std::vector<std::string> description_files(const char* args) {
  const std::string folder = std::string(args) + "/Printers";
  std::optional<std::vector<std::string>> names = list_folder(folder);
  if (!names) {
    std::perror("Printer:: ");
    return {};
  }
  for (std::string& name : *names) name.insert(0, folder + "/");
  return *names;
}
