// The sticky notes of Windows 7, a file in Microsoft's format for documents, and the marks in those of
// Windows 10.
#include <glib.h>

#include "pack/planner/sticky_notes.h"
#include "support/harness.h"
#include "support/volume.h"

namespace {

const std::string path = "AppData/Roaming/Microsoft/Sticky Notes/StikyNot.snt";

// Looks at what is packed.
class Judge : public pack::Sum {
 public:
  void add_text(const std::string& name, std::string_view content) override {
    fuzz::require(name.ends_with(".txt") && !fuzz::contains(name, "/../") && !fuzz::contains(name, "/."),
                  "a note lies in its folder");
    if (fuzz::contains(name, "/My Documents/")) {
      fuzz::require(g_utf8_validate(content.data(), static_cast<gssize>(content.size()), nullptr),
                    "a note is a text");
    } else {
      fuzz::require(content.starts_with("Subject: ") && content.ends_with('\n'), "KNotes finds a title");
    }
    ++texts;
  }

  std::size_t texts = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::Input(data, size).text();
  const fuzz::Volume tree(std::map<std::string, std::string>{{path, std::string(text)}});
  const pack::Person person{.shown = "Ann", .login = "ann", .home = {.tree = &tree, .path = ""}};
  Judge judge;
  pack::Tally tally;
  const std::set<pack::Kind> without;
  pack::Packing packing(judge, tally, "Brindle", without);
  pack::Notes notes(packing);
  pack::add_sticky_notes(packing, person, notes);
  notes.add({.title = "", .text = pack::shown_text(text)}, "");
  fuzz::require(judge.texts == 2 * tally.count(pack::Kind::notes).packed,
                "each note is packed in both places");
  fuzz::require(pack::shown_text(text).size() <= text.size(), "a mark is nothing");
  return 0;
}
