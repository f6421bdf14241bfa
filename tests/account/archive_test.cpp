// Zip archives of every origin, whole and broken.
#include "account/archive/archive.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <iterator>

#include "account/raw_zip.h"
#include "account/scene.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* path = "/tmp/raw.zip";

struct Raw {
  explicit Raw(const std::string& bytes, const char* charset = "CP437") {
    write_file(path, bytes);
    archive = std::make_unique<Archive>(path, charset);
  }
  std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (const Entry& entry : archive->entries()) result.emplace_back(entry.name);
    return result;
  }
  std::unique_ptr<Archive> archive;
};

// What an archive of these bytes says of itself; empty when it can be read.
std::string refusal(const std::string& bytes) {
  try {
    const Raw raw(bytes);
    return "";
  } catch (const Unreadable& error) {
    return error.what();
  }
}

// Reads every entry to its end. Number of bytes; those of a broken one count as far as they go.
std::size_t read_all(const Archive& archive) {
  std::size_t total = 0;
  for (const Entry& entry : archive.entries()) total += archive.read(entry, 1 << 20).size();
  return total;
}

const std::vector<RawEntry> three = {{"B/two", "22"}, {"B/one", "1"}, {"C", "333"}};

TEST(Names, are_sorted_and_found_by_folder) {
  const Raw raw(raw_zip(
      {{"b/z", ""}, {"b.txt", ""}, {"b/a/x", ""}, {"b/", ""}, {"b-c/y", ""}, {"b0", ""}, {"b0/x", ""}}));
  EXPECT_THAT(raw.names(), ElementsAre("b", "b-c/y", "b.txt", "b/a/x", "b/z", "b0", "b0/x"));
  EXPECT_EQ(2U, raw.archive->below("b").size());
  EXPECT_EQ("b/a/x", raw.archive->below("b/a").front().name);
  EXPECT_TRUE(raw.archive->find("b")->folder);
  EXPECT_EQ(nullptr, raw.archive->find("b/a"));  // only implied
  EXPECT_TRUE(raw.archive->has("b/a"));
  EXPECT_FALSE(raw.archive->has("b/"));
  EXPECT_FALSE(raw.archive->has("a"));
}

TEST(Names, of_the_unicode_field_count_when_it_was_made_for_them) {
  const std::string old = "caf\x82.txt";
  const Raw fits(raw_zip({{old, "", 0, 0, 0, unicode_path(old, "日本.txt")}}));
  EXPECT_THAT(fits.names(), ElementsAre("日本.txt"));
  const Raw stale(raw_zip({{old, "", 0, 0, 0, unicode_path("other", "日本.txt")}}));
  EXPECT_THAT(stale.names(), ElementsAre("café.txt"));
  std::string newer = unicode_path(old, "日本.txt");
  newer[4] = '\2';
  const Raw other_version(raw_zip({{old, "", 0, 0, 0, newer}}));
  EXPECT_THAT(other_version.names(), ElementsAre("café.txt"));
  const Raw cut(raw_zip({{old, "", 0, 0, 0, unicode_path(old, "日本.txt").substr(0, 7)}}));
  EXPECT_THAT(cut.names(), ElementsAre("café.txt"));
  const std::string other_field("\x0a\0\2\0xx", 6);
  const Raw second(raw_zip({{old, "", 0, 0, 0, other_field + unicode_path(old, "日本.txt")}}));
  EXPECT_THAT(second.names(), ElementsAre("日本.txt"));
}

TEST(Names, are_read_in_the_code_page_of_dos) {
  EXPECT_THAT(Raw(raw_zip({{"M\x81nchen", ""}})).names(), ElementsAre("München"));
  EXPECT_THAT(Raw(raw_zip({{"\xd6\xd0\xb9\xfa", ""}}), "CP936").names(), ElementsAre("中国"));
  EXPECT_THAT(Raw(raw_zip({{"\xab\xe1\xee", ""}}), "CP866").names(), ElementsAre("лсю"));
  // As on the first PCs where the page has no such character.
  EXPECT_THAT(Raw(raw_zip({{"x\xff", ""}}), "CP932").names(), ElementsAre("x\u00a0"));
  EXPECT_THAT(Raw(raw_zip({{"x\x9b", ""}}), "CP932").names(), ElementsAre("x\u00a2"));
}

