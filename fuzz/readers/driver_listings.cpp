// The listings of printer drivers that a search reads, and an answer of the driver window that names one.
// What is put into a command with its own quotes is exactly one quoted word.
#include "process/printers/driver_search.h"

#include "process/printers/foomatic.h"
#include "shell/compose.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/harness.h"

namespace {

bool is_quoted_word(const std::string& text) {
  return text.size() >= 2 && text.front() == '\'' && text.back() == '\'' && fuzz::count_of(text, "'") == 2;
}

void check_model(const Model& model, const std::string& listing) {
  fuzz::require(fuzz::contains(listing, model.id) && fuzz::contains(listing, model.driver),
                "a model is listed");
  fuzz::require(model.id.size() < sizeof Id2 && model.driver.size() < sizeof Driver2,
                "a model fits into its globals");
  fuzz::require(model.id == Id2 && model.driver == Driver2, "the globals have the same model");
}

// With a queue to make of it.
void check_queue(const std::string& home) {
  const std::string root = home + "/archive";
  fuzz::write_file(root + "/Printers/Default.txt",
                   "Port Name=LPT1:\nDriver Name=A Printer Of Words\n"
                   "Driver Name Wo Spaces=APrinterOfWords\n");
  static_cast<void>(printer(root.c_str()));
  for (const fuzz::Words& words : fuzz::commands_run()) {
    if (words[0] != "foomatic-configure" || words.size() < 10) continue;
    fuzz::require(words.size() == 11 && words[3] == "-p" && words[9] == "-d",
                  "id and driver are one word each");
    fuzz::require(!words[4].starts_with('-') && !words[10].starts_with('-'), "id and driver are no options");
    fuzz::require(is_quoted_word(Id2) && is_quoted_word(Driver2), "id and driver bring their own quotes");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string listing(fuzz::Input(data, size).text());
  const std::string& home = fuzz::empty_home();
  isKilled = 1;
  fuzz::answer("foomatic-ppdfile-bd", listing);
  fuzz::answer("grep", listing);
  fuzz::answer("lpinfo", listing);
  check_model(find_foomatic_model(home, "A Printer Of Words"), listing);
  const Model model = find_cups_model(home, "A Printer Of Words");
  fuzz::require(
      fuzz::contains(listing, model.driver) && model.driver.find_first_of(" \n") == std::string::npos,
      "the model of a listing is a word of it");
  fuzz::commands_run();
  check_queue(home);
  return 0;
}
