// Printer descriptions on their way to print queues, by either family of tools: every command is read as a
// shell reads it, and every value is one word of it.
#include <algorithm>
#include <array>

#include "process/printers/cups.h"
#include "process/printers/foomatic.h"
#include "state/question.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/harness.h"

namespace {

constexpr std::array programs = {
    "dos2unix", "foomatic-configure", "foomatic-ppdfile-bd", "lpadmin", "lpoptions", "lpinfo", "grep", "rm",
    "su"};

bool is_tool(const fuzz::Words& words) { return words[0] == "foomatic-configure" || words[0] == "lpadmin"; }

// Each option is followed by its value, which is no option itself; nothing else is there.
void check_queue_command(const fuzz::Words& words) {
  const std::string options = words[0] == "lpadmin" ? "pvmEd" : "spcndDo";
  for (std::size_t at = 1; at < words.size(); ++at) {
    const std::string& word = words[at];
    const bool is_size = word.starts_with(" -dDEVICEWIDTHPOINTS=") && words[at - 1] == "PageSize=Custom:";
    fuzz::require(is_size || (word.size() == 2 && word[0] == '-' && fuzz::contains(options, word.substr(1))),
                  "a queue is made by the known options alone");
    if (is_size || word == "-E" || word == "-D") continue;
    fuzz::require(++at < words.size(), "an option has its value");
  }
}

void check_commands() {
  for (const fuzz::Words& words : fuzz::commands_run()) {
    fuzz::require(std::ranges::find(programs, words[0]) != programs.end(), "only the known programs are run");
    if (is_tool(words)) check_queue_command(words);
    if (words[0] == "su") {
      fuzz::require(words.size() == 4 && words[1] == "-" && words[3].starts_with("-c"),
                    "su runs one command");
      const fuzz::Words inner = fuzz::words_of(words[3].substr(2));
      fuzz::require(inner.size() == 3 && inner[0] == "lpoptions" && inner[1] == "-d",
                    "the command names a printer");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> parts = fuzz::Input(data, size).parts(2);
  const auto& [home, root] =
      fuzz::scene_with({{"Printers/Default.txt", parts[0]}, {"Printers/Other.txt", parts[1]}});
  isKilled = 1;  // nobody is there to answer: every question is declined
  fuzz::answer("foomatic-ppdfile-bd", "Id='HP-LaserJet_4L' Driver='ljet4' CompatibleDrivers='ljet4 '\n");
  fuzz::answer("grep", "foomatic:HP-LaserJet_4L-ljet4.ppd HP LaserJet 4L Foomatic/ljet4 (recommended)\n");
  static_cast<void>(printer(root.c_str()));
  check_commands();
  static_cast<void>(nldprinter(root.c_str()));
  static_cast<void>(normalprinter(root.c_str()));
  check_commands();
  fuzz::require(Username[0] == '\0' && Password[0] == '\0', "no password is left behind");
  return 0;
}