TEST(Names, that_are_utf8_by_chance_are_read_in_the_code_page) {
  EXPECT_THAT(Raw(raw_zip({{"\xE1\xA0\xA4", ""}}), "CP866").names(), ElementsAre("сад"));
  EXPECT_THAT(Raw(raw_zip({{"\xCD\xBC", ""}}), "CP936").names(), ElementsAre("图"));
  EXPECT_THAT(Raw(raw_zip({{"\xE1\xA0\xA4", "", 0, 0x800}}), "CP866").names(), ElementsAre("\xE1\xA0\xA4"));
  EXPECT_THAT(Raw(raw_zip({{"\xE1\xA0\xA4", "", 3}}), "CP866").names(), ElementsAre("\xE1\xA0\xA4"));
  for (const char* name : {"Ж", "я", "日本", "сад", "Straße"})
    EXPECT_THAT(Raw(raw_zip({{name, ""}}), "CP850").names(), ElementsAre(name));
  // The Russian letters of its bytes are "уБВуБЛ", which nobody writes.
  EXPECT_THAT(Raw(raw_zip({{"あか", ""}}), "CP866").names(), ElementsAre("あか"));
}

TEST(Names, of_more_than_255_bytes_are_cut_as_the_files_are) {
  const auto times = [](int count, const std::string& one) {
    std::string all;
    for (int number = 0; number < count; ++number) all += one;
    return all;
  };
  EXPECT_THAT(Raw(raw_zip({{"B/" + times(100, "图") + ".jpeg", "", 0, 0x800}})).names(),
              ElementsAre("B/" + times(83, "图") + ".jpeg"));
  EXPECT_THAT(Raw(raw_zip({{times(300, "a") + "/" + times(255, "b"), ""}})).names(),
              ElementsAre(times(255, "a") + "/" + times(255, "b")));
  EXPECT_THAT(Raw(raw_zip({{times(200, "a") + "." + times(100, "b"), ""}})).names(),
              ElementsAre(times(200, "a") + "." + times(54, "b")));
  EXPECT_THAT(Raw(raw_zip({{times(300, "a") + "." + times(63, "b"), ""}})).names(),
              ElementsAre(times(191, "a") + "." + times(63, "b")));
  EXPECT_THAT(Raw(raw_zip({{times(300, "a") + "." + times(64, "b"), ""}})).names(),
              ElementsAre(times(255, "a")));
  const Raw both(raw_zip({{times(255, "a"), ""}, {times(256, "b"), ""}}));
  EXPECT_FALSE(both.archive->entries()[0].shortened);
  EXPECT_TRUE(both.archive->entries()[1].shortened);
}

TEST(Names, that_are_utf8_stay_with_the_flag_and_without) {
  EXPECT_THAT(Raw(raw_zip({{"Réponse", "", 0, 0x800}})).names(), ElementsAre("Réponse"));
  EXPECT_THAT(Raw(raw_zip({{"Réponse", "", 3, 0}})).names(), ElementsAre("Réponse"));
  EXPECT_THAT(Raw(raw_zip({{"R\x82ponse", "", 0, 0x800}})).names(), ElementsAre("Réponse"));  // the flag lies
}

TEST(Names, of_windows_have_backslashes_between_folders) {
  EXPECT_THAT(Raw(raw_zip({{"Brindle\\Desktop\\a b", ""}})).names(), ElementsAre("Brindle/Desktop/a b"));
  EXPECT_THAT(Raw(raw_zip({{"Brindle\\a", "", 11}})).names(), ElementsAre("Brindle/a"));
  EXPECT_THAT(Raw(raw_zip({{"Brindle/a\\b", "", 3}})).names(),
              ElementsAre("Brindle/a\\b"));  // a name of Unix
  EXPECT_TRUE(Raw(raw_zip({{"Brindle\\Empty\\", ""}})).archive->entries().front().folder);
  // The second byte of a character is no separator.
  EXPECT_THAT(Raw(raw_zip({{"\x95\x5c\\x", ""}}), "CP932").names(), ElementsAre("表/x"));
}

