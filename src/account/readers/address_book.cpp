#include "account/readers/address_book.h"

#include <db.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace account {
namespace {

constexpr std::string_view version_key = "PAS-DB-VERSION";
constexpr std::uint32_t end_mark = 0xffffffff, longest_value = 64U << 20;
constexpr rlim_t most_seconds = 60;

bool write_all(int file, const void* bytes, std::size_t size) {
  const auto* from = static_cast<const char*>(bytes);
  while (size > 0) {
    const ssize_t written = write(file, from, size);
    if (written <= 0) return false;
    from += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}

bool read_all(int file, void* bytes, std::size_t size) {
  auto* to = static_cast<char*>(bytes);
  while (size > 0) {
    const ssize_t got = read(file, to, size);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    to += got;
    size -= static_cast<std::size_t>(got);
  }
  return true;
}

// ---- In a process of its own -----------------------------------------------------------------------------

using Database = std::unique_ptr<DB, void (*)(DB*)>;

Database new_database() {
  DB* database = nullptr;
  if (db_create(&database, nullptr, 0) != 0) database = nullptr;
  if (database != nullptr) database->set_errcall(database, [](const DB_ENV*, const char*, const char*) {});
  return {database, [](DB* open) {
            if (open != nullptr) open->close(open, DB_NOSYNC);
          }};
}

int open_book(DB& database, const char* path) {
  return database.open(&database, nullptr, path, nullptr, DB_HASH, DB_RDONLY, 0);
}

bool is_sound(const char* path) {
  Database database = new_database();
  // The call ends the handle, whatever comes of it.
  DB* const handle = database.release();
  return handle != nullptr && handle->verify(handle, path, nullptr, nullptr, DB_NOORDERCHK) == 0;
}

bool send(int to, const DBT& key, const DBT& value) {
  const std::uint32_t sizes[] = {key.size, value.size};
  return write_all(to, sizes, sizeof sizes) && write_all(to, key.data, key.size) &&
         write_all(to, value.data, value.size);
}

// True when the last record was reached.
bool send_records(DB& database, int to) {
  DBC* cursor = nullptr;
  if (database.cursor(&database, nullptr, &cursor, 0) != 0) return false;
  int result = 0;
  for (;;) {
    DBT key = {}, value = {};
    result = cursor->get(cursor, &key, &value, DB_NEXT);
    if (result != 0 || !send(to, key, value)) break;
  }
  return result == DB_NOTFOUND;
}

void send_book(const char* path, int to) {
  const rlimit seconds = {most_seconds, most_seconds};
  setrlimit(RLIMIT_CPU, &seconds);
  const rlimit no_core = {0, 0};
  setrlimit(RLIMIT_CORE, &no_core);
  const Database database = new_database();
  if (database == nullptr || open_book(*database, path) != 0) return;
  const bool whole = send_records(*database, to) && is_sound(path);
  const std::uint32_t end[] = {end_mark, whole ? 0U : 1U};
  write_all(to, end, sizeof end);
}

// ---- Here ------------------------------------------------------------------------------------------------

std::string without_nul(std::string text) {
  while (text.ends_with('\0')) text.pop_back();
  return text;
}

// False when the records end without the mark of a whole book. A file made to keep us busy gives more than it
// can hold.
bool receive(int from, std::uint64_t most_bytes, const AddressBook::Take& take) {
  std::uint64_t bytes = 0;
  for (std::array<std::uint32_t, 2> sizes; read_all(from, sizes.data(), sizeof sizes);) {
    if (sizes[0] == end_mark) return sizes[1] == 0;
    bytes += sizeof sizes + sizes[0] + sizes[1];
    if (sizes[0] > longest_value || sizes[1] > longest_value || bytes > most_bytes) return false;
    std::string key(sizes[0], '\0'), value(sizes[1], '\0');
    if (!read_all(from, key.data(), key.size()) || !read_all(from, value.data(), value.size())) return false;
    key = without_nul(std::move(key));
    if (key != version_key) take(key, without_nul(std::move(value)));
  }
  return false;
}

std::uint64_t size_of(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

}  // namespace

AddressBook::AddressBook(const Source& source) {
  std::string name = "/tmp/brindle-account.XXXXXX";
  const int file = mkostemp(name.data(), O_CLOEXEC);  // exclusive, and for the owner alone
  if (file < 0) return;
  path_ = name;
  std::array<char, 1 << 16> buffer;
  for (std::size_t got; (got = source(buffer)) > 0;)
    if (!write_all(file, buffer.data(), got)) break;
  close(file);
}

AddressBook::~AddressBook() {
  if (!path_.empty()) unlink(path_.c_str());
}

bool AddressBook::each(const Take& take) const {
  int ends[2];
  if (path_.empty() || pipe2(ends, O_CLOEXEC) != 0) return false;
  const pid_t child = fork();
  if (child == 0) {
    send_book(path_.c_str(), ends[1]);
    _exit(0);
  }
  close(ends[1]);
  const bool whole = child > 0 && receive(ends[0], 8 * size_of(path_) + (1 << 20), take);
  close(ends[0]);
  if (child <= 0) return false;
  if (!whole) kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  return whole;
}

}  // namespace account
