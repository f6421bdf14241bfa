#include "printers/print_server.h"

#include <gtest/gtest.h>

#include "support/commands.h"
#include "support/files.h"

namespace {

// A red and a black square.
constexpr const char* page = R"(%!PS-Adobe-3.0
%%Pages: 1
%%Page: 1 1
1 0 0 setrgbcolor 100 400 200 200 rectfill
0 setgray 100 100 200 200 rectfill
showpage
%%EOF
)";

// Runs as root, which a backend does that nobody else may.
constexpr const char* keeping_backend = R"(#!/bin/sh
[ $# -gt 0 ] || exit 0
cat ${6:+"$6"} >"/tmp/pages/$PRINTER"
)";

constexpr const char* broken_server = R"(import socket
server = socket.socket(socket.AF_UNIX)
server.bind("/run/cups/cups.sock")
server.listen(9)
while True:
    asker = server.accept()[0]
    asker.recv(9999)
    asker.sendall(b"HTTP/1.1 500 Broken\r\nContent-Length: 0\r\nConnection: close\r\n\r\n")
    asker.close()
)";

constexpr const char* until_all_is_printed =
    "for i in $(seq 300); do [ -z \"$(lpstat -o)\" ] && exit 0; sleep 0.1; done; exit 1";

void prepare(const std::string& command) { ASSERT_EQ(0, shell_quietly(command)) << command; }

std::string without_newline(std::string text) {
  while (text.ends_with('\n')) text.pop_back();
  return text;
}

}  // namespace

PrintServer::PrintServer(Settings settings) {
  prepare("install " + test_data("../data/foomatic/foomatic-ppdfile-bd") + " /usr/local/bin");
  prepare("ppdc -z -d /usr/share/cups/model " + test_data("../data/ppd/brindle.drv"));
  prepare(test_data("../tools/print-server") + (settings == Settings::as_installed ? " --as-installed" : ""));
}

void PrintServer::patch_foomatic() { prepare(test_data("../tools/patch-foomatic")); }

void PrintServer::stop() {
  prepare("kill $(pidof cupsd); while pidof cupsd; do sleep 0.05; done; rm -f /run/cups/cups.sock");
}

std::string PrintServer::breaking_down() {
  write_file("/tmp/broken.py", broken_server);
  return "kill $(pidof cupsd); while pidof cupsd; do sleep 0.05; done; rm -f /run/cups/cups.sock; "
         "python3 /tmp/broken.py >/dev/null 2>&1 & while ! [ -S /run/cups/cups.sock ]; do sleep 0.05; done";
}

void PrintServer::write_queues() { prepare(test_data("../tools/print-server") + " --written"); }

std::string PrintServer::uri_of(const std::string& queue) {
  return without_newline(
      output_of("sed -n '/Printer " + queue + ">/,/<\\//s/^DeviceURI //p' /etc/cups/printers.conf"));
}

std::string PrintServer::default_queue() {
  return without_newline(output_of("lpstat -d | sed -n 's/^system default destination: //p'"));
}

std::string PrintServer::choice(const std::string& queue, const std::string& option) {
  return without_newline(
      output_of("lpoptions -p " + queue + " -l | sed -n 's/^" + option + "\\/.*\\*\\([^ ]*\\).*/\\1/p'"));
}

std::string PrintServer::job_option(const std::string& queue, const std::string& option) {
  const std::string options = " " + without_newline(output_of("lpoptions -p " + queue)) + " ";
  const std::size_t found = options.find(" " + option + "=");
  if (found == std::string::npos) return "no value";
  const std::size_t begin = found + option.size() + 2;
  return options.substr(begin, options.find(' ', begin) - begin);
}

std::string PrintServer::ppd(const std::string& queue, const std::string& keyword) {
  return without_newline(output_of("sed -n 's/^\\*" + keyword +
                                   ": *\"\\{0,1\\}\\([^\"]*\\).*/\\1/p' /etc/cups/ppd/" + queue + ".ppd"));
}

std::string PrintServer::print_page(const std::string& queue) {
  write_file("/tmp/page.ps", page);
  write_file("/tmp/printed", "");
  prepare("chmod 666 /tmp/printed; lpadmin -p " + queue + " -v file:/tmp/printed 2>/dev/null");
  prepare("lp -s -d " + queue + " /tmp/page.ps");
  prepare(until_all_is_printed);
  return read_file("/tmp/printed");
}

void PrintServer::keep_pages() {
  write_file("/tmp/backend", keeping_backend);
  prepare(
      "mkdir -p /tmp/pages; cd /usr/lib/cups/backend; for kind in parallel usb lpd socket ipp smb; do "
      "rm -f $kind; install -m 700 /tmp/backend $kind; done");
}

std::vector<std::string> PrintServer::print_pages(const std::vector<std::string>& queues) {
  write_file("/tmp/page.ps", page);
  for (const std::string& queue : queues) prepare("lp -s -d '" + queue + "' /tmp/page.ps");
  prepare(until_all_is_printed);
  std::vector<std::string> pages;
  for (const std::string& queue : queues)
    pages.push_back(exists("/tmp/pages/" + queue) ? read_file("/tmp/pages/" + queue) : "");
  return pages;
}
