// A real cupsd in the test's view, with the search command and the PPD files of the system installed.
#ifndef BRINDLE_TESTS_PRINTERS_PRINT_SERVER_H
#define BRINDLE_TESTS_PRINTERS_PRINT_SERVER_H

#include <string>
#include <vector>

class PrintServer {
 public:
  /// eager: it writes printers.conf at once, everybody may change its queues, and pages may go into files.
  /// as_installed: cupsd.conf is the package's own.
  enum class Settings { eager, as_installed };

  explicit PrintServer(Settings settings = Settings::eager);

  /// foomatic-configure as Debian has it makes no second queue; see tools/patch-foomatic.
  static void patch_foomatic();

  /// Ends cupsd.
  static void stop();
  /// Makes it write its printers.conf, which it otherwise does half a minute after a change.
  static void write_queues();
  /// A shell command that puts a server in cupsd's place which answers every question with an error.
  static std::string breaking_down();

  /// DeviceURI of a queue as cupsd has stored it, password included; lpstat leaves that out.
  static std::string uri_of(const std::string& queue);
  /// "NAME" of the default queue; empty without one.
  static std::string default_queue();
  /// The choice that the queue's PPD and lpoptions give for an option; empty for an unknown one.
  static std::string choice(const std::string& queue, const std::string& option);
  /// The value of a queue's job option, as landscape; "no value" when it is not set.
  static std::string job_option(const std::string& queue, const std::string& option);
  /// Value of a keyword in the queue's PPD, as "NickName".
  static std::string ppd(const std::string& queue, const std::string& keyword);
  /// Points the queue at a file, prints one page of PostScript and returns what came out.
  static std::string print_page(const std::string& queue);

  /// From now on every kind of device takes pages and keeps them.
  static void keep_pages();
  /// Prints one page to each of the queues as they are, and returns what came out of each, in their order.
  static std::vector<std::string> print_pages(const std::vector<std::string>& queues);
};

#endif
