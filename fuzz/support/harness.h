// What the harnesses of the readers share: the input, what must hold, a home to work in.
//
// A harness is one file of fuzz/readers with the function that libFuzzer calls. It hands the input to a
// reader as an archive or somebody else's home would, and requires of the result what must hold for any
// input. A crash, a report of a sanitizer and a requirement that does not hold are the same to whoever runs
// it: a find.
#ifndef BRINDLE_FUZZ_SUPPORT_HARNESS_H
#define BRINDLE_FUZZ_SUPPORT_HARNESS_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "system/target.h"

namespace fuzz {

/// Ends the program, after `what` and the place on the standard error that it was started with, when `holds`
/// is false. `what` says what must be so.
void require(bool holds, const char* what, const char* file = __builtin_FILE(), int line = __builtin_LINE());

/// One input. An honest file is one as it stands.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size);

  /// All of it.
  std::string_view text() const { return text_; }

  /// A number below `count` that depends on the input: the last byte's.
  std::size_t choice(std::size_t count) const;

  /// The `count` files that it stands for: the byte 0x1E is between them. Missing ones are empty, the last
  /// one has all that is left.
  std::vector<std::string> parts(std::size_t count) const;

 private:
  std::string_view text_;
};

// ---- A home of this process alone, empty for each input
// ----------------------------------------------------

/// Removes what an earlier input has left there and returns its path, below /home. Whoever asks for the user
/// being migrated is told that it is the owner, a profile of an archive.
const std::string& empty_home();

struct Scene {
  std::string home;
  std::string archive;  ///< the archive root
};

/// The empty home, and in it an archive of these files: the name below the root and the bytes of each.
Scene scene_with(const std::vector<std::pair<std::string, std::string_view>>& files);

/// Writes a file with the folders it lies in.
void write_file(const std::string& path, std::string_view bytes);

/// Its bytes; no value when it is not there.
std::optional<std::string> read_file(const std::string& path);

/// The names of the entries in a folder, sorted.
std::vector<std::string> names_in(const std::string& path);

/// For the profile whose home that is, with the archive root (or profile's folder) `root`.
Target target_in(const std::string& home, const std::string& root, System system = System::other);

// ---- Texts
// ---------------------------------------------------------------------------------------------------

/// `text` open for reading.
std::unique_ptr<std::FILE, int (*)(std::FILE*)> opened(std::string_view text);

/// `text` in the pieces in which readers with a limit on their lines get it.
std::vector<std::string> pieces_of(std::string_view text, std::size_t limit);

/// `text` as readers get it whose files lose their carriage returns, byte order mark and Ctrl-Z first.
std::string with_plain_line_ends(std::string_view text);

/// `text` as it is where the last line is given its end as well.
std::string mended(std::string_view text);

/// The lines of `text`, each as `rewrite` makes it.
std::string rewritten(std::string_view text, const std::function<std::string(const std::string&)>& rewrite);

bool contains(std::string_view text, std::string_view part);
std::size_t count_of(std::string_view text, std::string_view part);

}  // namespace fuzz

#endif
