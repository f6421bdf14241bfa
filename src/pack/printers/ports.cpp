#include "pack/printers/ports.h"

#include <algorithm>
#include <array>
#include <vector>

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

// A line of a description is read in pieces of so many bytes, its key and its end included.
constexpr std::size_t longest_port = 126 - std::string_view("Port Name=\r\n").size();

constexpr std::string_view http = "http://";

bool is_letter_or_digit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// What can stand in an address without ending it.
bool is_host(const std::string& host) {
  return !host.empty() && std::ranges::all_of(host, [](char c) {
    return is_letter_or_digit(c) || c == '.' || c == '-' || c == '_';
  });
}

// Signs that a device's address is written in.
bool is_address(std::string_view text) {
  constexpr std::string_view signs = "-._~:/?#[]@!$&()*+,;=%";
  return !text.empty() && std::ranges::all_of(text, [&](char c) {
    return is_letter_or_digit(c) || signs.find(c) != std::string_view::npos;
  });
}

// "//server/queue": a name of the network, which holds no colon, that stays on its line.
bool is_share(std::string_view text) {
  return text.starts_with("//") && text.find('/', 2) != std::string_view::npos &&
         std::ranges::none_of(
             text, [](char c) { return static_cast<unsigned char>(c) < ' ' || c == ':' || c == '\x7f'; });
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
  if (system.number(key, "Protocol") != lpr || queue.empty()) return ipp_of(host);
  return is_address(queue) && queue.find(':') == std::string::npos ? std::optional(host + ":" + queue)
                                                                   : std::nullopt;
}

bool is_within_word(std::string_view text, std::size_t begin, std::size_t size) {
  return (begin > 0 && is_letter_or_digit(text[begin - 1])) ||
         (begin + size < text.size() && is_letter_or_digit(text[begin + size]));
}

// True when `text` has `id` in it as a whole.
bool names(const std::string& text, const std::string& id) {
  const std::string letters = in_small_letters(text);
  for (std::size_t at = 0; (at = letters.find(id, at)) != std::string::npos; ++at)
    if (!is_within_word(letters, at, id.size())) return true;
  return false;
}

// "http://192.0.2.7:5357/...": where a printer that tells of itself in the network has answered.
std::optional<std::string> host_in(const std::string& address) {
  if (!begins_with(address, http)) return std::nullopt;
  const std::string rest = address.substr(http.size());
  const std::string host = in_small_letters(rest.substr(0, rest.find_first_of(":/")));
  return is_host(host) ? std::optional(host) : std::nullopt;
}

// What tells a device from others: "f8b0..." of the port "WSD-f8b0....0034" and of "urn:uuid:f8b0...".
std::string id_in(std::string text) {
  text = in_small_letters(text);
  for (const std::string_view beginning : {"wsd-", "urn:uuid:", "uuid:"})
    if (text.starts_with(beginning)) text.erase(0, beginning.size());
  return text.substr(0, text.find_first_of("./"));
}

// The ids of a port: its own one, and those that its monitor keeps of the printer behind it.
std::vector<std::string> ids_of(const std::string& port, const Hive& system, const std::string& control) {
  std::vector<std::string> ids{id_in(port)};
  const std::string key = control + R"(\Control\Print\Monitors\WSD Port\Ports\)" + port;
  for (const std::string& value : system.values(key))
    if (const auto text = system.text(key, value)) ids.push_back(id_in(*text));
  // One of a few letters is none.
  constexpr std::size_t shortest = 8;
  std::erase_if(ids, [](const std::string& id) { return id.size() < shortest; });
  return ids;
}

std::optional<std::string> web_services_port(const std::string& port, const Hive& system,
                                             const std::string& control) {
  if (!begins_with(port, "WSD")) return std::nullopt;
  const std::vector<std::string> ids = ids_of(port, system, control);
  const std::string key = control + R"(\Enum\SWD\DAFWSDProvider)";
  for (const std::string& device : system.keys(key)) {
    if (std::ranges::none_of(ids, [&](const std::string& id) { return names(device, id); })) continue;
    const auto place = system.text(key + "\\" + device, "LocationInformation");
    if (const auto host = place ? host_in(*place) : std::nullopt) return ipp_of(*host);
  }
  return std::nullopt;
}

std::optional<std::string> form_of(const std::string& port, const Hive& system, const std::string& control) {
  if (begins_with(port, "LPT1") || begins_with(port, "LPT2")) return "LPT" + port.substr(3, 1);
  if (begins_with(port, "USB") || begins_with(port, "DOT4")) return "USB001";
  if (begins_with(port, http))
    return is_address(port) ? std::optional(std::string(http) + port.substr(http.size())) : std::nullopt;
  if (port.starts_with("\\\\")) {
    std::string share = port;
    std::ranges::replace(share, '\\', '/');
    return is_share(share) ? std::optional(share) : std::nullopt;
  }
  if (const auto network = network_port(port, system, control)) return network;
  return web_services_port(port, system, control);
}

}  // namespace

bool is_own_port(const std::string& port) {
  return std::ranges::any_of(own_ports, [&](std::string_view own) { return begins_with(port, own); });
}

std::optional<std::string> port_in_archive(const std::string& port, const Hive& system,
                                           const std::string& control) {
  auto form = form_of(port, system, control);
  if (form && form->size() > longest_port) form.reset();
  return form;
}

std::optional<std::string> share_in_archive(const std::string& share) {
  return is_share(share) && share.size() <= longest_port ? std::optional(share) : std::nullopt;
}

}  // namespace pack
