// What NTFS notes beside files, from the bytes themselves and through ntfs-3g.
#include "pack/disk/attributes.h"

#include <gtest/gtest.h>
#include <sys/xattr.h>

#include <map>
#include <string>

#include "pack/disk/folder_tree.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using pack::Cause;

std::string utf16(std::string_view ascii) {
  std::string wide;
  for (const char c : ascii) wide += std::string{c, '\0'};
  return wide;
}

std::string number(std::uint32_t value, int size) {
  std::string bytes;
  for (int byte = 0; byte < size; ++byte) bytes += static_cast<char>(value >> (8 * byte));
  return bytes;
}

// With the name that Windows goes by, and the one that it shows behind it.
std::string link_data(std::uint32_t tag, std::string_view target, std::string_view shown) {
  const std::string names = utf16(target) + utf16(shown);
  const std::string flags = tag == 0xA000000C ? number(0, 4) : "";
  const auto size = static_cast<std::uint32_t>(utf16(target).size());
  const std::string head = number(0, 2) + number(size, 2) + number(size, 2) +
                           number(static_cast<std::uint32_t>(utf16(shown).size()), 2);
  return number(tag, 4) + number(static_cast<std::uint32_t>(head.size() + flags.size() + names.size()), 2) +
         number(0, 2) + head + flags + names;
}

TEST(Attributes, TellWhyAFileCannotBeHad) {
  constexpr std::uint32_t usual =
      0x20 | 0x1 | 0x2 | 0x4 | 0x200 | 0x800;  // archived, read-only ... sparse, compressed
  EXPECT_EQ(pack::gap_by_attributes(usual), std::nullopt);
  for (const std::uint32_t bit : {0x1000U, 0x40000U, 0x400000U}) {
    EXPECT_EQ(pack::gap_by_attributes(usual | bit), Cause::online_only) << std::hex << bit;
    EXPECT_EQ(pack::gap_by_attributes(bit), Cause::online_only) << std::hex << bit;
  }
  EXPECT_EQ(pack::gap_by_attributes(usual | 0x4000), Cause::encrypted);
}

TEST(Attributes, TellLinksFromCloudFiles) {
  EXPECT_TRUE(pack::is_link(0xA0000003));
  EXPECT_TRUE(pack::is_link(0xA000000C));
  EXPECT_FALSE(pack::is_link(0x9000601A));
  EXPECT_FALSE(pack::is_link(0));
  for (const std::uint32_t tag : {0x9000001AU, 0x9000601AU, 0x9000F01AU})
    EXPECT_TRUE(pack::is_cloud(tag)) << tag;
  for (const std::uint32_t tag : {0x80000017U, 0x9000101BU, 0x8000001AU})
    EXPECT_FALSE(pack::is_cloud(tag)) << tag;
}

TEST(Attributes, TagsAreTheFirstFourBytes) {
  EXPECT_EQ(pack::reparse_tag(std::string("\x1A\x60\0\x90tail", 8)), 0x9000601AU);
  EXPECT_EQ(pack::reparse_tag("abc"), 0U);
  EXPECT_EQ(pack::reparse_tag(""), 0U);
}

TEST(Attributes, LinksHaveTheirTarget) {
  EXPECT_EQ(pack::link_target(link_data(0xA0000003, R"(\??\C:\Users\ann)", R"(C:\Shown)")),
            R"(C:\Users\ann)");
  EXPECT_EQ(pack::link_target(link_data(0xA000000C, R"(\??\D:\x)", "x")), R"(D:\x)");
  EXPECT_EQ(pack::link_target(link_data(0xA000000C, R"(..\beside)", "x")), R"(..\beside)");
  EXPECT_EQ(pack::link_target(link_data(0x80000017, R"(\??\D:\x)", "x")), "") << "no link";
}

TEST(Attributes, LinksThatAreCutShortHaveNone) {
  const std::string whole = link_data(0xA0000003, R"(\??\C:\Users\ann)", "");
  for (std::size_t size = 0; size < whole.size(); ++size)
    EXPECT_EQ(pack::link_target(whole.substr(0, size)), "") << size;
  std::string far = whole;
  far.replace(8, 2, "\xFF\xFF");
  EXPECT_EQ(pack::link_target(far), "");
  std::string half = link_data(0xA0000003, "ab", "");
  half.replace(18, 2, std::string("\0\xD8", 2));
  EXPECT_EQ(pack::link_target(half), "") << "half of a character";
}

std::string big_endian(std::uint32_t value) {
  return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
          static_cast<char>(value)};
}

void set_attribute(const std::string& path, const char* name, const std::string& value) {
  ASSERT_EQ(lsetxattr(path.c_str(), name, value.data(), value.size(), 0), 0)
      << path << ": " << strerror(errno);
}

// Which lets itself be told of the first kind of files that are online only.
TEST(Attributes, AreSeenThroughNtfs3g) {
  ASSERT_EQ(
      output_of(
          "cd /tmp && truncate -s 8M disk && mkntfs -qF disk >/dev/null && ntfs-3g disk /mnt && echo done"),
      "done\n");
  for (const char* name : {"plain", "online", "cloud"}) write_file(std::string("/mnt/") + name, "content");
  ASSERT_EQ(output_of("mkdir /mnt/folder /mnt/junction && echo done"), "done\n");
  set_attribute("/mnt/online", "system.ntfs_attrib_be", big_endian(0x1020));
  set_attribute("/mnt/cloud", "system.ntfs_reparse_data",
                number(0x9000601A, 4) + number(4, 2) + number(0, 2) + "abcd");
  set_attribute("/mnt/junction", "system.ntfs_reparse_data",
                link_data(0xA0000003, R"(\??\C:\Users\ann)", ""));
  std::map<std::string, pack::Entry> entries;
  for (const pack::Entry& entry : pack::folder_tree("/mnt")->list("")) entries[entry.name] = entry;
  EXPECT_EQ(entries["plain"].gap, std::nullopt);
  EXPECT_EQ(entries["plain"].what, pack::What::file);
  EXPECT_EQ(entries["online"].gap, Cause::online_only);
  // What was a folder is a link from the next time on.
  ASSERT_EQ(output_of("umount /mnt && ntfs-3g -o ro /tmp/disk /mnt && echo done"), "done\n");
  entries.clear();
  for (const pack::Entry& entry : pack::folder_tree("/mnt")->list("")) entries[entry.name] = entry;
  EXPECT_EQ(entries["online"].gap, Cause::online_only);
  EXPECT_EQ(entries["cloud"].gap, Cause::unknown_reparse);
  EXPECT_EQ(entries["cloud"].what, pack::What::other);
  EXPECT_EQ(entries["junction"].gap, Cause::link);
  EXPECT_EQ(entries["junction"].target, R"(C:\Users\ann)");
  EXPECT_EQ(entries["folder"].what, pack::What::folder);
  EXPECT_EQ(entries["folder"].gap, std::nullopt);
  EXPECT_EQ(output_of("umount /mnt && echo done"), "done\n");
}

}  // namespace
