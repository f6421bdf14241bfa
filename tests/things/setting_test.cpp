#include "things/setting.h"

#include <gconf/gconf-client.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "support/commands.h"
#include "support/files.h"
#include "support/session.h"
#include "things/nothing.h"

namespace {

using testing::HasSubstr;
using things::give_setting;
using things::setting_state;
using things::write_settings;

struct Settings : testing::Test {
  static std::string state(const std::string& key) {
    std::string error;
    return setting_state(client, key, error).value_or("error: " + error);
  }
  static void set(const std::string& type, const std::string& key, const std::string& value) {
    ASSERT_EQ(0, shell_quietly("gconftool-2 -s -t " + type + " -- " + key + " '" + value + "'"));
  }
  /// Changes the key to another value, gives `state` back and returns what gconftool-2 prints then.
  static std::string given_back(const std::string& key, const std::string& state) {
    set("int", key, "77");
    std::string error;
    EXPECT_TRUE(give_setting(client, key, state, error)) << error;
    return Session::get(key);
  }
};

TEST_F(Settings, AreToldAndGivenBackWithTheirTypes) {
  Session session;
  const struct {
    const char *type, *value, *state;
  } cases[] = {{"string", "/tmp/a b.png", "string /tmp/a b.png"},
               {"string", "", "string "},
               {"string", "nothing", "string nothing"},
               {"int", "-5", "int -5"},
               {"float", "0.1", "float 0.10000000000000001"},
               {"float", "0.30000000000000004", "float 0.30000000000000004"},
               {"float", "-1.7976931348623157e+308", "float -1.7976931348623157e+308"},
               {"bool", "true", "bool true"},
               {"bool", "false", "bool false"}};
  for (const auto& one : cases) {
    set(one.type, "/apps/x/key", one.value);
    EXPECT_EQ(one.state, state("/apps/x/key"));
    const std::string shown = Session::get("/apps/x/key");
    EXPECT_EQ(shown, given_back("/apps/x/key", one.state));
    EXPECT_EQ(one.state, state("/apps/x/key"));
  }
}

TEST_F(Settings, AreListsAndPairsOfEveryType) {
  Session session;
  const struct {
    const char *type, *value, *shown;
  } cases[] = {{"list --list-type string", "[one,two,three]", "[one,two,three]\n"},
               {"list --list-type string", "[]", "[]\n"},
               {"list --list-type int", "[1,-2]", "[1,-2]\n"},
               {"list --list-type int", "[]", "[]\n"},
               {"list --list-type float", "[0.5,2]", "[0.5,2]\n"},
               {"list --list-type bool", "[true,false]", "[true,false]\n"},
               {"pair --car-type int --cdr-type string", "(5,a b)", "(5,a b)\n"},
               {"pair --car-type bool --cdr-type float", "(true,0.25)", "(true,0.25)\n"}};
  for (const auto& one : cases) {
    set(one.type, "/apps/x/key", one.value);
    const std::string before = state("/apps/x/key");
    EXPECT_EQ(one.shown, given_back("/apps/x/key", before)) << before;
    EXPECT_EQ(before, state("/apps/x/key"));
  }
}

TEST_F(Settings, KeepTheTypeOfAListWithoutElements) {
  Session session;
  set("list --list-type int", "/apps/x/key", "[]");
  const std::string numbers = state("/apps/x/key");
  set("list --list-type string", "/apps/x/key", "[]");
  EXPECT_NE(numbers, state("/apps/x/key"));
}

TEST_F(Settings, MayHoldAnyText) {
  Session session;
  const std::string odd = "tab\t line\n back\\slash \"'<&>,[]() \r\x01\x1f \u6587";
  const std::unique_ptr<GConfValue, void (*)(GConfValue*)> value(gconf_value_new(GCONF_VALUE_STRING),
                                                                 gconf_value_free);
  gconf_value_set_string(value.get(), odd.c_str());
  GSList* list = g_slist_append(nullptr, value.get());
  list = g_slist_append(list, value.get());
  ASSERT_TRUE(gconf_client_set_string(client, "/apps/x/text", odd.c_str(), nullptr));
  const char* texts[] = {odd.c_str(), "", odd.c_str()};
  GSList* strings = nullptr;
  for (const char* text : texts) strings = g_slist_append(strings, const_cast<char*>(text));
  ASSERT_TRUE(gconf_client_set_list(client, "/apps/x/list", GCONF_VALUE_STRING, strings, nullptr));
  g_slist_free(strings);
  g_slist_free(list);
  EXPECT_EQ("string " + odd, state("/apps/x/text"));
  const std::string before = state("/apps/x/list");
  const std::string shown = Session::get("/apps/x/list");
  EXPECT_EQ(odd + "\n", given_back("/apps/x/text", "string " + odd));
  EXPECT_EQ(shown, given_back("/apps/x/list", before));
  EXPECT_EQ(before, state("/apps/x/list"));
}

TEST_F(Settings, ThatAreNotSetShowTheirDefaultAgain) {
  Session session;
  write_file("/tmp/x.schemas", R"(<gconfschemafile><schemalist><schema><key>/schemas/apps/x/key</key>
<applyto>/apps/x/key</applyto><owner>x</owner><type>string</type><default>of the schema</default>
<locale name="C"><short>s</short><long>l</long></locale></schema></schemalist></gconfschemafile>)");
  ASSERT_EQ(0, shell_quietly("GCONF_CONFIG_SOURCE=`gconftool-2 --get-default-source` "
                             "gconftool-2 --makefile-install-rule /tmp/x.schemas >/dev/null"));
  shell_quietly("gconftool-2 --shutdown");
  ASSERT_EQ("of the schema\n", Session::get("/apps/x/key"));
  EXPECT_EQ("nothing", state("/apps/x/key"));
  EXPECT_EQ("of the schema\n", given_back("/apps/x/key", "nothing"));
  EXPECT_EQ("nothing", state("/apps/x/key"));
  set("string", "/apps/x/key", "of the schema");
  EXPECT_EQ("string of the schema", state("/apps/x/key"));
  EXPECT_THAT(state("/schemas/apps/x/key"), HasSubstr("holds a schema"));
}

TEST_F(Settings, UnsetWhatIsNotSetIsNoError) {
  Session session;
  std::string error;
  EXPECT_EQ("nothing", state("/apps/x/missing"));
  EXPECT_TRUE(give_setting(client, "/apps/x/missing", things::nothing, error)) << error;
}

TEST_F(Settings, AreInTheFileWhenTheDaemonWasMadeToWrite) {
  Session session;
  std::string error;
  ASSERT_TRUE(give_setting(client, "/apps/x/key", "string of today", error)) << error;
  EXPECT_FALSE(exists("/root/.gconf/apps/x/%gconf.xml"));
  EXPECT_TRUE(write_settings(client, error)) << error;
  EXPECT_THAT(read_file("/root/.gconf/apps/x/%gconf.xml"), HasSubstr("of today"));
}

// The daemon answers before it writes, and files take it a while.
TEST_F(Settings, AreInAllFilesThen) {
  Session session;
  std::string error;
  for (int number = 0; number < 200; ++number)
    ASSERT_TRUE(give_setting(client, "/apps/x/" + std::to_string(number) + "/key", "string of today", error))
        << error;
  EXPECT_TRUE(write_settings(client, error)) << error;
  for (int number = 0; number < 200; ++number)
    ASSERT_THAT(read_file("/root/.gconf/apps/x/" + std::to_string(number) + "/%gconf.xml"),
                HasSubstr("of today"));
}

TEST_F(Settings, RefuseWhatIsNoStateAndNoKey) {
  Session session;
  set("int", "/apps/x/key", "77");
  for (const char* text : {"", "string", "bool t", "list", "list ", "list list", "list int\nmany",
                           "list schema", "pair", "pair\nint 5", "pair\nint 5\nint", "pair\nint 5\npair ",
                           "list string\n\\x", "colour red", "unknown", "int many", "schema x", "nothing "}) {
    std::string error;
    EXPECT_FALSE(give_setting(client, "/apps/x/key", text, error)) << text;
    EXPECT_NE("", error);
    EXPECT_EQ("77\n", Session::get("/apps/x/key"));
  }
  for (const char* key : {"", "no slash", "/a//b", "/ends/"}) {
    std::string error;
    EXPECT_FALSE(setting_state(client, key, error)) << key;
    EXPECT_NE("", error);
    EXPECT_FALSE(give_setting(client, key, "int 5", error)) << key;
  }
}

TEST_F(Settings, CannotBeToldWithoutADaemon) {
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
  GConfClient* const lonely = gconf_client_get_default();
  for (GConfClient* one : {lonely, static_cast<GConfClient*>(nullptr)}) {
    std::string error;
    EXPECT_FALSE(setting_state(one, "/apps/x/key", error));
    EXPECT_NE("", error);
    error.clear();
    EXPECT_FALSE(give_setting(one, "/apps/x/key", "int 5", error));
    EXPECT_NE("", error);
    error.clear();
    EXPECT_FALSE(give_setting(one, "/apps/x/key", "nothing", error));
    EXPECT_NE("", error);
    error.clear();
    EXPECT_FALSE(write_settings(one, error));
    EXPECT_NE("", error);
  }
}

}  // namespace
