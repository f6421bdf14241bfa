#include "pack/printers/ports.h"

#include <algorithm>
#include <array>

namespace pack {

namespace {

constexpr std::array<std::string_view, 8> own_ports = {
    "PORTPROMPT:", "nul:", "SHRFAX:", "XPSPort:", "FILE:", "FAX:", "NUL", "Microsoft.Office.OneNote"};

bool begins_with(const std::string& text, std::string_view beginning) {
  return text.size() >= beginning.size() &&
         is_same_name(std::string_view(text).substr(0, beginning.size()), beginning);
}

std::string in_small_letters(std::string text) {
  std::ranges::transform(text, text.begin(),
                         [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return text;
}

// What can stand in an address without ending it.
bool is_host(const std::string& host) {
  return !host.empty() && std::ranges::all_of(host, [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || c == '.' || c == '-' || c == '_';
  });
}

// Printers made since about 2010 take IPP where Windows sends raw bytes.
std::string ipp_of(const std::string& host) { return "http://" + host + ":631/ipp/print"; }

std::optional<std::string> network_port(const std::string& port, const Hive& system,
                                        const std::string& control) {
  const std::string key = control + R"(\Control\Print\Monitors\Standard TCP/IP Port\Ports\)" + port;
  std::string host = system.text(key, "HostName").value_or("");
  if (host.empty()) host = system.text(key, "IPAddress").value_or("");
  host = in_small_letters(host);
  if (!is_host(host)) return std::nullopt;
  constexpr std::uint32_t lpr = 2;
  const std::string queue = system.text(key, "Queue").value_or("");
  return system.number(key, "Protocol") == lpr && !queue.empty() ? host + ":" + queue : ipp_of(host);
}

// "http://192.0.2.7:5357/..." of a printer that tells of itself in the network.
std::optional<std::string> web_services_port(const std::string& port, const Hive& system,
                                             const std::string& control) {
  if (!begins_with(port, "WSD")) return std::nullopt;
  const std::string key = control + R"(\Enum\SWD\DAFWSDProvider)";
  for (const std::string& device : system.keys(key)) {
    const auto place = system.text(key + "\\" + device, "LocationInformation");
    if (!place || !begins_with(*place, "http://")) continue;
    const std::string address = place->substr(std::string_view("http://").size());
    const std::string host = in_small_letters(address.substr(0, address.find_first_of(":/")));
    if (is_host(host)) return ipp_of(host);
  }
  return std::nullopt;
}

}  // namespace

bool is_own_port(const std::string& port) {
  return std::ranges::any_of(own_ports, [&](std::string_view own) { return begins_with(port, own); });
}

std::optional<std::string> port_in_archive(const std::string& port, const Hive& system,
                                           const std::string& control) {
  if (begins_with(port, "LPT1") || begins_with(port, "LPT2")) return "LPT" + port.substr(3, 1);
  if (begins_with(port, "USB") || begins_with(port, "DOT4")) return "USB001";
  if (begins_with(port, "http://")) return port;
  if (port.starts_with("\\\\")) {
    std::string share = port;
    std::ranges::replace(share, '\\', '/');
    return share;
  }
  if (const auto network = network_port(port, system, control)) return network;
  return web_services_port(port, system, control);
}

}  // namespace pack
