// The account's own look at mail folders, and the names that it gives to messages.
#include "account/readers/mbox.h"

#include "account/readers/message_name.h"
#include "support/harness.h"

namespace {

constexpr std::size_t longest_name = 1000;
constexpr const char* charsets[] = {"CP1252", "GBK", "BIG5", "CP1251"};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const fuzz::Input input(data, size);
  const std::string mailbox = fuzz::with_plain_line_ends(input.text());
  account::DigestPool pool;
  std::size_t messages = 0;
  account::read_mbox(account::text_source(mailbox), [&](const account::MboxMessage& message) {
    ++messages;
    pool.add(message.digest);
    fuzz::require(message.begins_with_from || messages == 1,
                  "only the first one may begin without a line for it");
    fuzz::require(fuzz::contains(mailbox, message.head), "a head stands in the mailbox");
    const std::string name =
        account::message_name(message.head, "Inbox", charsets[input.choice(std::size(charsets))]);
    fuzz::require(fuzz::contains(name, "(Inbox") && !fuzz::contains(name, "\n"),
                  "a message has a name of one line");
    fuzz::require(name.size() <= longest_name, "a name is no longer than a person reads");
  });
  fuzz::require(messages <= fuzz::count_of("\n" + mailbox, "\nFrom ") + 1, "a message begins with its line");
  pool.close();

  const std::string path = fuzz::empty_home() + "/Inbox";
  fuzz::write_file(path, mailbox);
  account::read_mbox(account::file_source(path), [&](const account::MboxMessage& message) {
    fuzz::require(pool.take(message.digest), "a file and a text have the same messages");
    --messages;
  });
  fuzz::require(messages == 0, "a file and a text have as many messages");
  return 0;
}
