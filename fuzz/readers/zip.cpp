// The wizard's own look into a zip: its list, its entries, the names that it gives back to what unzip has
// made.
#include "process/archive/zip.h"

#include <algorithm>
#include <filesystem>

#include "process/archive/code_page.h"
#include "process/archive/encryption.h"
#include "process/archive/names.h"
#include "support/harness.h"

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t most_entries = 64, most_bytes = std::uint64_t{1} << 20;
constexpr const char* code_pages[] = {"CP437", "CP850", "CP866", "CP932", "CP936", "CP1258"};

// False for an archive that would only take time.
bool check_list(const Zip& zip) {
  std::uint64_t left = most_bytes;
  for (std::uint64_t number = 0; number < zip.count(); ++number) {
    const ZipEntry entry = zip.entry(number);
    std::uint64_t have = 0;
    const Zip::Reading reading = zip.read(number, "secret", [&](std::string_view piece) {
      have += piece.size();
      return have <= left;
    });
    if (reading == Zip::Reading::stopped) return false;
    fuzz::require(reading != Zip::Reading::whole || have == entry.size,
                  "an entry that is whole has its size");
    left -= have;
    static_cast<void>(zip.says_utf8(number) || zip.made_on_windows(number) || zip.may_be_file(number));
  }
  return true;
}

// What unzip may have made of it: files with the right content under wrong names.
void unpack(const Zip& zip, const std::string& folder) {
  for (std::uint64_t number = 0; number < zip.count(); number += 2) {
    std::string bytes;
    static_cast<void>(zip.read(number, "secret", [&](std::string_view piece) {
      bytes += piece;
      return true;
    }));
    std::string name = zip.name(number);
    std::erase(name, '/');
    const bool is_name = !name.empty() && name != "." && name != ".." && name.size() < 200;
    fuzz::write_file(folder + "/" + (is_name ? name : std::to_string(number)), bytes);
  }
}

void check_tree(const std::string& folder) {
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    fuzz::require(entry.is_regular_file() || entry.is_directory(), "there are only files and folders");
    const std::string name = entry.path().filename();
    fuzz::require(name.size() <= 255 && !name.starts_with("names"),
                  "no name is too long, no working folder stays");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  const std::string& home = fuzz::empty_home();
  const std::string archive = home + "/a.zip", folder = home + "/unpacked";
  fuzz::write_file(archive, input.text());
  static_cast<void>(encryption_of_archive(archive));
  const char* const code_page = code_pages[input.choice(std::size(code_pages))];
  {
    const Zip zip(archive);
    if (!zip || zip.count() > most_entries || !check_list(zip)) return 0;
    if (fuzz::contains(input.text(), "names")) return 0;  // so that the working folder can be told
    fs::create_directory(folder);
    unpack(zip, folder);
  }
  const auto password = password_for(archive, "secret", code_page);
  fuzz::require(!password || *password == "secret", "a password of ASCII is taken as it was typed");
  restore_names({.archive = archive, .folder = folder, .code_page = code_page, .password = "secret"},
                [] { return false; });
  check_tree(folder);
  fuzz::require(fuzz::names_in(home) == std::vector<std::string>{"a.zip", "unpacked"},
                "nothing is made outside");
  return 0;
}
