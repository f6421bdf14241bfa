#include "things/queue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "printers/print_server.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using things::default_queue_state;
using things::give_default_queue;
using things::give_ppd;
using things::give_queue;
using things::keep_queue;
using things::make_queue;
using things::queue_names;
using things::queue_ppd;
using things::queue_state;
using things::state_value;

constexpr const char* kept = "/tmp/kept/queues";

void prepare(const std::string& command) { ASSERT_EQ(0, shell_quietly(command)) << command; }

/// A CUPS server with a queue "Office", which has something of everything, and two more.
struct Queues : testing::Test {
  Queues() {
    prepare(
        "mkdir -p /tmp/kept; lpadmin -p Office -v parallel:/dev/lp0 -m laserjet.ppd.gz -D 'Ann'\\''s \\ "
        "\"printer\"' "
        "-L 'Hall, 1st' -o sides-default=two-sided-long-edge -o job-sheets-default=standard,none "
        "-o printer-error-policy=abort-job -o printer-is-shared=false -o PageSize=A5 2>/dev/null");
    prepare("lpadmin -p Attic -E -v socket://10.0.0.7:9100 2>/dev/null");
    prepare("lpadmin -p office2 -E -v lpd://LPT1/ -m deskjet.ppd.gz 2>/dev/null");
  }

  static std::string state(const std::string& name) {
    std::string error;
    return queue_state(name, error).value_or("error: " + error);
  }
  static std::string default_state() {
    std::string error;
    return default_queue_state(error).value_or("error: " + error);
  }
  static void keep(const std::string& name) {
    std::string error;
    EXPECT_TRUE(keep_queue(name, kept, error)) << error;
  }
  /// Why `text` cannot be given; empty when it was.
  static std::string refusal(const std::string& name, const std::string& text) {
    std::string error;
    return give_queue(name, text, kept, error) ? "" : "refused: " + error;
  }
  static std::string default_refusal(const std::string& text) {
    std::string error;
    return give_default_queue(text, error) ? "" : "refused: " + error;
  }
  /// The server's own file of queues, without the times in it.
  static std::string stored() {
    return output_of(
               "sed '/StateTime/d; /ConfigTime/d; /^#/d; /NextPrinterId/d; /StateMessage/d; /^Reason "
               "paused/d; /PrinterId/d; /UUID/d' "
               "/etc/cups/printers.conf") +
           output_of("cd /etc/cups/ppd && for f in *.ppd; do echo $f; sha256sum <$f; done");
  }

  PrintServer server;
};

TEST_F(Queues, AreNothingOrTheirLines) {
  EXPECT_EQ("nothing", state("offic"));
  EXPECT_EQ("nothing", state("Office3"));
  const std::string digest = output_of("xxh128sum </etc/cups/ppd/Office.ppd | cut -d' ' -f1 | tr -d '\\n'");
  EXPECT_THAT(state("Office"), StartsWith("device-uri parallel:/dev/lp0\n"
                                          "info Ann's \\\\ \"printer\"\n"
                                          "location Hall, 1st\n"
                                          "printing no\n"
                                          "accepting no\n"
                                          "shared no\n"
                                          "error-policy abort-job\n"
                                          "op-policy default\n"
                                          "ppd " +
                                          digest + ":"));
  EXPECT_THAT(state("Office"), AllOf(HasSubstr("\ndefault sides two-sided-long-edge"),
                                     HasSubstr("\ndefault job-sheets standard,none")));
  EXPECT_THAT(state("Attic"), AllOf(HasSubstr("socket://10.0.0.7:9100\n"),
                                    HasSubstr("\nprinting yes\naccepting yes\n"), HasSubstr("\nppd none\n")));
  EXPECT_NE(state("Office"), state("office2"));
}