TEST(Names, without_empty_parts_as_unpacking_makes_of_them) {
  const Raw raw(raw_zip({{"./Brindle//Desktop/./a", ""}, {"/Brindle/b", ""}, {"Brindle/c//", ""}}));
  EXPECT_THAT(raw.names(), ElementsAre("Brindle/Desktop/a", "Brindle/b", "Brindle/c"));
  EXPECT_TRUE(raw.archive->find("Brindle/c")->folder);
}

TEST(Names, that_lead_out_are_unsafe) {
  using std::string_literals::operator""s;
  for (const std::string& name :
       {"../x"s, "Brindle/../../etc/passwd"s, "/etc/passwd"s, "a/.."s, "a\0b"s, "..\\x"s, "\\x"s, ""s})
    EXPECT_TRUE(Raw(raw_zip({{name, ""}})).archive->entries().front().unsafe) << name;
  for (const std::string& name : {"..x"s, "a/..b/c.."s, "..."s, "a/./b"s, "a//b"s})
    EXPECT_FALSE(Raw(raw_zip({{name, ""}})).archive->entries().front().unsafe) << name;
}

TEST(Entries, with_one_name_are_both_there_and_the_later_one_is_found) {
  const Raw raw(raw_zip({{"a", "first"}, {"b", ""}, {"a", "second"}}));
  EXPECT_THAT(raw.names(), ElementsAre("a", "a", "b"));
  EXPECT_EQ("second", raw.archive->read(*raw.archive->find("a"), 100));
  EXPECT_EQ("first", raw.archive->read(raw.archive->entries()[0], 100));
}

TEST(Entries, tell_links_devices_and_what_must_not_be_written) {
  const Raw raw(raw_zip({{"device", "", 3, 0, 0060644U << 16},
                         {"file", "", 3, 0, 0100444U << 16},
                         {"link", "/etc/passwd", 3, 0, 0120777U << 16},
                         {"locked", "", 0, 0, 1},
                         {"windows", "", 0, 0, 0120777U << 16},
                         {"x/", "", 0, 0, 1},
                         {"y/", "", 3, 0, 0040755U << 16}}));
  const auto entries = raw.archive->entries();
  EXPECT_TRUE(entries[0].is_link_or_device());
  EXPECT_FALSE(entries[1].is_link_or_device());
  EXPECT_FALSE(entries[1].read_only);
  EXPECT_TRUE(entries[2].is_link_or_device());
  EXPECT_TRUE(entries[3].read_only);
  EXPECT_FALSE(entries[4].is_link_or_device());  // Windows keeps no Unix modes
  EXPECT_FALSE(entries[5].read_only);            // of a folder it says something else
  EXPECT_FALSE(entries[6].is_link_or_device());
  EXPECT_EQ(0040755, entries[6].mode);
}

TEST(Entries, that_are_encrypted_are_told_and_cannot_be_read) {
  const Raw raw(raw_zip({{"open", "one"}, {"secret", "two", 0, 1}}));
  EXPECT_FALSE(raw.archive->entries()[0].encrypted());
  const Entry& secret = raw.archive->entries()[1];
  EXPECT_TRUE(secret.encrypted());
  bool whole = true;
  EXPECT_EQ("", raw.archive->read(secret, 100, &whole));
  EXPECT_FALSE(whole);
}

TEST(Entries, are_read_whole_or_up_to_a_limit) {
  const Raw raw(raw_zip({{"a", "12345"}, {"empty", ""}}));
  bool whole = false;
  EXPECT_EQ("12345", raw.archive->read(*raw.archive->find("a"), 5, &whole));
  EXPECT_TRUE(whole);
  EXPECT_EQ("", raw.archive->read(*raw.archive->find("a"), 4, &whole));
  EXPECT_FALSE(whole);
  EXPECT_EQ("", raw.archive->read(*raw.archive->find("empty"), 0, &whole));
  EXPECT_TRUE(whole);
}

