#include "place/entry.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <ctime>
#include <fstream>

#include "trees.h"

namespace {

using place::Content;
using place::Entry;
using place::Type;
using testing::ElementsAre;
using testing::Optional;

struct Look : Below {
  /// What an entry says of the file, by a program nobody here wrote.
  static std::string sum_of(const std::string& name) {
    return output_of("cd /tmp/top; xxh128sum " + name + " | cut -c-32 | tr -d '\\n'; stat -c :%s " + name +
                     " | tr -d '\\n'");
  }
  static void append(const std::string& name) { std::ofstream("/tmp/top/" + name, std::ios::app) << "x"; }
};

TEST_F(Look, TellsWhatAFileIs) {
  prepare(
      "printf 'what is in it' > a; chmod 4751 a; chown 12:34 a; chmod 4751 a; "
      "touch -d '2001-02-03 04:05:06.123456789 UTC' a; printf other > b");
  const Entry a = look("a");
  EXPECT_EQ(a.type, Type::file);
  EXPECT_EQ(a.mode, 04751U);
  EXPECT_EQ(a.uid, 12U);
  EXPECT_EQ(a.gid, 34U);
  EXPECT_EQ(a.modified.tv_sec, 981173106);
  EXPECT_EQ(a.modified.tv_nsec, 123456789);
  EXPECT_EQ(a.inode, 0U);
  EXPECT_EQ(a.content, sum_of("a"));
  EXPECT_THAT(a.content, testing::EndsWith(":13"));
  EXPECT_NE(look("b").content, a.content);
}

TEST_F(Look, SumsUpFilesOfEverySize) {
  for (const char* size : {"0", "1", "4096", "4097", "262143", "262144", "262145", "524288", "1000000"}) {
    prepare(
        std::string("openssl enc -aes-128-ctr -pass pass:x -nosalt -in /dev/zero 2>/dev/null | head -c ") +
        size + " > sized");
    EXPECT_EQ(look("sized").content, sum_of("sized"));
  }
}

TEST_F(Look, LeavesContentOutWhenToldTo) {
  prepare("printf x > a");
  EXPECT_EQ(look("a", Content::not_read).content, "");
  EXPECT_EQ(look("a", Content::not_read).type, Type::file);
}

TEST_F(Look, TellsFoldersLinksAndOthersApart) {
  prepare(
      "mkdir folder; printf x > folder/in; ln -s /nowhere/at\\ all link; mkfifo fifo; mkfifo second; "
      "mknod zero c 1 5; mknod null c 1 3; mknod disk b 1 3; "
      "python3 -c 'import socket; socket.socket(socket.AF_UNIX).bind(\"socket\")'");
  EXPECT_EQ(look("folder").type, Type::folder);
  EXPECT_EQ(look("folder").content, "");
  EXPECT_EQ(look("link").type, Type::link);
  EXPECT_EQ(look("link").content, "/nowhere/at all");
  for (const char* name : {"fifo", "zero", "null", "disk", "socket"})
    EXPECT_EQ(look(name).type, Type::other) << name;
  EXPECT_EQ(look("fifo").content, look("second").content);
  for (const char* name : {"zero", "disk", "socket", "fifo"})
    EXPECT_NE(look(name).content, look("null").content) << name;
  EXPECT_NE(look("fifo").content, look("socket").content);
  EXPECT_NE(look("zero").content, look("disk").content);
}

TEST_F(Look, FindsNothing) {
  prepare("printf x > file");
  EXPECT_EQ(look("missing").type, Type::nothing);
  EXPECT_EQ(look("missing/deep/down").type, Type::nothing);
  EXPECT_EQ(look("file/below").type, Type::nothing);
  EXPECT_EQ(text_of(look("missing")), "nothing");
}

TEST_F(Look, FollowsNoLink) {
  prepare("mkdir folder; printf x > folder/in; ln -s folder link; ln -s folder/in direct");
  EXPECT_EQ(place::look_beneath(top.number(), "link/in", Content::read), std::nullopt);
  EXPECT_EQ(errno, ELOOP);
  EXPECT_EQ(look("direct").type, Type::link);
  EXPECT_EQ(place::look_beneath(top.number(), "../etc/passwd", Content::read), std::nullopt);
  EXPECT_EQ(place::look_beneath(top.number(), "/etc/passwd", Content::read), std::nullopt);
}

TEST_F(Look, TellsFilesWithFurtherNames) {
  prepare("printf x > a; ln a b; printf x > c; ln -s x link; ln link second");
  EXPECT_NE(look("a").inode, 0U);
  EXPECT_EQ(look("a").inode, look("b").inode);
  EXPECT_EQ(look("c").inode, 0U);
  EXPECT_EQ(look("link").inode, 0U);
}

TEST_F(Look, SaysWhenItMayNotRead) {
  prepare("chmod 755 .; printf x > a; chmod 600 a; mkdir closed; printf x > closed/in; chmod 700 closed");
  EXPECT_TRUE(as_person([&] {
    return !place::look_beneath(top.number(), "a", Content::read) && errno == EACCES &&
           place::look_beneath(top.number(), "a", Content::not_read) &&
           !place::look_beneath(top.number(), "closed/in", Content::not_read) && errno == EACCES;
  }));
}

TEST_F(Look, ReadsFilesOfOthers) {
  prepare("chmod 755 .; printf x > a; chmod 644 a");
  EXPECT_TRUE(as_person([&] { return look("a").content.ends_with(":1"); }));
}

TEST_F(Look, FindsNothingWhereAFileHasJustGone) {
  prepare("printf x > a");
  answer_calls("openat", [] { return static_cast<void>(unlink("/tmp/top/a")), 0; });
  EXPECT_EQ(look("a").type, Type::nothing);
}

TEST_F(Look, OpensNothingThatTookTheFilesPlace) {
  for (const char* other : {"ln -s secret file", "mkfifo file", "mknod file c 1 5", "mkdir file"}) {
    prepare("rm -rf file; printf x > file; printf secret > secret");
    answer_calls("openat", [&] {
      forget_answers();
      return shell_quietly(std::string("cd /tmp/top; rm file; ") + other);
    });
    EXPECT_FALSE(place::look_beneath(top.number(), "file", Content::read)) << other;
  }
}

TEST_F(Look, LeavesTheTimeOfAccess) {
  prepare("printf x > a; touch -a -d 2001-02-03 a");
  static_cast<void>(look("a"));
  EXPECT_EQ(output_of("stat -c %x /tmp/top/a | cut -c-10"), "2001-02-03\n");
}

TEST_F(Look, NeverTakesAFileThatIsWrittenMeanwhile) {
  prepare("head -c 600000 /dev/zero > big");
  answer_calls("read", [] { return append("big"), 0; });
  EXPECT_FALSE(place::look_beneath(top.number(), "big", Content::read));
  EXPECT_EQ(errno, EBUSY);
}

TEST_F(Look, ReadsAFileAgainThatWasWrittenMeanwhile) {
  prepare("head -c 600000 /dev/zero > big");
  int calls = 0;
  answer_calls("read", [&] { return ++calls == 2 ? append("big"), 0 : 0; });
  const std::string content = look("big").content;
  EXPECT_EQ(content, sum_of("big"));
  EXPECT_THAT(content, testing::EndsWith(":600001"));
}

TEST_F(Look, ReadsAFileThatWasCutMeanwhile) {
  prepare("head -c 600000 /dev/zero > big");
  int calls = 0;
  answer_calls("read", [&] { return ++calls == 2 ? truncate("/tmp/top/big", 5) : 0; });
  const std::string content = look("big").content;
  EXPECT_EQ(content, sum_of("big"));
}

TEST_F(Look, ReadsAFileAgainThatWasEmptyAtFirst) {
  prepare("touch a");
  int calls = 0;
  answer_calls("read", [&] {
    if (++calls == 1) std::ofstream("/tmp/top/a") << std::string(300000, 'x');
    return calls == 2 ? truncate("/tmp/top/a", 5) : 0;
  });
  const std::string content = look("a").content;
  EXPECT_EQ(content, sum_of("a"));
}

TEST_F(Look, ReadsNoEndlessFile) {
  const Descriptor processes = place::open_top("/proc/self");
  EXPECT_FALSE(place::look_beneath(processes.number(), "pagemap", Content::read));
  EXPECT_EQ(errno, EFBIG);
}

TEST_F(Look, IsNotDisturbedBySignals) {
  prepare("printf x > a; head -c 600000 /dev/zero > b");
  for (const char* name : {"a", "b"}) {
    int calls = 0;
    answer_calls("read", [&] { return ++calls == 1 ? EINTR : 0; });
    EXPECT_EQ(look(name).content, sum_of(name));
  }
}

TEST_F(Look, SaysWhenTheDiskFails) {
  prepare("printf x > a; head -c 600000 /dev/zero > b");
  for (const char* name : {"a", "b"}) {
    answer_calls("read", [] { return EIO; });
    EXPECT_FALSE(place::look_beneath(top.number(), name, Content::read));
    EXPECT_EQ(errno, EIO);
  }
}

TEST_F(Look, ReadsWhatHasNoSize) {
  const Descriptor processes = place::open_top("/proc/self");
  const std::optional<Entry> entry = place::look_beneath(processes.number(), "comm", Content::read);
  ASSERT_TRUE(entry);
  EXPECT_THAT(entry->content, testing::EndsWith(":" + std::to_string(read_file("/proc/self/comm").size())));
}

// In processor time, since other tests run at the same time. One reading of a file is enough.
TEST_F(Look, IsQuick) {
  prepare("mkdir many; cd many; seq 20000 | split -l 1 -a 5");
  int reads = 0;
  int looks = 0;
  answer_calls("read", [&] { return ++reads, 0; });
  answer_calls("fstat", [&] { return ++looks, 0; });
  const std::vector<std::string> names = place::names_beneath(top.number(), "many").value();
  place::Spot one = spot("many/x");
  looks = 0;
  const std::clock_t start = std::clock();
  for (const std::string& name : names) {
    one.name = name;
    EXPECT_TRUE(place::look_at(one, Content::read));
  }
  EXPECT_LT(std::clock() - start, CLOCKS_PER_SEC);
  EXPECT_EQ(names.size(), 20000U);
  EXPECT_EQ(reads, 20000);
  EXPECT_EQ(looks, 20000);
}

// ---- Text ----

Entry example() {
  Entry entry;
  entry.type = Type::file;
  entry.mode = 0644;
  entry.uid = 1000;
  entry.gid = 1001;
  entry.modified = {1700000000, 5};
  entry.inode = 77;
  entry.content = "0123:4";
  return entry;
}

TEST(Text, IsOneLine) {
  EXPECT_EQ(text_of(example()), "file 0644 1000 1001 1700000000.000000005 77 0123:4");
  Entry entry = example();
  entry.type = Type::folder;
  entry.mode = 04755;
  entry.content = "";
  EXPECT_EQ(text_of(entry), "folder 4755 1000 1001 1700000000.000000005 77");
  entry.type = Type::link;
  entry.content = " two  blanks ";
  EXPECT_EQ(text_of(entry), "link 4755 1000 1001 1700000000.000000005 77  two  blanks ");
  entry.type = Type::other;
  entry.content = "1";
  EXPECT_EQ(text_of(entry), "other 4755 1000 1001 1700000000.000000005 77 1");
  EXPECT_EQ(text_of(Entry()), "nothing");
}

TEST(Text, IsReadBack) {
  for (const Type type : {Type::file, Type::folder, Type::link, Type::other}) {
    for (const char* content : {"", "x", " x ", "a\nb\tc", "\377\1"}) {
      Entry entry = example();
      entry.type = type;
      entry.content = content;
      entry.modified = {-3, 999999999};
      const std::optional<Entry> again = place::entry_from(text_of(entry));
      ASSERT_TRUE(again) << text_of(entry);
      EXPECT_EQ(again->type, type);
      EXPECT_EQ(again->mode, 0644U);
      EXPECT_EQ(again->uid, 1000U);
      EXPECT_EQ(again->gid, 1001U);
      EXPECT_EQ(again->modified.tv_sec, -3);
      EXPECT_EQ(again->modified.tv_nsec, 999999999);
      EXPECT_EQ(again->inode, 77U);
      EXPECT_EQ(again->content, content);
    }
  }
  EXPECT_EQ(place::entry_from("nothing")->type, Type::nothing);
}

TEST(Text, OfAnotherShapeIsNone) {
  for (const char* text :
       {"", "file", "nothing ", "nothing x", "unknown", "File 0644 1 2 3.000000004 5 x",
        "file 644 1 2 3.000000004 5 x", "file 0844 1 2 3.000000004 5 x", "file 0644 1 2 3.4 5 x",
        "file 0644 1 2 3 5 x", "file 0644 1 2 3.0000000004 5 x", "file 0644 -1 2 3.000000004 5 x",
        "file 0644 4294967296 2 3.000000004 5 x", "file 0644 1  2 3.000000004 5 x",
        "file 0644 1 2 3.000000004", "file 0644 1 2 3.000000004 5 ", "file 0644 1 2 3.000000004 5x",
        "file 0644 1 2 3.-00000004 5 x", " file 0644 1 2 3.000000004 5 x"})
    EXPECT_FALSE(place::entry_from(text)) << text;
}

// ---- Comparing ----

TEST(Compare, ThingsByTypeAndContent) {
  Entry other = example();
  other.mode = 0600;
  other.uid = other.gid = 5;
  other.modified = {};
  other.inode = 0;
  EXPECT_TRUE(is_same_thing(example(), other));
  other.content = "0123:5";
  EXPECT_FALSE(is_same_thing(example(), other));
  other = example();
  other.type = Type::link;
  EXPECT_FALSE(is_same_thing(example(), other));
}

TEST(Compare, AttributesOneByOne) {
  Entry other = example();
  other.content = "else";
  other.inode = 1;
  EXPECT_TRUE(has_same_attributes(example(), other));
  EXPECT_FALSE(has_same_attributes(example(), (other = example(), other.mode = 0600, other)));
  EXPECT_FALSE(has_same_attributes(example(), (other = example(), other.uid = 5, other)));
  EXPECT_FALSE(has_same_attributes(example(), (other = example(), other.gid = 5, other)));
  EXPECT_FALSE(has_same_attributes(example(), (other = example(), other.modified.tv_sec = 5, other)));
  EXPECT_FALSE(has_same_attributes(example(), (other = example(), other.modified.tv_nsec = 6, other)));
}

TEST(Compare, LinksHaveAnyTime) {
  Entry one = example();
  one.type = Type::link;
  Entry other = one;
  other.modified = {5, 6};
  EXPECT_TRUE(has_same_attributes(one, other));
  other.uid = 5;
  EXPECT_FALSE(has_same_attributes(one, other));
}

// ---- Names ----

struct Names : Below {};

TEST_F(Names, AreSortedAndNoneIsLeftOut) {
  prepare(
      "mkdir folder; cd folder; touch b a .hidden \"$(printf 'line\\nfeed')\" \"$(printf '\\377')\" ...; "
      "mkdir z; ln -s a link");
  EXPECT_THAT(place::names_beneath(top.number(), "folder"),
              Optional(ElementsAre("...", ".hidden", "a", "b", "line\nfeed", "link", "z", "\377")));
  EXPECT_THAT(place::names_beneath(top.number(), ""), Optional(ElementsAre("folder")));
}

TEST_F(Names, AreNoneOfWhatIsNoFolder) {
  prepare("touch file; mkdir folder; ln -s folder link");
  EXPECT_FALSE(place::names_beneath(top.number(), "file"));
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_FALSE(place::names_beneath(top.number(), "missing"));
  EXPECT_EQ(errno, ENOENT);
  EXPECT_FALSE(place::names_beneath(top.number(), "link"));
  EXPECT_EQ(errno, ELOOP);
}

}  // namespace
