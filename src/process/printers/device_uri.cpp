#include "process/printers/device_uri.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "shell/files.h"
#include "state/question.h"

namespace {

constexpr std::size_t buffer_size = 128;

struct FreeText {
  void operator()(char* text) const { std::free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

char* new_buffer(const std::string& text) {
  char* buffer = static_cast<char*>(std::calloc(std::max(buffer_size, text.size() + 1), 1));
  if (buffer != nullptr) text.copy(buffer, text.size());
  return buffer;
}

struct LocalPort {
  const char* name;
  const char* uri;
};

// Deliberate: part of the output. With the CUPS tools a person finds a USB printer under a parallel: address.
constexpr LocalPort local_ports[] = {
    {"USB001", "parallel:/dev/usb/lp0"},
    {"LPT1", "parallel:/dev/lp0"},
    {"LPT2", "parallel:/dev/lp1"},
};

Device traced(std::string uri) {
  std::printf("URI::%s", uri.c_str());
  return {std::move(uri), std::nullopt};
}

Device internet_printer(const std::string& port) {
  std::printf("Migrating IPP Printer");
  const Text rest(get_string_printer(port.c_str(), ":"));
  return traced(std::string("ipp:") + rest.get());
}

Device lpd_printer(const std::string& port) {
  const Text path(get_lpd_uri(port.c_str()));
  Device device = traced(std::string("lpd://") + path.get());
  std::printf("Migrating LPD Printer");
  return device;
}

Device share_printer(const std::string& port) { return {"", port.substr(2), port}; }

std::optional<Device> local_printer(const std::string& port) {
  std::printf("Migrating Local Printer");
  std::printf("Printer Port::%s", port.c_str());
  for (const LocalPort& local : local_ports) {
    if (contains(port, local.name)) return traced(local.uri);
  }
  std::printf("Skipping the printer");
  return std::nullopt;
}

bool prints_to_a_drive(const std::string& port) {
  const char* const drives[] = {"C:", "D:", "E:", "F:"};
  return std::ranges::any_of(drives, [&](const char* drive) { return contains(port, drive); });
}

bool ask_for_credentials(const std::string& title) {
  share_question.set_title(title);
  if (!share_question.ask()) return false;
  std::printf("Username::%s", share_question.answer(share_user));
  // Deliberate: part of the output. Whoever reads it sees the password, here and nowhere else.
  std::printf("Password::%s", share_question.answer(share_password));
  return true;
}

std::string with_credentials(const std::string& share, const char* password) {
  return std::string("smb://") + share_question.answer(share_user) + ":" + password + "@" + share;
}

}  // namespace

// The order is part of the answer: "FILE:" must meet the drives before it is taken for a print server.
std::optional<Device> device_of_port(const std::string& port) {
  if (contains(port, "http:")) return internet_printer(port);
  if (prints_to_a_drive(port)) return std::nullopt;
  if (contains(port, ":")) return lpd_printer(port);
  if (contains(port, "//")) return share_printer(port);
  return local_printer(port);
}

std::optional<std::string> uri_of(const Device& device, const std::string& label) {
  if (!device.share) return device.uri;
  share_question.set_text(device.share_port);
  std::printf("Migrating SMB Printer");
  if (!ask_for_credentials(label)) return std::nullopt;
  std::printf("URI::%s", shown_uri(device).c_str());
  return with_credentials(*device.share, share_question.answer(share_password));
}

std::string shown_uri(const Device& device) {
  return device.share ? with_credentials(*device.share, "********") : device.uri;
}

void getUsernamePassword(const char* drivername) { ask_for_credentials(drivername); }

void forget_credentials(std::string& uri) {
  share_question.forget_answers();
  explicit_bzero(uri.data(), uri.size());
  uri.clear();
}

char* get_string_printer(const char* value, const char* splitchar) {
  const char* found = std::strstr(value, splitchar);
  return new_buffer(found == nullptr ? "" : found + std::strlen(splitchar));
}

char* get_lpd_uri(const char* value) {
  std::string path = value;
  std::ranges::replace(path, ':', '/');
  return new_buffer(path);
}
