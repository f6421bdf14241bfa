// The note that a run leaves in a home, which its owner may have written.
#include "account/note.h"

#include "account/readers/kept.h"
#include "support/harness.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = fuzz::empty_home() + "/.brindle_run";
  fuzz::write_file(path, fuzz::Input(data, size).text());
  try {
    const account::RunNote note = account::read_note(path);
    fuzz::require(!note.archive.empty() && !note.people.empty() && !note.people[0].home.empty(),
                  "a note names an archive and somebody");
    fuzz::require(note.kept.empty() || account::is_kept_run(note.kept), "a kept folder is called by its run");
    fuzz::require(!fuzz::contains(note.kept, "/"), "a kept folder is one name");
  } catch (const account::NoNote&) {
  }
  return 0;
}