TEST_F(Queues, GoAndComeBackAsTheyWere) {
  const std::string before = stored();
  for (const std::string name : {"Office", "Attic", "office2"}) {
    const std::string was = state(name);
    keep(name);
    EXPECT_EQ("", refusal(name, "nothing"));
    EXPECT_EQ("nothing", state(name));
    EXPECT_EQ("", refusal(name, "nothing"));
    EXPECT_EQ("", refusal(name, was));
    EXPECT_EQ(was, state(name));
    EXPECT_TRUE(same_bytes(before, stored()));
  }
}

TEST_F(Queues, ThatWereChangedComeBack) {
  const std::string before = stored();
  for (const std::string change :
       {"-v ipp://other/printers/x", "-D Other", "-L Other", "-E", "-m deskjet.ppd.gz", "-o PageSize=A4",
        "-o printer-is-shared=true", "-o printer-error-policy=stop-printer", "-o printer-op-policy=other",
        "-o sides-default=one-sided", "-o cpi-default=12", "-R sides-default", "-R job-sheets-default",
        "-m raw"}) {
    const std::string was = state("Office");
    keep("Office");
    prepare("lpadmin -p Office " + change + " 2>/dev/null || [ '" + change +
            "' = '-o printer-op-policy=other' ]");
    EXPECT_EQ("", refusal("Office", was)) << change;
    EXPECT_EQ(was, state("Office")) << change;
    EXPECT_TRUE(same_bytes(before, stored())) << change;
  }
}

TEST_F(Queues, ThatTookJobsComeBackStopped) {
  for (const char* name : {"Attic", "Office"}) {
    const std::string was = state(name);
    prepare(std::string("cupsdisable ") + name + "; cupsreject " + name);
    EXPECT_EQ("", refusal(name, was));
    prepare(std::string("cupsenable ") + name + "; cupsaccept " + name);
    EXPECT_EQ("", refusal(name, was));
    EXPECT_EQ(was, state(name));
  }
}

TEST_F(Queues, WithoutAPpdFileComeBackWithoutOne) {
  const std::string before = stored();
  const std::string was = state("Attic");
  keep("Attic");
  EXPECT_FALSE(exists(std::string(kept) + "/Attic.ppd"));
  prepare("lpadmin -p Attic -m deskjet.ppd.gz 2>/dev/null");
  EXPECT_EQ("", refusal("Attic", was));
  EXPECT_TRUE(same_bytes(before, stored()));
}

TEST_F(Queues, AreKeptForTheirOwnersEyesAndOnce) {
  keep("Office");
  const std::string first = read_file("/etc/cups/ppd/Office.ppd");
  EXPECT_TRUE(same_bytes(first, read_file(std::string(kept) + "/Office.ppd")));
  EXPECT_EQ("700 600\n", output_of("echo $(stat -c %a /tmp/kept/queues /tmp/kept/queues/Office.ppd)"));
  prepare("lpadmin -p Office -m deskjet.ppd.gz 2>/dev/null");
  keep("Office");
  EXPECT_TRUE(same_bytes(first, read_file(std::string(kept) + "/Office.ppd")));
  keep("missing");
  keep("a/b");
  EXPECT_EQ("Office.ppd\n", output_of("ls /tmp/kept/queues"));
}

TEST_F(Queues, AreNotKeptWhereNothingCanBeWritten) {
  std::string error;
  EXPECT_FALSE(keep_queue("Office", "/tmp/missing/queues", error));
  EXPECT_THAT(error, HasSubstr("/tmp/missing/queues"));
  write_file("/tmp/file", "x");
  EXPECT_FALSE(keep_queue("Office", "/tmp/file", error));
  prepare("mkdir /tmp/full && mount -t tmpfs -o size=8k none /tmp/full");
  EXPECT_FALSE(keep_queue("Office", "/tmp/full/queues", error));
  EXPECT_THAT(error, HasSubstr("No space"));
  EXPECT_EQ("", output_of("ls /tmp/full/queues"));
}

