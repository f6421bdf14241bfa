// What a run writes down of the queues it makes and of those that were there, and that this is enough to give
// them back.
#include "process/printers/kept_queue.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "keep/keep.h"
#include "place/descriptor.h"
#include "printers/archive.h"
#include "printers/print_server.h"
#include "printers/windows.h"
#include "process/printers/cups.h"
#include "process/printers/foomatic.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "things/queue.h"

namespace {

using keep::Kind;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* laser = "HPLaserJet4050";

void prepare(const std::string& command) { ASSERT_EQ(0, shell_quietly(command)) << command; }

struct KeptQueues : testing::Test {
  KeptQueues() {
    assign(OSName, "GNome");
    stand_in("lpinfo",
             "echo 'laserjet.ppd.gz HP LaserJet 4050 (recommended)'");  // the real one takes its time
    windows.sign_in("u", "p");
    prepare("lpadmin -p Other -E -v socket://10.0.0.7 -m deskjet.ppd.gz 2>/dev/null");
    keep::begin_run("/root", 1'800'000'000);
  }

  static std::vector<keep::Row> rows(Kind kind) {
    const Descriptor list(open((keep::folder_of_run() + "/list.tsv").c_str(), O_RDONLY));
    std::vector<keep::Row> found = keep::joined_rows(list.number());
    std::erase_if(found, [&](const keep::Row& row) { return row.kind != kind; });
    return found;
  }
  static keep::Row row(Kind kind, const std::string& name) {
    for (keep::Row& one : rows(kind))
      if (one.name == name) return std::move(one);
    return {kind, name, "no row", "no row"};
  }
  static std::string state(const std::string& name) {
    std::string error;
    return things::queue_state(name, error).value_or("error: " + error);
  }
  static std::vector<std::string> queue_commands() {
    return commands_of({"lpadmin", "lpoptions", "foomatic-configure"});
  }

  PrintServer server;
  Windows windows;
};

TEST_F(KeptQueues, ThatAreMadeWereNothing) {
  add_printer("Default.txt", {{"Paper Size", "DMPAPER_A5"}});
  add_printer("share.txt", {{"Driver Name Wo Spaces", "Share"}, {"Port Name", "//server/hp"}});
  ASSERT_EQ(0, nldprinter(archive));
  EXPECT_EQ(2u, rows(Kind::queue).size());
  for (const std::string name : {laser, "Share"}) {
    EXPECT_EQ("nothing", row(Kind::queue, name).before);
    EXPECT_THAT(state(name), StartsWith("device-uri "));
    EXPECT_EQ(state(name), row(Kind::queue, name).became);
  }
  EXPECT_EQ("nothing", row(Kind::default_queue, "-").before);
  EXPECT_EQ(laser, row(Kind::default_queue, "-").became);
  EXPECT_EQ("", output_of("grep -r 'u:p@' /root/.brindle_before"));
}

TEST_F(KeptQueues, ThatWereThereCanBeGivenBack) {
  prepare(std::string("lpadmin -p ") + laser +
          " -v smb://ann:secret@pc/hp -m deskjet.ppd.gz -D Mine 2>/dev/null");
  prepare("lpadmin -d Other");
  const std::string before = state(laser);
  const std::string stored = output_of("sed '/Time/d; /^Reason/d; /StateMessage/d' /etc/cups/printers.conf");
  add_printer("Default.txt");
  ASSERT_EQ(0, nldprinter(archive));
  ASSERT_NE(before, state(laser));
  EXPECT_EQ(before, row(Kind::queue, laser).before);
  EXPECT_EQ(state(laser), row(Kind::queue, laser).became);
  EXPECT_EQ("Other", row(Kind::default_queue, "-").before);
  std::string error;
  EXPECT_TRUE(things::give_queue(laser, before, keep::folder_of_run() + "/queues", error)) << error;
  EXPECT_TRUE(things::give_default_queue("Other", error)) << error;
  EXPECT_TRUE(
      same_bytes(stored, output_of("sed '/Time/d; /^Reason/d; /StateMessage/d' /etc/cups/printers.conf")));
}

TEST_F(KeptQueues, BecameWhatFoomaticMadeOfThem) {
  assign(OSName, "Linspire");
  PrintServer::patch_foomatic();
  add_printer("Default.txt", {{"Paper Size", "DMPAPER_A5"}, {"Duplex", "DMDUP_HORIZONTAL"}});
  ASSERT_EQ(0, printer(archive));
  ASSERT_EQ("A5", PrintServer::ppd(laser, "DefaultPageSize"));
  EXPECT_EQ("nothing", row(Kind::queue, laser).before);
  EXPECT_EQ(state(laser), row(Kind::queue, laser).became);  // with the options in its PPD file
  EXPECT_EQ(laser, row(Kind::default_queue, "-").became);
}

TEST_F(KeptQueues, AreNotTouchedWhenTheyCannotBeKept) {
  const SmallDisk disk("/root");
  disk.fill_but();
  testing::internal::CaptureStderr();
  EXPECT_FALSE(QueueChange::of("Other").is_allowed());
  EXPECT_FALSE(QueueChange::of("new").is_allowed());
  EXPECT_FALSE(QueueChange::of_default().is_allowed());
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("could not be kept as it is"));
}

TEST_F(KeptQueues, AreNoDefaultWhenThatCannotBeKept) {
  add_printer("Default.txt");
  stand_in("lpadmin", PrintServer::breaking_down());
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, nldprinter(archive));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              HasSubstr("the default print queue could not be kept as it is, so it stays"));
  EXPECT_THAT(queue_commands(), ElementsAre(HasSubstr("lpadmin -p")));
}

TEST_F(KeptQueues, WithoutRoomForTheirPpdFilesAreNotTouched) {
  prepare(std::string("lpadmin -p ") + laser + " -v lpd://LPT1/ -m deskjet.ppd.gz 2>/dev/null");
  ASSERT_TRUE(keep::before_change("/root/something"));
  const std::string queues = keep::folder_of_run() + "/queues";
  write_file(queues, "not a folder");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(QueueChange::of(laser).is_allowed());
  EXPECT_THAT(
      testing::internal::GetCapturedStderr(),
      HasSubstr("print queue HPLaserJet4050 could not be kept as it is, so it stays and is not changed: "));
}

TEST_F(KeptQueues, ThatCannotBeToldAreNotTouched) {
  prepare(std::string("lpadmin -p Other -c ") + laser);  // a class of that name
  add_printer("Default.txt", {{"Port Name", "//server/hp"}});
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, nldprinter(archive));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("it is a class"));
  EXPECT_THAT(queue_commands(), IsEmpty());
  EXPECT_THAT(rows(Kind::queue), IsEmpty());
  EXPECT_EQ(1u, Windows::shown().size());
  EXPECT_EQ(std::string(256, '\0'), std::string(Username, 256));
  EXPECT_EQ(std::string(256, '\0'), std::string(Password, 256));
}

TEST_F(KeptQueues, OfNoServerAreNoneAndTheCommandsRun) {
  PrintServer::stop();
  add_printer("Default.txt");
  EXPECT_EQ(0, nldprinter(archive));
  EXPECT_THAT(queue_commands(), ElementsAre(HasSubstr("lpadmin -p"), HasSubstr("lpadmin -d")));
  EXPECT_THAT(rows(Kind::queue), IsEmpty());
  EXPECT_THAT(rows(Kind::default_queue), IsEmpty());
}

}  // namespace
