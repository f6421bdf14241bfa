#include "pack/contacts/address_book.h"

#include <db.h>
#include <xxhash.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "process/archive/layout.h"

namespace pack {

namespace {

constexpr std::uint32_t page_size = 4096;  // whatever the file system's is

[[noreturn]] void fail(int error) {
  // Errors of the library's own are negative.
  throw std::system_error(error > 0 ? error : EIO, std::generic_category(), "the address book");
}

// With the zero byte at its end, which counts. The library does not change what it gets.
DBT entry_of(const std::string& text) {
  DBT entry{};
  entry.data = const_cast<char*>(text.c_str());
  entry.size = static_cast<std::uint32_t>(text.size() + 1);
  return entry;
}

}  // namespace

AddressBook::AddressBook() {
  if (const int error = db_create(&database_, nullptr, 0); error != 0) fail(error);
  int error = database_->set_pagesize(database_, page_size);
  if (error == 0)
    error = database_->open(database_, nullptr, stage_.path("addressbook.db").c_str(), nullptr, DB_HASH,
                            DB_CREATE | DB_TRUNCATE, 0644);
  if (error != 0) {
    database_->close(database_, 0);
    fail(error);
  }
  put("PAS-DB-VERSION", "0.2");
}

AddressBook::~AddressBook() {
  if (database_ != nullptr) database_->close(database_, 0);
}

void AddressBook::put(const std::string& key, const std::string& value) {
  DBT name = entry_of(key);
  DBT content = entry_of(value);
  if (const int error = database_->put(database_, nullptr, &name, &content, 0); error != 0) fail(error);
}

bool AddressBook::add(const Vcard& card) {
  const std::string content = card.content();
  const XXH128_hash_t hash = XXH3_128bits(content.data(), content.size());
  if (!known_.emplace(hash.high64, hash.low64).second) return false;
  char uid[48];
  std::snprintf(uid, sizeof uid, "pas-id-%016llx%016llx", static_cast<unsigned long long>(hash.high64),
                static_cast<unsigned long long>(hash.low64));
  put(uid, card.text(uid));
  return true;
}

void AddressBook::close() {
  const int error = database_->close(std::exchange(database_, nullptr), 0);
  if (error != 0) fail(error);
}

void AddressBook::pack(Packing& packing) {
  if (known_.empty()) return;
  close();
  const std::string path = stage_.path("addressbook.db");
  // Without a folder of accounts some systems leave them behind.
  packing.add_folder(layout::mail);
  packing.add_folder(layout::mail_accounts);
  packing.add_folder(std::string(layout::mail) + "/" + layout::contacts);
  const std::uint64_t size = std::filesystem::file_size(path);
  packing.add_stream(std::string(layout::mail) + "/" + layout::contacts_file, size, [&](const Writer& write) {
    std::ifstream file(path, std::ios::binary);
    std::string block(std::size_t{1} << 16, '\0');
    std::uint64_t written = 0;
    while (file.read(block.data(), static_cast<std::streamsize>(block.size())) || file.gcount() > 0) {
      const auto count = static_cast<std::size_t>(file.gcount());
      write(std::string_view(block).substr(0, count));
      written += count;
    }
    // One that cannot be opened, or read to its end, looks as if it ended there.
    if (written != size) fail(EIO);
  });
}

}  // namespace pack