TEST_F(Queues, ComeBackWithTheirPassword) {
  prepare("lpadmin -p Share -E -v 'smb://ann:se%40cret@pc/hp%20x' -m laserjet.ppd.gz 2>/dev/null");
  const std::string was = state("Share");
  EXPECT_THAT(was, AllOf(StartsWith("device-uri smb://pc/hp%20x\n"), Not(HasSubstr("cret"))));
  const std::string before = stored();
  keep("Share");
  EXPECT_EQ("smb://ann:se%40cret@pc/hp%20x", read_file(std::string(kept) + "/Share.uri"));
  EXPECT_EQ("600\n", output_of("stat -c %a /tmp/kept/queues/Share.uri"));
  for (const char* change : {"lpadmin -x Share", "lpadmin -p Share -v smb://ben:other@pc/hp%20x",
                             "lpadmin -p Share -v lpd://LPT1/"}) {
    prepare(change);
    EXPECT_EQ("", refusal("Share", was)) << change;
    EXPECT_TRUE(same_bytes(before, stored())) << change;
  }
}

TEST_F(Queues, HaveAPasswordOfTheirOwn) {
  prepare("lpadmin -p Share -E -v smb://ann:secret@pc/hp 2>/dev/null");
  keep("Share");
  keep("Attic");
  EXPECT_EQ("Share.uri\n", output_of("ls /tmp/kept/queues"));
  prepare("lpadmin -p Share -v smb://ben@other/hp");  // nothing of the other address is left
  EXPECT_EQ("", refusal("Share", state("Share")));
  EXPECT_THAT(PrintServer::uri_of("Share"), HasSubstr("other/hp"));
}

TEST_F(Queues, WithAnotherPpdFileThanTheKeptOneStay) {
  const std::string was = state("Office");
  keep("office2");
  prepare("lpadmin -x Office");
  EXPECT_THAT(refusal("Office", was), HasSubstr("/tmp/kept/queues/Office.ppd"));
  EXPECT_EQ("nothing", state("Office"));
  prepare("cp /tmp/kept/queues/office2.ppd /tmp/kept/queues/Office.ppd");
  EXPECT_THAT(refusal("Office", was), HasSubstr("/tmp/kept/queues/Office.ppd"));
  EXPECT_EQ("nothing", state("Office"));
}

TEST_F(Queues, WithJobsAreNotDeleted) {
  write_file("/tmp/page", "page\n");
  prepare("cupsdisable Attic; lp -s -d Attic /tmp/page");
  EXPECT_THAT(refusal("Attic", "nothing"), HasSubstr("jobs left"));
  prepare("cancel -a Attic");
  EXPECT_EQ("", refusal("Attic", "nothing"));
}

TEST_F(Queues, RefuseWhatIsNoState) {
  const std::string before = stored();
  for (const std::string& text : {std::string(), std::string("unknown"), std::string("device-uri lpd://x/"),
                                  state("Office").substr(12)})
    EXPECT_THAT(refusal("Office", text), HasSubstr("no state of a queue")) << text;
  for (const std::string& name :
       {std::string(), std::string("a/b"), std::string("a b"), std::string("a#b"), std::string(128, 'q')}) {
    EXPECT_EQ("nothing", state(name));
    EXPECT_THAT(refusal(name, state("Attic")), HasSubstr("no state of a queue"));
  }
  EXPECT_TRUE(same_bytes(before, stored()));
}

TEST_F(Queues, SayWhatTheServerDidNotTakeOver) {
  std::string text = state("Attic");
  text.replace(text.find("retry-job") == text.npos ? text.find("stop-printer") : text.find("retry-job"),
               text.find("\nop-policy") - text.find("error-policy ") - 13, "no-such");
  EXPECT_THAT(refusal("Attic", text), StartsWith("refused: "));
  EXPECT_THAT(refusal("Attic", state("Attic") + "\ndefault copies 0"), StartsWith("refused: "));
}

