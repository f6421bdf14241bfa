// The command line of brindle-account.
#include "account/options.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using namespace account;

Options options(std::vector<const char*> words) {
  words.insert(words.begin(), "brindle-account");
  return read_options(static_cast<int>(words.size()), words.data());
}

std::string complaint(const std::vector<const char*>& words) {
  try {
    options(words);
    return "";
  } catch (const UsageError& error) {
    return error.what();
  }
}

TEST(Options, stand_before_and_behind_the_archive) {
  const Options read = options(
      {"--system", "redflag-plus", "a b.zip", "--html", "p.html", "--tsv", "c.tsv", "--missing", "m.tsv"});
  EXPECT_EQ("a b.zip", read.archive);
  EXPECT_EQ(System::redflag_plus, read.system);
  EXPECT_EQ("p.html", read.html);
  EXPECT_EQ("c.tsv", read.tsv);
  EXPECT_EQ("m.tsv", read.missing);
  EXPECT_FALSE(read.before);
  EXPECT_TRUE(options({"--before", "a.zip"}).before);
}

TEST(Options, that_are_not_given_are_empty) {
  const Options read = options({"a.zip"});
  EXPECT_FALSE(read.system);
  EXPECT_EQ("", read.login + read.html + read.tsv + read.missing);
  EXPECT_TRUE(read.homes.empty() && read.folders.empty());
}

TEST(Options, take_homes_by_login) {
  const Options read =
      options({"--home", "/srv/a=b/", "--home", "ann=/srv/ann///", "--home", "bob=bob", "a.zip"});
  EXPECT_EQ((std::vector<std::string>{"/srv/a=b"}), read.folders);  // the folder's own equals sign
  EXPECT_EQ((std::map<std::string, std::string>{{"ann", "/srv/ann"}, {"bob", "bob"}}), read.homes);
  EXPECT_EQ((std::vector<std::string>{"/", "/srv/zoe"}),
            options({"--home", "/", "--home", "/srv/zoe/", "a.zip"}).folders);
}

TEST(Options, know_every_system) {
  for (const char* name : {"gnome", "nld", "linspire", "xandros", "redflag", "redflag-plus"})
    EXPECT_STREQ(name, name_of(*options({"--system", name, "a.zip"}).system));
}

TEST(Options, of_a_note_need_no_archive) {
  EXPECT_TRUE(options({"--run"}).of_note);
  EXPECT_EQ("", options({"--run", "--html", "p.html"}).archive);
  EXPECT_EQ("/tmp/note", options({"--run", "/tmp/note"}).archive);
  EXPECT_FALSE(options({"a.zip"}).of_note);
  EXPECT_EQ("--before and --run exclude each other", complaint({"--run", "--before"}));
  EXPECT_EQ("r.tsv", options({"--run", "--replaced", "r.tsv"}).replaced);
  EXPECT_EQ("--replaced needs --run", complaint({"--replaced", "r.tsv", "a.zip"}));
}

TEST(Options, that_cannot_be_understood_are_named) {
  EXPECT_EQ("no archive is given", complaint({}));
  EXPECT_EQ("only one archive can be given", complaint({"a.zip", "b.zip"}));
  EXPECT_EQ("there is no option --sytem", complaint({"--sytem", "gnome", "a.zip"}));
  EXPECT_EQ("there is no system 'kde'", complaint({"--system", "kde", "a.zip"}));
  EXPECT_EQ("--home needs a value", complaint({"a.zip", "--home"}));
  EXPECT_EQ("--home needs a folder", complaint({"--home", "", "a.zip"}));
  EXPECT_EQ("--home needs a folder", complaint({"--home", "ann=", "a.zip"}));
  EXPECT_TRUE(options({"--help"}).help);
}

}  // namespace
