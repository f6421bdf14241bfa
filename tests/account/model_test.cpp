// What the account counts, and the systems that it knows.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "account/model/field.h"
#include "account/model/kinds.h"
#include "account/model/tally.h"
#include "account/model/texts.h"
#include "support/commands.h"
#include "support/files.h"

namespace {

using namespace account;
using testing::ElementsAre;

// ---- Counts --------------------------------------------------------------------------------------------

Tally whole() {
  Tally tally;
  tally.find(10);
  tally.arrive_unchanged(4);
  tally.arrive_changed(3);
  tally.have_no_place(2);
  tally.miss("a", Cause::not_there);
  return tally;
}

TEST(Counts, are_certain_when_their_sum_holds) {
  EXPECT_TRUE(Tally().certain());
  EXPECT_TRUE(whole().certain());
  Tally more = whole();
  more.find();
  EXPECT_FALSE(more.certain());
  EXPECT_EQ(11U, more.found());
  more.have_no_place();
  EXPECT_TRUE(more.certain());
  more.arrive_changed();
  EXPECT_FALSE(more.certain());
  more.find();
  more.arrive_unchanged();
  EXPECT_FALSE(more.certain());
  more.find();
  EXPECT_TRUE(more.certain());
  more.miss("b", Cause::not_there);
  EXPECT_FALSE(more.certain());
}

TEST(Counts, of_what_cannot_be_read_are_never_certain) {
  Tally tally = whole();
  tally.give_up();
  EXPECT_FALSE(tally.certain());
  EXPECT_EQ(10U, tally.found());
}

std::vector<std::string> told(const Tally& tally) {
  std::vector<std::string> lines;
  for (const Missing& thing : tally.missing())
    lines.push_back(thing.name + ": " + Texts()(thing.cause, thing.detail));
  return lines;
}

Tally three_missing() {
  Tally tally;
  tally.miss("a", Cause::not_there);
  tally.miss("b", Cause::place_missing, "/b");
  tally.miss("c", Cause::not_there);
  return tally;
}

TEST(Counts, of_missing_things_may_all_get_a_deeper_cause) {
  Tally tally = three_missing();
  tally.explain_all(Cause::no_login, std::string("ann"));
  const std::string why = ": The user account ann was not made.";
  EXPECT_THAT(told(tally), ElementsAre("a" + why, "b" + why, "c" + why));
}

TEST(Counts, of_one_cause_get_a_deeper_one_alone) {
  Tally tally = three_missing();
  tally.explain(Cause::not_there, Cause::no_login, std::string("ann"));
  const std::string why = ": The user account ann was not made.";
  EXPECT_THAT(told(tally), ElementsAre("a" + why, "b: Its place /b is not there.", "c" + why));
}

TEST(Counts, keep_their_details_wherever_they_are_copied_to) {
  Tally copy;
  {
    const Tally tally = three_missing();
    copy = tally;
  }
  EXPECT_EQ("b: Its place /b is not there.", told(copy)[1]);
}

// ---- Systems -------------------------------------------------------------------------------------------

std::string system_of(const std::string& files) {
  shell_quietly("rm -rf /tmp/machine; mkdir -p /tmp/machine/etc; cd /tmp/machine; " + files);
  return name_of(system_of_machine("/tmp/machine"));
}

TEST(Systems, are_known_by_their_files) {
  EXPECT_EQ("gnome", system_of("true"));
  EXPECT_EQ("nld", system_of("mkdir -p opt/gnome/share/pixmaps"));
  EXPECT_EQ("linspire", system_of("touch etc/linspire-version"));
  EXPECT_EQ("xandros", system_of("touch etc/xandros-version"));
  EXPECT_EQ("redflag", system_of("echo 'Red Flag release 4.1' > etc/redflag-release"));
  EXPECT_EQ("redflag-plus", system_of("echo 'release 4.1plus' > etc/redflag-release"));
  EXPECT_EQ("redflag", system_of("printf 'release 4.1\\n4.1plus\\n' > etc/redflag-release"));
  EXPECT_EQ("redflag", system_of("touch etc/redflag-release"));
}

TEST(Systems, that_fit_twice_are_the_first_in_the_wizards_order) {
  const std::string pixmaps = "; mkdir -p opt/gnome/share/pixmaps";
  EXPECT_EQ("linspire",
            system_of("touch etc/linspire-version etc/xandros-version etc/redflag-release" + pixmaps));
  EXPECT_EQ("xandros", system_of("touch etc/xandros-version etc/redflag-release" + pixmaps));
  EXPECT_EQ("redflag", system_of("touch etc/redflag-release" + pixmaps));
}

TEST(Systems, have_names_that_are_read_back) {
  for (int number = 0; number < system_count; ++number) {
    const auto system = static_cast<System>(number);
    EXPECT_EQ(system, system_called(name_of(system)));
  }
  EXPECT_EQ(std::nullopt, system_called("redflag-"));
  EXPECT_EQ(std::nullopt, system_called(""));
  EXPECT_STREQ("redflag-plus", name_of(System::redflag_plus));
}

TEST(Systems, have_their_mail_programs) {
  std::string evolution, kmail, redflag;
  for (int number = 0; number < system_count; ++number) {
    const auto system = static_cast<System>(number);
    if (has_evolution(system)) evolution += std::string(" ") + name_of(system);
    if (has_kmail(system)) kmail += std::string(" ") + name_of(system);
    if (is_redflag(system)) redflag += std::string(" ") + name_of(system);
  }
  EXPECT_EQ(" gnome nld", evolution);
  EXPECT_EQ(" xandros redflag redflag-plus", kmail);
  EXPECT_EQ(" redflag redflag-plus", redflag);
}

TEST(Kinds, are_found_by_their_number) {
  for (const KindName& kind : kinds()) EXPECT_EQ(kind.table, name_of(kind.kind).table);
  EXPECT_EQ(16U, kinds().size());
  EXPECT_STREQ("documents", kinds().front().table);
  EXPECT_STREQ("groupwise", kinds().back().table);
}

// ---- Words ---------------------------------------------------------------------------------------------

TEST(Languages, are_the_first_five_letters_of_the_locale) {
  unsetenv("LC_CTYPE");
  unsetenv("LANG");
  EXPECT_EQ("", language_code(System::xandros));
  setenv("LANG", "de_D", 1);
  EXPECT_EQ("", language_code(System::xandros));
  setenv("LANG", "de_DE", 1);
  EXPECT_EQ("de_DE", language_code(System::xandros));
  setenv("LANG", "de_DE.UTF-8", 1);
  EXPECT_EQ("de_DE", language_code(System::gnome));
}

TEST(Languages, are_asked_of_the_character_type_first_where_evolution_is) {
  setenv("LANG", "de_DE.UTF-8", 1);
  setenv("LC_CTYPE", "fr_FR.UTF-8", 1);
  EXPECT_EQ("fr_FR", language_code(System::gnome));
  EXPECT_EQ("fr_FR", language_code(System::nld));
  for (const System system : {System::linspire, System::xandros, System::redflag, System::redflag_plus})
    EXPECT_EQ("de_DE", language_code(system));
}

TEST(Languages, give_words_of_the_accounts_own_keys_alone) {
  write_file("/tmp/texts", "window1=Willkommen\naccount-x=%s und %s\naccount-y=\n");
  const Texts texts("/tmp/texts");
  EXPECT_EQ("Welcome", texts("window1", "Welcome", ""));
  EXPECT_EQ("a und %s", texts("account-x", "", "a"));
  EXPECT_EQ("", texts("account-y", "not empty", ""));
}

TEST(Fields, are_one_cell_of_a_table_whatever_they_hold) {
  EXPECT_EQ("a b", field("a b"));
  EXPECT_EQ("\\\\ \\t \\n \\r", field("\\ \t \n \r"));
}

}  // namespace
