// Zips that no honest packer writes (tests/hostile/zips.py), through all that unpacking does with one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <ctime>
#include <filesystem>
#include <set>
#include <string>

#include "process/archive/encryption.h"
#include "process/archive/names.h"
#include "process/archive/safety.h"
#include "process/archive/spelling.h"
#include "process/archive/unzip_watch.h"
#include "process/archive/zip.h"
#include "shell/run.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

namespace fs = std::filesystem;

bool never() { return false; }

void make(const std::string& words) {
  ASSERT_EQ(0, shell_quietly("python3 -B '" + test_data("hostile/zips.py") + "' " + words));
}

// As the worker does, with its traces and unzip's words thrown away.
Overrun unzip(const std::string& archive, const std::string& folder) {
  fs::create_directories(folder);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  UnzipWatch watch(archive, folder);
  shell::run_unlogged(compose("unzip -o \"%s\" -d \"%s\"", as_archive(archive), folder));
  const Overrun overrun = watch.end();
  testing::internal::GetCapturedStdout();
  testing::internal::GetCapturedStderr();
  return overrun;
}

// What is said meanwhile.
std::string mend(const std::string& archive, const std::string& folder) {
  testing::internal::CaptureStderr();
  remove_unsafe_entries(folder);
  restore_names({.archive = archive, .folder = folder, .code_page = "CP850"}, never);
  return testing::internal::GetCapturedStderr();
}

std::string unpacked(const std::string& archive, const std::string& folder) {
  EXPECT_EQ(Overrun::none, unzip(archive, folder)) << archive;
  static_cast<void>(encryption_of_archive(archive));
  static_cast<void>(password_for(archive, "a word", "CP850"));
  return mend(archive, folder);
}

std::uintmax_t size_of_all(const std::string& folder) {
  std::uintmax_t sum = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder))
    if (entry.is_regular_file()) sum += entry.file_size();
  return sum;
}

// What is new where something that climbs would end, since /tmp/begun was made.
std::string new_outside() {
  return output_of(
      "ls -d /canary* /*canary* 2>/dev/null; find /etc /root /home /usr/local /boot /opt /tmp -newer "
      "/tmp/begun "
      "! -type d ! -path '/tmp/[wz]/*'");
}

double processor_seconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

// A disk of a test's own, gone at its end.
struct Disk {
  explicit Disk(const char* options) {
    fs::create_directories(place);
    if (mount("tmpfs", place, "tmpfs", 0, options) != 0) std::perror(place);
  }
  ~Disk() { umount2(place, MNT_DETACH); }
  Disk(const Disk&) = delete;
  Disk& operator=(const Disk&) = delete;
  static struct statvfs state() {
    struct statvfs disk {};
    statvfs(place, &disk);
    return disk;
  }
  static constexpr const char* place = "/tmp/disk";
};

// ---- Everything ------------------------------------------------------------------------------------------

TEST(HostileZips, LeaveFilesAndFoldersInTheirOwnFolderOnly) {
  make("/tmp/z");
  make("--flips 60 /tmp/z");
  fs::remove("/tmp/z/deep.zip");  // has a test of its own
  shell_quietly("mkdir /tmp/w; touch /tmp/begun; sleep 0.02");
  std::set<std::string> plain;
  for (const fs::directory_entry& zip : fs::directory_iterator("/tmp/z")) {
    const std::string folder = "/tmp/w/" + zip.path().stem().string();
    unpacked(zip.path(), folder);
    if (exists(folder + "/Brindle/My Documents/plain.txt")) plain.insert(zip.path().stem());
  }
  EXPECT_EQ("", new_outside());
  EXPECT_EQ("", output_of("find /tmp/w ! -type d ! -type f"));
  EXPECT_EQ("", output_of("find /tmp/w -perm /7000"));
  EXPECT_EQ("", output_of("find /tmp/w -type f ! -perm -600; find /tmp/w -type d ! -perm -700"));
  for (const char* name : {"climbing", "links", "devices", "set-id-bits", "twins", "long-names", "mismatch",
                           "methods", "long-comment", "broken-fields"})
    EXPECT_TRUE(plain.contains(name)) << name;
}

TEST(HostileZips, ThatClimbAreUnpackedBeneath) {
  make("/tmp/z other-letters climbing");
  shell_quietly("mkdir /tmp/w; touch /tmp/begun; sleep 0.02");
  unpacked("/tmp/z/other-letters.zip", "/tmp/w/letters");
  unpacked("/tmp/z/climbing.zip", "/tmp/w/climbing");
  EXPECT_EQ("", new_outside());
  EXPECT_TRUE(exists("/tmp/w/letters/canary-ü"));
  EXPECT_TRUE(exists("/tmp/w/climbing/etc/canary-etc"));
}

TEST(HostileZips, KeepTheLastOfThoseThatHaveOneName) {
  make("/tmp/z duplicates twins");
  unpacked("/tmp/z/duplicates.zip", "/tmp/w");
  EXPECT_EQ("third", read_file("/tmp/w/Brindle/My Documents/same.txt"));
  EXPECT_EQ("third", read_file("/tmp/w/Brindle/My Documents/sämé.txt"));
  unpacked("/tmp/z/twins.zip", "/tmp/t");
  EXPECT_EQ("README.TXT", read_file("/tmp/t/Brindle/My Documents/README.TXT"));
  EXPECT_EQ("ReadMe.txt", read_file("/tmp/t/Brindle/My Documents/ReadMe.txt"));
}