TEST_F(Queues, AreListedWithClasses) {
  std::string error;
  EXPECT_THAT(queue_names(error).value(), ElementsAre("Attic", "Office", "office2"));
  prepare("lpadmin -p Attic -c all");
  EXPECT_THAT(queue_names(error).value(), ElementsAre("Attic", "Office", "all", "office2"));
  EXPECT_EQ("error: it is a class", state("all"));
  EXPECT_THAT(refusal("all", state("Attic")), HasSubstr("it is a class"));
  prepare("lpadmin -x all; lpadmin -x Attic; lpadmin -x Office; lpadmin -x office2");
  EXPECT_THAT(queue_names(error).value(), IsEmpty());
}

TEST_F(Queues, HaveADefaultThatComesAndGoes) {
  const std::string before = stored();
  EXPECT_EQ("nothing", default_state());
  EXPECT_EQ("", default_refusal("nothing"));
  EXPECT_EQ("", default_refusal("Office"));
  EXPECT_EQ("Office", PrintServer::default_queue());
  EXPECT_EQ("Office", default_state());
  EXPECT_EQ("", default_refusal("office2"));
  EXPECT_EQ("office2", default_state());
  EXPECT_THAT(default_refusal("missing"), StartsWith("refused: "));
  EXPECT_EQ("office2", default_state());
  EXPECT_EQ("", default_refusal("nothing"));
  EXPECT_EQ("nothing", default_state());
  EXPECT_TRUE(same_bytes(before, stored()));
}

// ---- Made and mended --------------------------------------------------------------------------------------

TEST_F(Queues, AreMadeToTakeAndPrintJobs) {
  std::string error;
  EXPECT_TRUE(make_queue("New", "smb://ann:secret@pc/hp", {.listed_as = "laserjet.ppd.gz", .ppd = {}}, error))
      << error;
  EXPECT_THAT(state("New"),
              AllOf(StartsWith("device-uri smb://pc/hp\n"), HasSubstr("\nprinting yes\naccepting yes\n")));
  EXPECT_EQ("smb://ann:secret@pc/hp", PrintServer::uri_of("New"));
  EXPECT_EQ("HP LaserJet Series PCL 4/5", PrintServer::ppd("New", "NickName"));
  const std::string ppd = queue_ppd("New", error).value();
  EXPECT_EQ(read_file("/etc/cups/ppd/New.ppd"), ppd);
  EXPECT_TRUE(make_queue("Newer", "lpd://a/b", {.listed_as = {}, .ppd = ppd}, error)) << error;
  EXPECT_EQ(ppd, read_file("/etc/cups/ppd/Newer.ppd"));
}

TEST_F(Queues, ThatAreMadeAgainLeadElsewhere) {
  const std::string ppd = read_file("/etc/cups/ppd/Office.ppd");
  std::string error;
  EXPECT_TRUE(make_queue("Office", "lpd://a/b", {}, error)) << error;  // it was stopped, too
  EXPECT_THAT(state("Office"), AllOf(StartsWith("device-uri lpd://a/b\n"),
                                     HasSubstr("\nprinting yes\naccepting yes\n"), HasSubstr("\nppd ")));
  EXPECT_EQ(ppd, read_file("/etc/cups/ppd/Office.ppd"));
}

TEST_F(Queues, AreNotMadeOfWhatTheServerRefuses) {
  const std::string before = stored();
  std::string error;
  EXPECT_FALSE(make_queue("New", "lpd://a b", {.listed_as = "laserjet.ppd.gz", .ppd = {}}, error));
  EXPECT_THAT(error, HasSubstr("Bad device-uri"));
  EXPECT_FALSE(make_queue("New", "lpd://a/b", {.listed_as = "none.ppd", .ppd = {}}, error));
  for (const char* name : {"", "a b", "a/b", "a#b", "a'b", "a\"b", "a\\b", "a?b", "a$b", "a`b"}) {
    error.clear();
    EXPECT_FALSE(make_queue(name, "lpd://a/b", {.listed_as = "laserjet.ppd.gz", .ppd = {}}, error)) << name;
    EXPECT_EQ("a queue cannot have that name", error);
  }
  EXPECT_TRUE(same_bytes(before, stored()));
}

