// Evolution's address book, which the database library reads in a process of its own: that one may die of it,
// this one not.
#include "account/readers/address_book.h"

#include <pthread.h>

#include <csignal>

#include "support/harness.h"

namespace {

// A fault there is none here, so nobody is to write it down.
void die_quietly() {
  for (const int fault : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL, SIGXCPU}) std::signal(fault, SIG_DFL);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const int handler = pthread_atfork(nullptr, nullptr, die_quietly);
  fuzz::require(handler == 0, "a new process can be prepared");
  const std::string_view text = fuzz::Input(data, size).text();
  const account::AddressBook book(account::text_source(text));
  std::size_t bytes = 0;
  static_cast<void>(
      book.each([&](std::string_view uid, const std::string& card) { bytes += uid.size() + card.size(); }));
  fuzz::require(bytes <= 8 * size + (std::size_t{1} << 20), "a book does not hold more than it can");
  return 0;
}
