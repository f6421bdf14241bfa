// Settings that are XML, in a home: GConf's, Evolution's accounts, the places of file managers.
#include "account/readers/evolution_account.h"
#include "account/readers/gconf.h"
#include "account/readers/places.h"
#include "support/harness.h"

namespace {

// An entity of an entity of an entity must not fill the memory.
constexpr std::size_t most_growth = 64;

void check_size(std::size_t bytes, std::size_t size) {
  fuzz::require(bytes <= most_growth * (size + 64), "a text does not grow without end");
}

std::size_t size_of(const std::optional<std::vector<account::Place>>& places) {
  std::size_t bytes = 0;
  for (const account::Place& place : places.value_or(std::vector<account::Place>()))
    bytes += place.name.size() + place.address.size();
  return bytes;
}

void check_gconf(const std::string& text) {
  const std::string& home = fuzz::empty_home();
  fuzz::write_file(home + "/.gconf/%gconf.xml", "");
  fuzz::write_file(home + "/.gconf/apps/%gconf.xml", text);
  for (const char* key : {"/apps/accounts", "/apps/a"}) {
    const auto value = account::read_gconf(home, key);
    if (!value) continue;
    std::size_t bytes = value->text().size();
    for (const std::string& element : value->list()) bytes += element.size();
    check_size(bytes, text.size());
    fuzz::require(fuzz::contains(text, "entry") || value->damaged, "a value has an entry");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(fuzz::Input(data, size).text());
  check_size(size_of(account::read_nautilus_places(text)), size);
  check_size(size_of(account::read_konqueror_places(text)), size);
  if (const auto found = account::read_evolution_account(text))
    for (const auto& [field, value] : *found) check_size(value.size(), size);
  check_gconf(text);
  return 0;
}
