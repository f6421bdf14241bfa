#include "account/scene.h"

#include <sys/stat.h>
#include <unistd.h>
#include <zip.h>

#include <cstdio>
#include <cstdlib>

#include "support/commands.h"

namespace {

[[noreturn]] void fail(const char* what) {
  std::perror(what);
  std::abort();
}

constexpr const char* archive_path = "/tmp/account-test.zip";

}  // namespace

void write_zip(const std::string& path, const std::vector<std::pair<std::string, std::string>>& entries,
               const char* password) {
  unlink(path.c_str());
  zip_t* const zip = zip_open(path.c_str(), ZIP_CREATE | ZIP_EXCL, nullptr);
  if (zip == nullptr) fail("zip_open");
  for (const auto& [name, bytes] : entries) {
    if (name.ends_with('/')) {
      if (zip_dir_add(zip, name.c_str(), ZIP_FL_ENC_UTF_8) < 0) fail("zip_dir_add");
      continue;
    }
    zip_source_t* const source = zip_source_buffer(zip, bytes.data(), bytes.size(), 0);
    const zip_int64_t index = zip_file_add(zip, name.c_str(), source, ZIP_FL_ENC_UTF_8);
    if (index < 0) fail("zip_file_add");
    if (password != nullptr)
      zip_file_set_encryption(zip, static_cast<zip_uint64_t>(index), ZIP_EM_TRAD_PKWARE, password);
  }
  if (zip_close(zip) != 0) fail("zip_close");
}

Scene::Scene(account::System system, const Entries& entries, const char* password)
    : person{.login = "ann", .home = "/home/ann", .folder = "Brindle"}, system_(system) {
  Entries below;
  for (const auto& [name, bytes] : entries) below.emplace_back("Brindle/" + name, bytes);
  write_zip(archive_path, below, password);
  archive_ = std::make_unique<account::Archive>(archive_path, "CP437");
  shell_quietly("rm -rf /home/ann; mkdir -p /home/ann");
}

account::Tally Scene::look(account::Kind kind) const {
  const auto row = std::ranges::find(account::rows(), kind, &account::Row::kind);
  if (row == account::rows().end()) fail("no such kind");
  const account::Case of = {.archive = *archive_,
                            .person = person,
                            .system = system_,
                            .several = several,
                            .as_root = as_root,
                            .charset = "CP1252",
                            .place = row->places[static_cast<std::size_t>(system_)],
                            .machine = ""};
  return account::compare(*row, of);
}

std::string numbers(const account::Tally& tally) {
  std::string text;
  for (const std::size_t count :
       {tally.found(), tally.unchanged(), tally.changed(), tally.elsewhere(), tally.missing().size()})
    text += (text.empty() ? "" : " ") + std::to_string(count);
  return text;
}

std::vector<std::string> missing_names(const account::Tally& tally) {
  std::vector<std::string> names;
  for (const account::Missing& thing : tally.missing())
    names.push_back(thing.name + ": " + account::Texts()(thing.cause, thing.detail));
  std::ranges::sort(names);
  return names;
}