TEST_F(Queues, GetTheirPpdFilesBack) {
  std::string error;
  const std::string ppd = queue_ppd("Office", error).value();
  const std::string was = state("Office");
  prepare("rm /etc/cups/ppd/Office.ppd; lpadmin -p Office -D 'Raw queue' 2>/dev/null");
  EXPECT_EQ("", queue_ppd("Office", error).value());
  EXPECT_THAT(state("Office"), HasSubstr("\nppd none"));
  EXPECT_TRUE(give_ppd("Office", ppd, "Ann's \\ \"printer\"", error)) << error;
  EXPECT_EQ(was, state("Office"));
  EXPECT_FALSE(give_ppd("Attic", "no PPD file", "Attic", error));
}

TEST_F(Queues, HaveValuesInTheirStates) {
  const std::string office = state("Office");
  EXPECT_EQ("parallel:/dev/lp0", state_value(office, "device-uri"));
  EXPECT_EQ("Ann's \\ \"printer\"", state_value(office, "info"));
  EXPECT_EQ("none", state_value(state("Attic"), "ppd"));
  EXPECT_EQ("", state_value(office, "nonsense"));
  EXPECT_EQ("", state_value("nothing", "ppd"));
  std::string error;
  EXPECT_EQ("", queue_ppd("Attic", error));
  EXPECT_EQ("", queue_ppd("missing", error));
  EXPECT_EQ("", queue_ppd("a b", error));
}

TEST(Addresses, WithoutTheirPasswords) {
  EXPECT_EQ("smb://pc/hp", things::without_password("smb://u:p@pc/hp"));
  EXPECT_EQ("smb://pc/hp@x", things::without_password("smb://pc/hp@x"));
  EXPECT_EQ("parallel:/dev/lp0", things::without_password("parallel:/dev/lp0"));
}

TEST_F(Queues, CannotBeToldWithoutAServer) {
  const std::string was = state("Attic");
  EXPECT_TRUE(things::print_server_answers());
  PrintServer::stop();
  EXPECT_FALSE(things::print_server_answers());
  EXPECT_EQ("error: no print server answers", state("Attic"));
  EXPECT_EQ("error: no print server answers", default_state());
  EXPECT_EQ("refused: no print server answers", refusal("Attic", was));
  EXPECT_EQ("refused: no print server answers", refusal("Attic", "nothing"));
  EXPECT_EQ("refused: no print server answers", default_refusal("nothing"));
  std::string error;
  EXPECT_FALSE(queue_names(error));
  EXPECT_FALSE(keep_queue("Attic", kept, error));
  EXPECT_FALSE(queue_ppd("Attic", error));
  EXPECT_FALSE(make_queue("Attic", "lpd://a/b", {}, error));
  EXPECT_FALSE(give_ppd("Attic", "", "", error));
}

TEST_F(Queues, CannotBeToldOfAServerThatIsBroken) {
  const std::string was = state("Attic");
  prepare(PrintServer::breaking_down());
  EXPECT_TRUE(things::print_server_answers());
  EXPECT_THAT(state("Attic"), StartsWith("error: "));
  EXPECT_THAT(state("missing"), StartsWith("error: "));
  EXPECT_THAT(default_state(), StartsWith("error: "));
  EXPECT_THAT(refusal("Attic", was), StartsWith("refused: "));
  EXPECT_THAT(refusal("missing", "nothing"), StartsWith("refused: "));
  EXPECT_THAT(default_refusal("nothing"), StartsWith("refused: "));
  EXPECT_THAT(default_refusal("Attic"), StartsWith("refused: "));
  std::string error;
  EXPECT_FALSE(queue_names(error));
  EXPECT_FALSE(keep_queue("Attic", kept, error));
  EXPECT_NE("", error);
}

}  // namespace
