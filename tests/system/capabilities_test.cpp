#include "system/capabilities.h"

#include <gtest/gtest.h>

#include "state/state.h"

namespace {

constexpr System systems[] = {System::gnome, System::linspire, System::redflag, System::xandros,
                              System::other};

const Capabilities& of(const char* system) { return capabilities(system_called(system)); }

std::string account(const char* system) {
  return of(system).make_account("ann", "/home/ann", "/tmp/s").text();
}

TEST(Systems, GoByTheirWholeNames) {
  EXPECT_EQ(System::gnome, system_called("GNome"));
  EXPECT_EQ(System::linspire, system_called("Linspire"));
  EXPECT_EQ(System::redflag, system_called("RedFlag"));
  EXPECT_EQ(System::xandros, system_called("Xandros"));
  for (const char* name : {"", "INVALID", "GNOME", "GNome ", "Gnom", "linspire"})
    EXPECT_EQ(System::other, system_called(name)) << name;
}

TEST(Systems, AreDetectedByName) {
  assign(OSName, "RedFlag");
  EXPECT_EQ(System::redflag, detected_system());
  assign(OSName, "");
  EXPECT_EQ(System::other, detected_system());
}

TEST(Systems, AnUnservedReleaseIsNotJustAnyOtherSystem) {
  for (const char* name : {"", "GNome", "RedFlag", "INVALID "}) {
    assign(OSName, name);
    EXPECT_FALSE(detected_unserved_release()) << name;
  }
  assign(OSName, "INVALID");
  EXPECT_TRUE(detected_unserved_release());
}

TEST(CapabilityRows, StandInTheOrderOfTheSystems) {
  for (const System system : systems) EXPECT_EQ(system, system_called(capabilities(system).name));
}

TEST(CapabilityRows, HaveASkeletonWhereTheFirstStartNeedsOne) {
  for (const System system : systems) {
    const Capabilities& row = capabilities(system);
    const bool needs = row.first_start == FirstStart::gnome || row.first_start == FirstStart::from_skeleton;
    EXPECT_EQ(needs, row.skeleton != nullptr) << row.name;
  }
}

TEST(CapabilityRows, HideGroupwiseOnRedFlagOnly) {
  for (const System system : systems) {
    const MarkSet expected = system == System::redflag ? MarkSet{Mark::groupwise} : MarkSet{};
    EXPECT_EQ(expected, capabilities(system).hidden_rows) << capabilities(system).name;
  }
}

TEST(CapabilityRows, MakeAccounts) {
  for (const char* system : {"GNome", "Xandros", ""}) {
    EXPECT_EQ("useradd ann -d /home/ann -m -k /tmp/s/root -g users", account(system));
    EXPECT_TRUE(of(system).repairs_source_lists);
  }
  EXPECT_EQ("useradd ann -d /home/ann -m -k /tmp/s/root -s /bin/bash -g users", account("RedFlag"));
  EXPECT_EQ(
      "useradd ann -d /home/ann -m -k /tmp/s/root -G audio,cdrom,cnr,desktop,dialout,dip,disk -s /bin/bash "
      "-g users",
      account("Linspire"));
  EXPECT_FALSE(of("RedFlag").repairs_source_lists);
  EXPECT_FALSE(of("Linspire").repairs_source_lists);
}

TEST(CapabilityRows, NameTheSkeletonHomes) {
  EXPECT_STREQ("/tmp/nldroot", of("GNome").skeleton->folder);
  EXPECT_STREQ("/usr/local/brindle/nldroot.tar.bz2", of("GNome").skeleton->tarball);
  EXPECT_STREQ("/tmp/linspireroot", of("Linspire").skeleton->folder);
  EXPECT_STREQ("/usr/local/brindle/linspireroot.tar", of("Linspire").skeleton->tarball);
  EXPECT_STREQ("/tmp/redflagroot", of("RedFlag").skeleton->folder);
  EXPECT_STREQ("/usr/local/brindle/redflagroot.tar.bz2", of("RedFlag").skeleton->tarball);
  EXPECT_FALSE(of("Linspire").skeleton->bzip2);
  EXPECT_TRUE(of("RedFlag").skeleton->bzip2 && of("GNome").skeleton->bzip2);
}

TEST(CapabilityRows, SayWhatPrintersNeed) {
  EXPECT_EQ(DriverAnswers::ppd_files, of("GNome").driver_answers);
  EXPECT_EQ(DriverAnswers::redflag_lines, of("RedFlag").driver_answers);
  for (const char* system : {"Linspire", "Xandros", ""})
    EXPECT_EQ(DriverAnswers::kde_lines, of(system).driver_answers) << system;
  EXPECT_STREQ("orientation-requested=4", of("RedFlag").landscape_option);
  for (const char* system : {"GNome", "Linspire", "Xandros", ""})
    EXPECT_STREQ("landscape", of(system).landscape_option) << system;
}

// A table by hand, so that a changed default does not change a system unseen.
TEST(CapabilityRows, DifferAsWritten) {
  struct Expected {
    const char* name;
    const char* icon;
    bool documents_on_desktop, share_in_konqueror, fonts_for_everybody, terminal;
    int tiled;
    bool gconf, ctype, moves;
    int first_row, pitch;
  };
  for (const Expected& expected : {
           Expected{"GNome", "X-Nautilus-Icon=gnome-fs-directory", false, false, false, false, 5, true, true,
                    true, 41, 21},
           Expected{"Linspire", "Icon=folder1", false, true, false, false, 2, false, false, false, 43, 22},
           Expected{"RedFlag", "Icon=folder", true, true, true, true, 2, false, false, true, 44, 22},
           Expected{"Xandros", "Icon=folder1", false, false, false, false, 5, false, false, true, 43, 22},
           Expected{"", "Icon=folder1", false, false, false, false, 5, false, false, true, 43, 22},
       }) {
    SCOPED_TRACE(expected.name);
    const Capabilities& row = of(expected.name);
    EXPECT_STREQ(expected.icon, row.link_icon);
    EXPECT_EQ(expected.documents_on_desktop, row.documents_on_desktop);
    EXPECT_EQ(expected.share_in_konqueror, row.share_in_konqueror);
    EXPECT_EQ(expected.fonts_for_everybody, row.fonts_for_everybody);
    EXPECT_EQ(expected.terminal, row.brings_terminal_settings);
    EXPECT_EQ(expected.tiled, row.kde_tiled);
    EXPECT_EQ(expected.gconf, row.gconf);
    EXPECT_EQ(expected.ctype, row.language_from_ctype);
    EXPECT_EQ(expected.moves, row.progress_moves);
    EXPECT_EQ(expected.first_row, row.first_row);
    EXPECT_EQ(expected.pitch, row.row_pitch);
  }
}

}  // namespace