TEST(Entries, whose_data_are_damaged_fail_at_their_end) {
  std::string bytes = raw_zip({{"a", "12345"}, {"b", "67890"}});
  bytes[bytes.find("12345") + 2] = 'x';
  const Raw raw(bytes);
  bool whole = true;
  raw.archive->read(*raw.archive->find("a"), 100, &whole);
  EXPECT_FALSE(whole);
  EXPECT_EQ("67890", raw.archive->read(*raw.archive->find("b"), 100, &whole));
  EXPECT_TRUE(whole);
}

// A checksum of nothing fits any number of bytes that are not there.
TEST(Entries, that_are_shorter_than_their_list_says_are_not_whole) {
  std::string bytes = raw_zip({{"a", ""}, {"b", ""}});
  bytes[bytes.find("PK\1\2") + 24] = 50;
  const Raw raw(bytes);
  bool whole = true;
  EXPECT_EQ("", raw.archive->read(*raw.archive->find("a"), 100, &whole));
  EXPECT_FALSE(whole);
  EXPECT_EQ("", raw.archive->read(*raw.archive->find("b"), 100, &whole));
  EXPECT_TRUE(whole);
}

TEST(Frames, with_something_before_and_a_comment) {
  for (const bool large : {false, true}) {
    RawFrame frame;
    frame.before = std::string(100000, 'x');
    frame.comment = "Packed at home";
    frame.large = large;
    const Raw raw(raw_zip(three, frame));
    EXPECT_THAT(raw.names(), ElementsAre("B/one", "B/two", "C")) << large;
    EXPECT_EQ("22", raw.archive->read(*raw.archive->find("B/two"), 100)) << large;
    EXPECT_EQ("333", raw.archive->read(*raw.archive->find("C"), 100)) << large;
  }
}

TEST(Frames, with_the_longest_comment) {
  RawFrame frame;
  frame.comment = std::string(65535, 'c');
  EXPECT_EQ(3U, Raw(raw_zip(three, frame)).names().size());
}

TEST(Frames, whose_comment_looks_like_an_end) {
  RawFrame frame;
  frame.comment = "see PK\5\6" + std::string(18, '\0') + " there";
  EXPECT_EQ(3U, Raw(raw_zip(three, frame)).names().size());
  frame.comment = "see PK\5\6" + std::string(18, '\1') + " there";
  EXPECT_EQ(3U, Raw(raw_zip(three, frame)).names().size());
}

TEST(Frames, with_something_behind_or_a_signature) {
  RawFrame behind;
  behind.after = "trailing";
  EXPECT_EQ(3U, Raw(raw_zip(three, behind)).names().size());
  RawFrame sealed;
  sealed.signature = std::string("PK\5\5\4\0seal", 10);
  EXPECT_EQ(3U, Raw(raw_zip(three, sealed)).names().size());
}

TEST(Frames, of_numbers_of_64_bits) {
  RawFrame frame;
  frame.large = true;
  const Raw raw(raw_zip(three, frame));
  EXPECT_EQ(2U, raw.archive->find("B/two")->size);
  EXPECT_EQ("22", raw.archive->read(*raw.archive->find("B/two"), 100));
}

TEST(Frames, of_numbers_of_64_bits_have_the_size_first) {
  RawFrame frame;
  frame.large = true;
  std::string bytes = raw_zip({{"a", "12345"}}, frame);
  bytes[bytes.find(std::string("\1\0\x18\0", 4)) + 12] = '\3';
  const Raw raw(bytes);
  EXPECT_EQ(5U, raw.archive->find("a")->size);
  EXPECT_EQ(3U, raw.archive->find("a")->packed);
}

TEST(Frames, of_nothing) { EXPECT_EQ(0U, Raw(raw_zip({})).names().size()); }