TEST(HostileZips, OfPathsThatNoCommandTakesAreNamedAndLeftOut) {
  make("/tmp/z deep");
  const Disk disk("size=90m");  // such a tree costs seconds in a view's file system
  EXPECT_THAT(
      unpacked("/tmp/z/deep.zip", "/tmp/disk/w"),
      testing::HasSubstr("Left out of the migration, its path has more than 4000 bytes: Brindle/é/d/d/"));
  EXPECT_EQ("deep", output_of("cd '/tmp/disk/w/Brindle/My Documents/ü500' && cat $(find . -name end)"));
}

// ---- Bombs -----------------------------------------------------------------------------------------------

TEST(Bombs, ThatHoldMoreThanTheirListSaysAreStopped) {
  make("/tmp/z lying-ratio many-lies");
  for (const char* name : {"lying-ratio", "many-lies"}) {
    const std::string folder = std::string("/tmp/w/") + name;
    EXPECT_EQ(Overrun::listing, unzip(std::string("/tmp/z/") + name + ".zip", folder));
    EXPECT_GT(2U << 30, size_of_all(folder)) << name;  // of 10 GB and 5 GB
  }
}

TEST(Bombs, AreStoppedBeforeTheDiskIsFull) {
  make("/tmp/z ratio");
  const Disk disk("size=400m");
  EXPECT_EQ(Overrun::room, unzip("/tmp/z/ratio.zip", "/tmp/disk/w"));
  EXPECT_LT(0U, Disk::state().f_bavail);
}

TEST(Bombs, OfManyFilesAreStoppedBeforeThePlacesForThemAreUsedUp) {
  ASSERT_EQ(
      0, shell_quietly("cd '" + test_data("hostile") +
                       "' && python3 -B -c 'import zips; zips.write(\"/tmp/z\", \"c\", zips.count(60000))'"));
  const Disk disk("nr_inodes=12000");
  EXPECT_EQ(Overrun::room, unzip("/tmp/z/c.zip", "/tmp/disk/w"));
  EXPECT_LT(0U, Disk::state().f_favail);
}

TEST(Bombs, AreToldFromArchivesThatFit) {
  make("/tmp/z twins duplicates");
  const Disk disk("size=256k,nr_inodes=60");
  EXPECT_EQ(Overrun::none, unzip("/tmp/z/twins.zip", "/tmp/disk/w"));
  EXPECT_EQ(Overrun::none, unzip("/tmp/z/duplicates.zip", "/tmp/disk/w"));
}

TEST(Bombs, InAFileThatIsTakenOnceMoreAreNotTaken) {
  make("/tmp/z lying-ratio-other-letters");
  fs::create_directories("/tmp/w");
  const std::string archive = "/tmp/z/lying-ratio-other-letters.zip";
  const double before = processor_seconds();
  EXPECT_THAT(mend(archive, "/tmp/w"),
              testing::HasSubstr("It cannot be read from the archive: Brindle/My Documents/Zérôs"));
  EXPECT_GT(1, processor_seconds() - before);
  EXPECT_EQ(0U, size_of_all("/tmp/w"));
}

TEST(Bombs, HandOutNoMoreThanTheirListSays) {
  make("/tmp/z lying-ratio");
  const Zip zip("/tmp/z/lying-ratio.zip");
  std::uint64_t taken = 0;
  const auto take = [&taken](std::string_view bytes) {
    taken += bytes.size();
    return taken < 100'000'000;
  };
  EXPECT_EQ(Zip::Reading::wrong, zip.read(1, nullptr, take));
  EXPECT_GE(10U, taken);
}

TEST(HostileZips, HoldWholeEntriesOnlyOfTheLengthThatTheirListSays) {
  make("/tmp/z lying-sizes");
  const Zip zip("/tmp/z/lying-sizes.zip");
  ASSERT_TRUE(zip);
  for (std::uint64_t number = 0; number < zip.count(); ++number) {
    std::uint64_t taken = 0;
    const auto take = [&taken](std::string_view bytes) {
      taken += bytes.size();
      return true;
    };
    const bool whole = zip.read(number, nullptr, take) == Zip::Reading::whole;
    EXPECT_TRUE(!whole || taken == zip.entry(number).size) << zip.name(number);
  }
}

TEST(Bombs, OfNamesThatBecomeOneGetTheirNumbersInTime) {
  make("/tmp/z numbered");
  const double before = processor_seconds();
  testing::internal::CaptureStderr();
  // It ends before the first file is made: only the names are looked for.
  fs::create_directories("/tmp/w");
  restore_names({.archive = "/tmp/z/numbered.zip", .folder = "/tmp/w"}, [] { return true; });
  testing::internal::GetCapturedStderr();
  EXPECT_GT(3, processor_seconds() - before);
}

}  // namespace
