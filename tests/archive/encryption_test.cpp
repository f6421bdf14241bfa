#include "process/archive/encryption.h"

#include <gtest/gtest.h>
#include <zip.h>

#include <cstdlib>
#include <deque>
#include <string>

#include "process/archive/names.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

constexpr const char* archive = "/tmp/a.zip";

void add(zip_t* zip, const std::string& name, const std::string& bytes, zip_uint16_t encryption,
         const std::string& password) {
  static std::deque<std::string> kept;  // they are read when the zip is closed
  kept.push_back(bytes);
  zip_source_t* source = zip_source_buffer(zip, kept.back().data(), bytes.size(), 0);
  const zip_int64_t number = zip_file_add(zip, name.c_str(), source, ZIP_FL_ENC_UTF_8);
  ASSERT_LE(0, number);
  const auto index = static_cast<zip_uint64_t>(number);
  ASSERT_EQ(0, zip_file_set_encryption(zip, index, encryption, password.c_str()));
}

// An open entry, a large and a small one with the password.
void lock(const std::string& password, zip_uint16_t encryption = ZIP_EM_TRAD_PKWARE) {
  static const std::string large(200000, 'l');
  int error = 0;
  zip_t* zip = zip_open(archive, ZIP_CREATE | ZIP_TRUNCATE, &error);
  add(zip, "Brindle/open", "o", ZIP_EM_NONE, "");
  add(zip, "Brindle/large", large, encryption, password);
  add(zip, "Brindle/small", "small", encryption, password);
  add(zip, "Brindle/empty", "", encryption, password);
  ASSERT_EQ(0, zip_close(zip));
}

TEST(EncryptionOfArchive, IsThatOfAnyEntry) {
  shell_quietly("mkdir /tmp/in; cd /tmp/in; echo a > a; zip -q /tmp/a.zip a");
  EXPECT_EQ(Encryption::none, encryption_of_archive(archive));
  shell_quietly("cd /tmp/in; echo b > b; zip -q -P secret /tmp/a.zip b; echo c > c; zip -q /tmp/a.zip c");
  EXPECT_EQ(Encryption::traditional, encryption_of_archive(archive));
  lock("secret", ZIP_EM_AES_256);
  EXPECT_EQ(Encryption::other, encryption_of_archive(archive));
  write_file(archive, "no zip");
  EXPECT_EQ(Encryption::none, encryption_of_archive(archive));
  EXPECT_EQ(Encryption::none, encryption_of_archive("/tmp/missing.zip"));
}

TEST(PasswordFor, IsTheOneThatOpens) {
  lock("secret");
  EXPECT_EQ("secret", password_for(archive, "secret", "CP437"));
  for (int number = 0; number < 600; ++number)  // one in 256 passes the entry's own check
    EXPECT_FALSE(password_for(archive, "wrong" + std::to_string(number), "CP437"));
  EXPECT_FALSE(password_for(archive, "", "CP437"));
  EXPECT_FALSE(password_for("/tmp/missing.zip", "secret", "CP437"));
}

TEST(PasswordFor, AnArchiveWithoutOneIsNone) {
  shell_quietly("mkdir /tmp/in; cd /tmp/in; echo a > a; zip -q /tmp/a.zip a");
  EXPECT_FALSE(password_for(archive, "secret", "CP437"));
}

TEST(PasswordFor, AnArchiveFromWindowsMayBeInItsCodePage) {
  lock("gr\x81n");  // in 850
  EXPECT_EQ("gr\x81n", password_for(archive, "grün", "CP850"));
  lock("grün");
  EXPECT_EQ("grün", password_for(archive, "grün", "CP850"));
}

TEST(PasswordFor, AnArchiveIsTriedOnTheSmallestEntry) {
  lock("secret");
  // The large one is damaged, so only the small one can tell.
  std::string bytes = read_file(archive);
  const std::size_t large = bytes.find("Brindle/large");
  bytes[large + 60] = static_cast<char>(bytes[large + 60] ^ 0x55);
  write_file(archive, bytes);
  EXPECT_EQ("secret", password_for(archive, "secret", "CP437"));
}

// Says of an entry that it is packed in a way that nobody here knows.
void make_unknown(const std::string& name) {
  std::string bytes = read_file(archive);
  for (std::size_t at = bytes.find(name); at != std::string::npos; at = bytes.find(name, at + 1)) {
    if (at >= 46 && bytes.compare(at - 46, 4, "PK\1\2") == 0) bytes[at - 46 + 10] = 97;
    if (at >= 30 && bytes.compare(at - 30, 4, "PK\3\4") == 0) bytes[at - 30 + 8] = 97;
  }
  write_file(archive, bytes);
}

