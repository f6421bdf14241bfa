// What whoever packs may not read is told as that, and is no damage.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "pack/calendars.h"
#include "pack/databases.h"
#include "pack/disk/folder_tree.h"
#include "pack/disk/refusal.h"
#include "pack/pack.h"
#include "pack/recorded.h"
#include "pack/windows_disk.h"

namespace {

using testing::Contains;
using testing::UnorderedElementsAre;

// Somebody who is not root, as long as it is there.
class AsNobody {
 public:
  AsNobody() {
    if (seteuid(nobody) != 0) throw std::runtime_error("nobody cannot be had");
  }
  AsNobody(const AsNobody&) = delete;
  AsNobody& operator=(const AsNobody&) = delete;
  ~AsNobody() { static_cast<void>(seteuid(0)); }

 private:
  static constexpr uid_t nobody = 65534;
};

const std::string roaming = "Users/Ann/AppData/Roaming/";
const std::string thunderbird = roaming + "Thunderbird/Profiles/x.default/";
const std::string firefox = roaming + "Mozilla/Firefox/Profiles/y.default/";

// A disk of which nobody may read these files and folders.
class Closed {
 public:
  Closed() { chmod(disk_.path().c_str(), 0755); }

  void add(const std::string& path, const std::string& content = "x") {
    disk_.add(path, content);
    close(path);
  }
  void add_database(const std::string& path, const std::string& statements) {
    make_database(disk_, path, statements);
    close(path);
  }
  void close(const std::string& path) {
    chmod((disk_.path() + "/" + path).c_str(), 0);
    closed_.push_back(path);
  }
  const windows::Disk& disk() const { return disk_; }
  std::vector<std::string> told() const {
    std::vector<std::string> remarks;
    for (const std::string& path : closed_) remarks.push_back("forbidden " + path);
    return remarks;
  }

 private:
  windows::Disk disk_;
  std::vector<std::string> closed_;
};

TEST(Refusals, AreToldOfFilesAndFolders) {
  Closed closed;
  closed.disk().add("Users/Ann/Documents/good.txt");
  closed.add("Users/Ann/Documents/secret.txt");
  closed.disk().add("Users/Ann/Documents/box/within.txt");
  closed.close("Users/Ann/Documents/box");
  closed.add("Users/Ann/NTUSER.DAT");
  const AsNobody nobody;
  const auto result = recorded::pack_disk(closed.disk().path());
  EXPECT_THAT(result.remarks(), testing::UnorderedElementsAreArray(closed.told()));
  EXPECT_TRUE(result.content.contains("Brindle/My Documents/good.txt"));
}

TEST(Refusals, AreToldOfMail) {
  Closed closed;
  closed.disk().add(thunderbird + "Mail/Local Folders/Inbox", "From - x\nSubject: a\n\nb\n");
  closed.add(thunderbird + "Mail/Local Folders/Sent");
  closed.disk().add(thunderbird + "Mail/Local Folders/Old.sbd/Inbox");
  closed.close(thunderbird + "Mail/Local Folders/Old.sbd");
  closed.add("Users/Ann/AppData/Local/Microsoft/Windows Mail/Local Folders/1.eml");
  closed.add("Users/Ann/Documents/Outlook Files/ann.pst");
  const AsNobody nobody;
  EXPECT_THAT(recorded::pack_disk(closed.disk().path()).remarks(), testing::IsSupersetOf(closed.told()));
}

TEST(Refusals, AreToldOfDatabases) {
  Closed closed;
  closed.add_database(calendars::local, calendars::tables);
  closed.add_database(thunderbird + "abook.sqlite",
                      "CREATE TABLE properties (card TEXT, name TEXT, value TEXT)");
  closed.add(thunderbird + "old.mab");
  closed.add_database(firefox + "places.sqlite", "CREATE TABLE moz_bookmarks (id INTEGER)");
  make_database(closed.disk(), firefox + "cookies.sqlite", "CREATE TABLE moz_cookies (id INTEGER)");
  closed.add(firefox + "cookies.sqlite-wal");
  closed.add("Users/Ann/AppData/Local/Google/Chrome/User Data/Default/Bookmarks");
  std::vector<std::string> told = closed.told();
  std::ranges::replace(told, "forbidden " + firefox + "cookies.sqlite-wal",
                       "forbidden " + firefox + "cookies.sqlite");
  const AsNobody nobody;
  EXPECT_THAT(recorded::pack_disk(closed.disk().path()).remarks(), testing::UnorderedElementsAreArray(told));
}

TEST(Refusals, AreToldOfTheMachinesRegistry) {
  Closed closed;
  closed.disk().add("Users/Ann/Documents/a.txt");
  closed.disk().add("Users/Bob/Documents/a.txt");
  closed.add("Windows/System32/config/SOFTWARE");
  closed.add("Windows/System32/config/SYSTEM");
  const AsNobody nobody;
  EXPECT_THAT(recorded::pack_disk(closed.disk().path()).last_remarks(), testing::IsSupersetOf(closed.told()));
}

// Before anything is read.
TEST(Refusals, CountInTheList) {
  Closed closed;
  closed.disk().add("Users/Ann/Documents/good.txt");
  closed.add("Users/Ann/Documents/secret.txt");
  const AsNobody nobody;
  const pack::Disk disk(pack::folder_tree(closed.disk().path()));
  const auto survey = pack::look_at(disk, pack::people_on(disk), {});
  const auto count = survey.people.front().tally.count(pack::Kind::documents);
  EXPECT_EQ(count.packed, 1U);
  EXPECT_EQ(count.left_out, 1U);
}

TEST(Refusals, AreNoneOfRoot) {
  Closed closed;
  closed.add("Users/Ann/Documents/secret.txt");
  const auto result = recorded::pack_disk(closed.disk().path());
  EXPECT_TRUE(result.content.contains("Brindle/My Documents/secret.txt"));
}

TEST(Refusals, AreToldApartFromOtherErrors) {
  using std::errc;
  EXPECT_TRUE(pack::is_refusal(std::make_error_code(errc::permission_denied)));
  EXPECT_TRUE(pack::is_refusal(std::make_error_code(errc::operation_not_permitted)));
  EXPECT_FALSE(pack::is_refusal(std::make_error_code(errc::io_error)));
}

}  // namespace
