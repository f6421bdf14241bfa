#include "process/mail/folders/mailbox.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "shell/files.h"

namespace {

/// A mailbox that cannot be read behind `content`, or ends there.
struct Disk {
  std::string content;
  bool is_broken = false;
  std::size_t read = 0;
};

ssize_t read_disk(void* cookie, char* buffer, std::size_t size) {
  Disk& disk = *static_cast<Disk*>(cookie);
  const std::size_t part = std::min(size, disk.content.size() - disk.read);
  if (part == 0 && disk.is_broken) {
    errno = EIO;
    return -1;
  }
  std::memcpy(buffer, disk.content.data() + disk.read, part);
  disk.read += part;
  return static_cast<ssize_t>(part);
}

File open_disk(Disk& disk) {
  return File(
      fopencookie(&disk, "r", {.read = read_disk, .write = nullptr, .seek = nullptr, .close = nullptr}));
}

/// Each begins with its number.
std::string messages(int count) {
  std::string text;
  for (int number = 0; number < count; ++number)
    text += "From " + std::to_string(number) + "\n" + std::string(50'000, 'x') + "\n";
  return text;
}

struct Kept {
  std::string text;
  int messages = 0;
  int error = 0;
};

Kept kept_of(Disk disk) {
  const File file = open_disk(disk);
  Kept kept;
  for (Mailbox mailbox(file.get());; mailbox.go_on()) {
    for (const Part& part : mailbox.parts()) {
      kept.text += mailbox.text(part);
      kept.messages += part.begins_message ? 1 : 0;
    }
    kept.error = mailbox.error();
    if (mailbox.is_last()) return kept;
  }
}

TEST(Mailbox, BlockForBlockAllOfItComes) {
  const std::string content = messages(40);
  const Kept kept = kept_of({content});
  EXPECT_TRUE(content == kept.text);
  EXPECT_EQ(40, kept.messages);
  EXPECT_EQ(0, kept.error);
}

TEST(Mailbox, OfWholeBlocksEndsWithAnEmptyOne) {
  const std::string content = messages(40).substr(0, 4 * (std::size_t{1} << 18));
  const Kept kept = kept_of({content});
  EXPECT_TRUE(content == kept.text);
  EXPECT_EQ(0, kept.error);
}

TEST(Mailbox, AnEmptyOneHasNoParts) {
  const Kept kept = kept_of({""});
  EXPECT_EQ("", kept.text);
  EXPECT_EQ(0, kept.messages);
}

// In the first block, and in one that is read ahead.
TEST(Mailbox, ThatCannotBeReadOnTellsWhyAndHandsOutWhatCameBefore) {
  for (const int count : {0, 2, 40}) {
    const Kept kept = kept_of({messages(count), true});
    EXPECT_TRUE(messages(count) == kept.text) << count;
    EXPECT_EQ(count, kept.messages);
    EXPECT_EQ(EIO, kept.error) << count;
  }
}

TEST(Mailbox, MayBeLeftBeforeItsEnd) {
  Disk disk{messages(40)};
  const File file = open_disk(disk);
  const Mailbox mailbox(file.get());
  EXPECT_FALSE(mailbox.is_last());
}

TEST(Mailbox, IsReadWhereNoThreadCanBeStarted) {
  constexpr std::size_t more_than_there_is = SIZE_MAX / 16 * 15 / 4096 * 4096;
  pthread_attr_t attributes;
  ASSERT_EQ(0, pthread_getattr_default_np(&attributes));
  ASSERT_EQ(0, pthread_attr_setstacksize(&attributes, more_than_there_is));
  ASSERT_EQ(0, pthread_setattr_default_np(&attributes));
  pthread_attr_destroy(&attributes);
  const std::string content = messages(40);
  const Kept kept = kept_of({content});
  EXPECT_TRUE(content == kept.text);
  EXPECT_EQ(40, kept.messages);
}

}  // namespace