TEST(PasswordFor, AnEntryOfUnknownCompressionCannotTell) {
  lock("secret");
  make_unknown("Brindle/small");
  EXPECT_EQ("secret", password_for(archive, "secret", "CP437"));
  EXPECT_FALSE(password_for(archive, "wrong", "CP437"));
  make_unknown("Brindle/large");
  make_unknown("Brindle/empty");
  EXPECT_EQ("untried", password_for(archive, "untried", "CP437"));
}

// ---- unzip's variable -----------------------------------------------------------------------------------

const char* const passwords[] = {"secret",    "two words", "  around  ", "quo\"te",  "back\\slash", "end\\",
                                 "\\\"",      "-dash",     "--",         "-P",       "\"",          "'",
                                 "tab\there", "\\\\",      "ünï",        "$HOME`x`", " ",           "a\\\"b",
                                 "\"all\"",   "%s*?[a]",   "#!;&|<>",    "x=y"};

TEST(PasswordForUnzip, ReachesUnzipWhateverItHolds) {
  prepare_unzip_variable();
  for (const char* password : passwords) {
    lock(password);
    ASSERT_TRUE(unzip_takes(password)) << password;
    const PasswordForUnzip in_environment(password);
    EXPECT_EQ("small", output_of("unzip -p /tmp/a.zip Brindle/small </dev/null")) << password;
  }
}

TEST(PasswordForUnzip, OfMaximalLengthReachesUnzipToo) {
  prepare_unzip_variable();
  const std::string password = std::string(200, 'a') + " " + std::string(54, 'b');
  lock(password);
  const PasswordForUnzip in_environment(password);
  EXPECT_EQ("small", output_of("unzip -p /tmp/a.zip Brindle/small </dev/null"));
}

TEST(PasswordForUnzip, IsWiped) {
  prepare_unzip_variable();
  const char* options = std::getenv("UNZIP");
  ASSERT_NE(nullptr, options);
  {
    const PasswordForUnzip in_environment("secret");
    EXPECT_STREQ("-Psecret", options);
  }
  for (int at = 0; at < 20; ++at) EXPECT_EQ('\0', options[at]);
  EXPECT_STREQ("", std::getenv("UNZIP"));
}

TEST(PasswordForUnzip, StandsBehindThePersonsOwnOptions) {
  setenv("UNZIP", "-qq", 1);
  prepare_unzip_variable();
  prepare_unzip_variable();
  lock("secret");
  {
    const PasswordForUnzip in_environment("secret");
    EXPECT_STREQ("-qq -Psecret", std::getenv("UNZIP"));
    EXPECT_EQ("", output_of("unzip -o /tmp/a.zip -d /tmp/w </dev/null"));
    EXPECT_EQ("small", read_file("/tmp/w/Brindle/small"));
  }
  EXPECT_STREQ("-qq ", std::getenv("UNZIP"));
}

TEST(PasswordForUnzip, IsNotSetWhereUnzipWouldMisreadIt) {
  prepare_unzip_variable();
  for (const char* password : {"a \"b\"", "back\\slash blank", "\t\\"}) {
    EXPECT_FALSE(unzip_takes(password)) << password;
    const PasswordForUnzip in_environment(password);
    EXPECT_STREQ("", std::getenv("UNZIP"));
  }
}

TEST(PasswordForUnzip, DoesNothingWithoutAPasswordOrRoom) {
  {
    const PasswordForUnzip in_environment("secret");
    EXPECT_EQ(nullptr, std::getenv("UNZIP"));
  }
  prepare_unzip_variable();
  const PasswordForUnzip in_environment("");
  EXPECT_STREQ("", std::getenv("UNZIP"));
}

TEST(EncryptedEntries, ThatUnzipWasNotToldThePasswordOfAreTakenFromTheArchive) {
  const std::string password = "my \"own\" \\ word";
  lock(password);
  shell_quietly("unzip -qq -o /tmp/a.zip -d /tmp/w </dev/null 2>/dev/null >/dev/null");
  const Unpacked unpacked = {.archive = archive,
                             .folder = "/tmp/w",
                             .password = password.c_str(),
                             .encrypted_are_missing = !unzip_takes(password)};
  restore_names(unpacked, [] { return false; });
  EXPECT_EQ("small", read_file("/tmp/w/Brindle/small"));
  EXPECT_EQ(std::string(200000, 'l'), read_file("/tmp/w/Brindle/large"));
  EXPECT_EQ("o", read_file("/tmp/w/Brindle/open"));
  EXPECT_EQ("Brindle\n", output_of("ls /tmp/w"));
}

TEST(Wipe, LeavesNothing) {
  std::string secret = "a password that is longer than any small string";
  const char* bytes = secret.data();
  const std::size_t size = secret.size();
  wipe(secret);
  EXPECT_EQ("", secret);
  for (std::size_t at = 0; at < size; ++at) EXPECT_EQ('\0', bytes[at]);
}

}  // namespace
