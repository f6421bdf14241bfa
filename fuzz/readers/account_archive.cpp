// The account's own look into a zip.
#include "account/archive/archive.h"

#include <algorithm>

#include "support/harness.h"

namespace {

constexpr std::size_t most_entries = 200, most_bytes = std::size_t{1} << 16;
constexpr const char* charsets[] = {"CP437", "CP850", "CP866", "CP932", "CP936", "CP1258"};

bool has_part(std::string_view name, std::string_view part) {
  return fuzz::contains("/" + std::string(name) + "/", "/" + std::string(part) + "/");
}

void check_name(const account::Entry& entry) {
  const std::string_view name = entry.name;
  fuzz::require(!name.starts_with('/') && !name.ends_with('/'), "a name has no slash at its ends");
  fuzz::require(!fuzz::contains(name, "//") && !has_part(name, "."), "a name has no empty part");
  if (!entry.unsafe)
    fuzz::require(!has_part(name, "..") && !fuzz::contains(name, std::string(1, '\0')),
                  "a name stays in the archive");
  for (std::size_t begin = 0; begin < name.size();) {
    const std::size_t end = std::min(name.find('/', begin), name.size());
    fuzz::require(end - begin <= 255, "a name fits into a file system");
    begin = end + 1;
  }
}

void check_found(const account::Archive& archive, const account::Entry& entry) {
  const account::Entry* const found = archive.find(entry.name);
  fuzz::require(found != nullptr && found->name == entry.name, "an entry is found by its name");
  fuzz::require(archive.has(entry.name), "an entry is there");
  const std::size_t slash = entry.name.rfind('/');
  if (slash == std::string_view::npos) return;
  const auto below = archive.below(entry.name.substr(0, slash));
  fuzz::require(&entry >= below.data() && &entry < below.data() + below.size(),
                "an entry lies in its folder");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  const std::string path = fuzz::empty_home() + "/a.zip";
  fuzz::write_file(path, input.text());
  try {
    const account::Archive archive(path, charsets[input.choice(std::size(charsets))]);
    if (archive.entries().size() > most_entries) return 0;
    fuzz::require(std::ranges::is_sorted(archive.entries(), {}, &account::Entry::name), "entries are sorted");
    for (const account::Entry& entry : archive.entries()) {
      check_name(entry);
      check_found(archive, entry);
      bool whole = false;
      const std::string bytes = archive.read(entry, most_bytes, &whole);
      fuzz::require(bytes.size() <= most_bytes, "no more is read than was asked for");
      fuzz::require(!whole || bytes.size() == entry.size, "an entry that is whole has its size");
    }
  } catch (const account::Unreadable&) {
  }
  return 0;
}
