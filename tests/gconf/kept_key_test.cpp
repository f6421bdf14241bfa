#include "gconf/kept_key.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "gconf/client.h"
#include "gconf/gconf_calls.h"
#include "gconf/settings.h"
#include "keep/keep.h"
#include "place/descriptor.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/full_disk.h"
#include "support/session.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

struct KeptKeys : testing::Test {
  KeptKeys() { keep::begin_run("/root", 1'800'000'000); }

  static std::vector<keep::Row> rows() {
    const Descriptor list(open((keep::folder_of_run() + "/list.tsv").c_str(), O_RDONLY));
    return keep::joined_rows(list.number());
  }
  /// "KEY: BEFORE -> BECAME" of each.
  static std::vector<std::string> keys() {
    std::vector<std::string> texts;
    for (const keep::Row& row : rows())
      if (row.kind == keep::Kind::gconf) texts.push_back(row.name + ": " + row.before + " -> " + row.became);
    return texts;
  }
  /// Whether the path had been there before the run; no value for one that is not listed.
  static std::map<std::string, bool> paths() {
    std::map<std::string, bool> paths;
    for (const keep::Row& row : rows())
      if (row.kind == keep::Kind::path) paths[row.name] = row.before != keep::nothing;
    return paths;
  }
  static void set(const std::string& type, const std::string& key, const std::string& value) {
    ASSERT_EQ(0, shell_quietly("gconftool-2 -s -t " + type + " -- " + key + " '" + value + "'"));
  }
};

TEST_F(KeptKeys, HaveTheValuesBeforeAndAfter) {
  Session session;
  set("string", "/apps/x/text", "old");
  set("int", "/apps/x/flag", "5");
  ASSERT_EQ(Stored::all, store_in_client({{"/apps/x/text", std::string("one")},
                                          {"/apps/x/flag", true},
                                          {"/apps/x/list", std::vector<std::string>{"a", "b\nc"}},
                                          {"/apps/x/text", std::string("two")}}));
  EXPECT_THAT(keys(),
              ElementsAre("/apps/x/text: string old -> string two", "/apps/x/flag: int 5 -> bool true",
                          "/apps/x/list: nothing -> list string\na\nb\\nc"));
}

TEST_F(KeptKeys, AreUnknownUntilTheyAreSet) {
  Session session;
  ASSERT_TRUE(keep_key(client, "/apps/x/text"));
  EXPECT_THAT(keys(), ElementsAre("/apps/x/text: nothing -> unknown"));
  ASSERT_EQ(0, set_gconf_string("/apps/x/text", "new"));
  EXPECT_THAT(keys(), ElementsAre("/apps/x/text: nothing -> string new"));
}

TEST_F(KeptKeys, HaveTheirFilesKept) {
  write_file("/root/.gconf/%gconf.xml", "");
  write_file("/root/.gconf/apps/%gconf.xml", "");
  const std::string old =
      "<?xml version=\"1.0\"?>\n<gconf>\n<entry name=\"text\" mtime=\"1\" type=\"string\">"
      "<stringvalue>old</stringvalue></entry>\n</gconf>\n";
  write_file("/root/.gconf/apps/x/%gconf.xml", old);
  Session session;
  ASSERT_EQ(0, set_gconf_string("/apps/x/text", "new"));
  ASSERT_EQ(0, set_gconf_bool("/apps/x/y/flag", TRUE));
  finish_keys(client);
  ASSERT_THAT(read_file("/root/.gconf/apps/x/%gconf.xml"), HasSubstr("new"));
  const auto kept = paths();
  for (const char* there : {"/root/.gconf/apps/%gconf.xml", "/root/.gconf/apps/x/%gconf.xml",
                            "/root/.gconf/apps/x", "/root/.gconf/apps"})
    EXPECT_THAT(kept, Contains(Pair(there, true)));
  EXPECT_THAT(kept, Contains(Pair("/root/.gconf/apps/x/y", false)));
  EXPECT_EQ(old, read_file(keep::folder_of_run() + "/files/root/.gconf/apps/x/%gconf.xml"));
  EXPECT_THAT(keys(), Contains("/apps/x/text: string old -> string new"));
}

TEST_F(KeptKeys, MakeTheSettingsOfAFreshHomeTheRuns) {
  ASSERT_TRUE(keep_settings_folder());
  Session session;
  ASSERT_EQ(0, set_gconf_bool("/apps/x/flag", TRUE));
  EXPECT_THAT(paths(), Contains(Pair("/root/.gconf", false)));
}

TEST_F(KeptKeys, AreFinishedWithTheirFilesAsTheyBecame) {
  Session session;
  set("string", "/apps/x/text", "old");
  shell_quietly("gconftool-2 --shutdown; while gconftool-2 --ping; do sleep 0.05; done");
  keep::settle();
  for (const char* text : {"one", "two"}) {
    ASSERT_EQ(0, set_gconf_string("/apps/x/text", text));
    keep::settle();  // as behind each step: the daemon has not written yet
    finish_keys(client);
    keep::settle();
    const auto all = rows();
    const auto row = std::ranges::find(all, "/root/.gconf/apps/x/%gconf.xml", &keep::Row::name);
    ASSERT_NE(all.end(), row);
    const std::string digest =
        output_of("xxh128sum </root/.gconf/apps/x/%gconf.xml | cut -d' ' -f1 | tr -d '\n'");
    EXPECT_THAT(row->became, HasSubstr(" " + digest + ":")) << text;
    EXPECT_THAT(read_file("/root/.gconf/apps/x/%gconf.xml"), HasSubstr(text));
  }
}

TEST_F(KeptKeys, AreFinishedWithoutAWordWhereNoneWasSet) {
  testing::internal::CaptureStderr();
  finish_keys(nullptr);
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
  finish_keys(gconf_client_get_default());
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST_F(KeptKeys, ThatTheDaemonDoesNotTakeStayUnknown) {
  Session session;
  set("string", "/apps/x/text", "old");
  set("bool", "/apps/x/flag", "false");
  refuse_settings();
  testing::internal::CaptureStderr();
  EXPECT_EQ(Stored::not_all_in_client, store_in_client({{"/apps/x/text", std::string("new")},
                                                        {"/apps/x/flag", true},
                                                        {"/apps/x/list", std::vector<std::string>{"a"}}}));
  testing::internal::GetCapturedStderr();
  EXPECT_THAT(keys(), ElementsAre("/apps/x/text: string old -> unknown",
                                  "/apps/x/flag: bool false -> unknown", "/apps/x/list: nothing -> unknown"));
}

TEST_F(KeptKeys, AreNotSetWhenTheyCannotBeKept) {
  Session session;
  set("string", "/apps/x/text", "old");
  const SmallDisk disk("/root");
  disk.fill_but();
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, set_gconf_string("/apps/x/text", "new"));
  EXPECT_EQ(-1, set_gconf_bool("/apps/x/text", TRUE));
  EXPECT_EQ(-1, set_gconf_list("/apps/x/text", nullptr));
  const std::string said = testing::internal::GetCapturedStderr();
  EXPECT_THAT(said, HasSubstr("gconf_client_set_string : set: "));
  EXPECT_EQ("old\n", Session::get("/apps/x/text"));
  EXPECT_THAT(settings_made(), IsEmpty());
  EXPECT_EQ(5u, commands_run().size());  // the daemon is started all the same
}

TEST_F(KeptKeys, ThatCannotBeToldAreNotSet) {
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
  client = gconf_client_get_default();
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, set_gconf_string("/apps/x/text", "new"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::AllOf(HasSubstr("/apps/x/text could not be kept as it is, so it is not set: "),
                             HasSubstr("gconf_client_set_string : set: ")));
  EXPECT_THAT(settings_made(), IsEmpty());
  EXPECT_EQ("", keep::folder_of_run());
}

}  // namespace
