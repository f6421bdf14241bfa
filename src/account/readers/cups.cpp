#include "account/readers/cups.h"

#include <cups/cups.h>
#include <cups/ppd.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <span>
#include <sstream>

#include "account/readers/file.h"

// libcups discourages its PPD interface, and a queue's own PPD file can be read by nothing else.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace account {
namespace {

constexpr int patience = 10000;  // milliseconds

using Server = std::unique_ptr<http_t, decltype(&httpClose)>;
using Driver = std::unique_ptr<ppd_file_t, decltype(&ppdClose)>;

struct Destinations {
  cups_dest_t* all = nullptr;
  int count = 0;
  ~Destinations() { cupsFreeDests(count, all); }
};

Driver open_driver(http_t* server, const char* queue) {
  std::array<char, 1024> path = {};
  time_t changed = 0;
  const bool fetched = cupsGetPPD3(server, queue, &changed, path.data(), path.size()) == HTTP_STATUS_OK;
  Driver driver(fetched ? ppdOpenFile(path.data()) : nullptr, ppdClose);
  if (fetched) unlink(path.data());
  return driver;
}

void read_driver(ppd_file_t& driver, PrintQueue& queue) {
  for (ppd_option_t* option = ppdFirstOption(&driver); option != nullptr; option = ppdNextOption(&driver)) {
    DriverOption& known = queue.driver[option->keyword];
    known.standard = option->defchoice;
    for (const ppd_choice_t& choice :
         std::span(option->choices, static_cast<std::size_t>(option->num_choices)))
      known.choices.insert(choice.choice);
  }
}

PrintQueue read_queue(http_t* server, const cups_dest_t& destination) {
  PrintQueue queue;
  queue.name = destination.name;
  queue.is_default = destination.is_default != 0;
  for (const cups_option_t& option :
       std::span(destination.options, static_cast<std::size_t>(destination.num_options)))
    queue.options[option.name] = option.value;
  queue.uri = queue.options["device-uri"];
  const Driver driver = open_driver(server, destination.name);
  queue.has_driver = driver != nullptr;
  if (driver != nullptr) read_driver(*driver, queue);
  return queue;
}

}  // namespace

std::string PrintQueue::choice(const std::string& option) const {
  const auto set = options.find(option);
  if (set != options.end()) return set->second;
  const auto offered = driver.find(option);
  return offered == driver.end() ? "" : offered->second.standard;
}

std::optional<std::vector<PrintQueue>> read_queues() {
  const Server server(
      httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1, patience, nullptr),
      httpClose);
  if (server == nullptr) return std::nullopt;
  Destinations destinations;
  destinations.count = cupsGetDests2(server.get(), &destinations.all);
  // A print system without any queue says that it found none.
  const bool answered = destinations.count > 0 || cupsLastError() < IPP_STATUS_ERROR_BAD_REQUEST ||
                        cupsLastError() == IPP_STATUS_ERROR_NOT_FOUND;
  if (!answered) return std::nullopt;
  std::vector<PrintQueue> queues;
  for (const cups_dest_t& destination :
       std::span(destinations.all, static_cast<std::size_t>(destinations.count)))
    if (destination.instance == nullptr) queues.push_back(read_queue(server.get(), destination));
  return queues;
}

std::string default_printer_in(const std::string& home) {
  std::istringstream lines(read_whole(home + "/.cups/lpoptions").value_or(""));
  for (std::string line; std::getline(lines, line);) {
    std::istringstream words(line);
    std::string word, name;
    words >> word >> name;
    if (word == "Default") return name;
  }
  return {};
}

}  // namespace account