TEST(Frames, of_more_entries_than_16_bits_count) {
  std::vector<RawEntry> many;
  for (int i = 0; i < 70000; ++i) many.push_back({"f" + std::to_string(i), ""});
  many.push_back({"last", "one"});
  for (const bool large : {false, true}) {
    RawFrame frame;
    frame.large = large;
    const Raw raw(raw_zip(many, frame));
    EXPECT_EQ(70001U, raw.archive->entries().size()) << large;
    EXPECT_EQ("one", raw.archive->read(*raw.archive->find("last"), 100)) << large;
  }
}

TEST(Broken, archives_say_what_is_wrong) {
  const std::string whole = raw_zip(three);
  const std::string no_list = "no list of its content at its end: it is cut short or not a zip archive";
  EXPECT_EQ(no_list, refusal(""));
  EXPECT_EQ(no_list, refusal("PK"));
  EXPECT_EQ(no_list, refusal(std::string(100000, 'x')));
  EXPECT_EQ(no_list, refusal(whole.substr(0, whole.size() / 2)));
  std::string damaged = whole;
  damaged[damaged.rfind("PK\1\2") + 1] = 'x';
  EXPECT_EQ("the list of its content is damaged", refusal(damaged));
  std::string longer = whole;
  longer[longer.rfind("PK\1\2") + 31] = '\x7f';
  EXPECT_EQ("the list of its content ends early", refusal(longer));
  std::string fewer = whole;
  fewer[fewer.rfind("PK\5\6") + 10] = '\2';
  EXPECT_EQ("the list of its content is damaged", refusal(fewer));
}

TEST(Broken, paths_are_no_archives_and_nothing_waits_for_them) {
  EXPECT_THROW(Archive("/tmp/none.zip", "CP437"), Unreadable);
  EXPECT_THROW(Archive("/tmp", "CP437"), Unreadable);
  ASSERT_EQ(0, mkfifo("/tmp/pipe", 0600));
  EXPECT_THROW(Archive("/tmp/pipe", "CP437"), Unreadable);
}

std::ptrdiff_t open_files() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                       std::filesystem::directory_iterator());
}

TEST(Broken, archives_leave_no_open_file) {
  const std::ptrdiff_t before = open_files();
  EXPECT_NE("", refusal("PK"));
  EXPECT_NE("", refusal(raw_zip(three).substr(0, 100)));
  EXPECT_EQ(before, open_files());
  EXPECT_EQ("", refusal(raw_zip(three)));
  EXPECT_EQ(before, open_files());
}

// Whatever is broken, it ends: with a refusal, or with entries that can be asked for.
TEST(Broken, bytes_anywhere_do_no_harm) {
  RawFrame frames[2];
  frames[1].large = true;
  for (const RawFrame& frame : frames) {
    const std::string whole = raw_zip(three, frame);
    for (std::size_t place = 0; place < whole.size(); ++place) {
      for (const int bit : {0, 3, 7}) {
        std::string bytes = whole;
        bytes[place] = static_cast<char>(bytes[place] ^ (1 << bit));
        try {
          EXPECT_LE(read_all(*Raw(bytes).archive), 1U << 20);
        } catch (const Unreadable&) {
        }
      }
    }
  }
}

TEST(Broken, ends_anywhere_are_refused) {
  const std::string whole = raw_zip(three);
  for (std::size_t size = 0; size < whole.size(); ++size)
    EXPECT_NE("", refusal(whole.substr(0, size))) << size;
}

TEST(Packed, by_others_is_read_as_they_packed_it) {
  write_file("/tmp/in/Brindle/a b", std::string(300000, 'y'));
  write_file("/tmp/in/Brindle/ü", "umlaut");
  ASSERT_EQ(0, shell_quietly("cd /tmp/in && zip -qr /tmp/zip.zip Brindle"));
  const Archive archive("/tmp/zip.zip", "CP437");
  EXPECT_EQ(std::string(300000, 'y'), archive.read(*archive.find("Brindle/a b"), 1 << 20));
  EXPECT_EQ("umlaut", archive.read(*archive.find("Brindle/ü"), 100));
}

}  // namespace
