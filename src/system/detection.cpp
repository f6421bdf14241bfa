#include "system/detection.h"

#include <cstdio>
#include <cstring>

#include "shell/files.h"
#include "shell/pieces.h"
#include "state/state.h"
#include "system/system.h"

namespace {

constexpr std::size_t first_line_limit = 127;

// Both threads read these texts, so they are left alone unless the answer really changes.
void put(char (&text)[256], const char* answer) {
  if (std::strcmp(text, answer) == 0) return;
  static_cast<void>(assign(text, answer));  // a short constant, which fits
}

void set_system(const char* name, const char* version) {
  put(OSName, name);
  put(OSVersion, version);
}

std::string release_line() {
  const File release = open_file("/etc/redflag-release", "r");
  if (!release) return "";
  PieceReader lines(release.get(), first_line_limit);
  std::string_view line;
  return lines.next(line) ? std::string(line) : "";
}

void detect_red_flag() {
  const std::string line = release_line();
  // Deliberate: part of the format. With the blank: a release number that ends the line is not served.
  if (contains(line, "release 4.1 ")) {
    set_system("RedFlag", "4.1");
  } else if (contains(line, "release 4.1plus")) {
    set_system("RedFlag", redflag_plus);
  } else {
    set_system("INVALID", "INVALID");
  }
}

}  // namespace

int getOsVersion(const char* /*args*/) {
  std::printf("Getting OS Version.........\n");
  const auto entries = list_folder("/etc");
  if (!entries) {
    std::perror("In /etc opendir: ");
    return 1;
  }
  // The first of the three files in directory order decides: none of them outranks another.
  for (const std::string& entry : *entries) {
    if (entry == "linspire-version") return set_system("Linspire", "Any"), 0;
    if (entry == "xandros-version") return set_system("Xandros", "Any"), 0;
    if (entry == "redflag-release") return detect_red_flag(), 0;
  }
  set_system("GNome", "Any");
  std::printf("OSName::%s\n", OSName);
  std::printf("OSVersion::%s\n", OSVersion);
  return 0;
}
