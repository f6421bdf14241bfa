// Notes on their way to KNotes: each is one journal entry, whatever it holds.
#include "process/mail/kde/personal.h"
#include "support/commands.h"
#include "support/harness.h"

namespace {

constexpr std::size_t note_count = 3;

// "\\n" for each line end, a backslash before four more characters, three bytes of UTF-8 for two of GB2312.
constexpr std::size_t most_growth = 3;
constexpr std::size_t size_of_entry = 160;

std::size_t count_of_lines(const std::string& text, const std::string& line) {
  return fuzz::count_of("\n" + text, "\n" + line + "\n");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::vector<std::string> parts = fuzz::Input(data, size).parts(note_count);
  const std::string& home = fuzz::empty_home();
  const std::string root = home + "/archive";
  for (std::size_t at = 0; at < parts.size(); ++at)
    fuzz::write_file(root + "/Notes/note" + std::to_string(at) + ".txt", parts[at]);
  fuzz::require(kmailnotes(fuzz::target_in(home, root, System::redflag)) == 0, "notes are taken over");
  fuzz::commands_run();

  const auto notes = fuzz::read_file(home + "/.kde/share/apps/knotes/notes.ics");
  fuzz::require(notes.has_value(), "there is a file of notes");
  const std::size_t begun = count_of_lines(*notes, "BEGIN:VJOURNAL");
  fuzz::require(begun <= note_count, "a note becomes one entry");
  fuzz::require(begun == count_of_lines(*notes, "END:VJOURNAL"), "each entry has its end");
  fuzz::require(begun == count_of_lines(*notes, "BEGIN:VCALENDAR"), "each entry has its calendar");
  fuzz::require(begun == count_of_lines(*notes, "END:VCALENDAR"), "each calendar has its end");
  fuzz::require(fuzz::count_of(*notes, "\n") == 8 * begun, "an entry has eight lines");
  fuzz::require(notes->size() <= most_growth * size + note_count * size_of_entry,
                "notes do not grow without end");
  return 0;
}
