// What unzip, zipinfo, df, ls, file and mount print before a run, of which numbers and words are taken.
#include <climits>
#include <cstdlib>

#include "process/archive/checks.h"
#include "support/commands.h"
#include "support/harness.h"

namespace {

constexpr const char* archive = "/media/cdrom/it's \"$(my)\" archive[1].zip";
constexpr std::size_t longest_line = 255;

bool is_first_line(const std::string& output, const std::string& line) {
  return output.substr(0, output.find('\n')) == line;
}

void check_mount_point(const std::string& output) {
  char* const point = mount_cdrom_remote("iso9660");
  if (point == nullptr) return;
  fuzz::require(point[0] == '/' && fuzz::contains(output, point),
                "a mount point is an absolute path that was listed");
  fuzz::require(std::string_view(point).find_first_of(" \n") == std::string_view::npos,
                "a mount point is one word");
  fuzz::require(std::string_view(point).size() <= longest_line, "a mount point is no longer than its line");
  std::free(point);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string output(fuzz::Input(data, size).text());
  const std::string& home = fuzz::empty_home();
  for (const char* program : {"unzip", "zipinfo", "df", "ls", "file"}) fuzz::answer(program, output);
  fuzz::answer("mount", output);

  const long long bytes = zip_bytes(archive, home);
  const int whole = zipSize(archive);
  fuzz::require(whole == (bytes > INT_MAX   ? INT_MAX
                          : bytes < INT_MIN ? INT_MIN
                                            : bytes),
                "a size does not wrap");
  fuzz::require(tmp_blocks(home) == bytes && tarsize(archive) == whole, "one number is read in one way");
  const int is_zip = isZipfile(archive);
  fuzz::require(is_zip >= -1 && is_zip <= 1, "a file is a zip, none, or nobody knows");
  const int encrypted = isEncrypted(archive);
  fuzz::require(encrypted != 0 || is_first_line(output, "not"),
                "only \"not\" means that it is not encrypted");
  fuzz::require(encrypted != 1 || is_first_line(output, "encrypted"),
                "only its word means that it is encrypted");
  check_mount_point(output);
  for (const fuzz::Words& words : fuzz::commands_run())
    for (const std::string& word : words)
      fuzz::require(!fuzz::contains(word, "archive[1]") || word == archive || words[0] == "unzip" ||
                        words[0] == "zipinfo",
                    "the archive's name stays one word");
  fuzz::require(fuzz::names_in(home).empty(), "no file is left in the home");
  return 0;
}
