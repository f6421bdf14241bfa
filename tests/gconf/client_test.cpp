#include "gconf/client.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "gconf/gconf_calls.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"
#include "support/session.h"
#include "support/system_log.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

struct Client : testing::Test {
  Client() { fp_log = std::fopen("/tmp/log", "w"); }
  static std::string log() {
    std::fflush(fp_log);
    return read_file("/tmp/log");
  }
};

const auto twice = ElementsAre("gconftool-2 --spawn", "gconftool-2 --spawn");

GSList* list_of(std::initializer_list<const char*> texts) {
  GSList* list = nullptr;
  for (const char* text : texts) list = g_slist_append(list, g_strdup(text));
  return list;
}

std::vector<std::string> texts_of(GSList* list) {
  std::vector<std::string> texts;
  for (GSList* i = list; i != nullptr; i = i->next) texts.emplace_back(static_cast<const char*>(i->data));
  g_slist_free_full(list, g_free);
  return texts;
}

// ---- With a daemon --------------------------------------------------------------------------------------

TEST_F(Client, SetsAString) {
  Session session;
  EXPECT_EQ(0, set_gconf_string("/apps/x/text", "a <b> & \u6587"));
  EXPECT_EQ("a <b> & \u6587\n", session.get("/apps/x/text"));
  EXPECT_THAT(commands_run(), twice);
  EXPECT_EQ("before set string\nafter set string\n", log());
}

TEST_F(Client, SetsABool) {
  Session session;
  EXPECT_EQ(0, set_gconf_bool("/apps/x/flag", TRUE));
  EXPECT_EQ("true\n", session.get("/apps/x/flag"));
  EXPECT_EQ(0, set_gconf_bool("/apps/x/flag", FALSE));
  EXPECT_EQ("false\n", session.get("/apps/x/flag"));
  EXPECT_EQ(4u, commands_run().size());  // before every call, though the daemon runs
  EXPECT_EQ("before set bool\nafter set bool\nbefore set bool\nafter set bool\n", log());
}

TEST_F(Client, SetsAList) {
  Session session;
  GSList* list = list_of({"one", "two,three"});
  testing::internal::CaptureStdout();
  EXPECT_EQ(0, set_gconf_list("/apps/x/list", list));
  EXPECT_EQ("spawning the gconf tool.before gconf listafter gconf list",
            testing::internal::GetCapturedStdout());
  EXPECT_EQ("[one,two\\,three]\n", session.get("/apps/x/list"));
  EXPECT_THAT(commands_run(), ElementsAre("gconftool-2 --spawn"));
  EXPECT_EQ("", log());
  g_slist_free_full(list, g_free);
}

// What is logged and said so far when the daemon is asked for.
TEST_F(Client, TheDaemonIsStartedBeforeAnythingIsTold) {
  Session session;
  std::string logged = "nothing yet";
  const auto look = [&] { logged = log(); };
  when_command("gconftool-2 --spawn", look);
  EXPECT_EQ(0, set_gconf_string("/apps/x/text", "a"));
  EXPECT_EQ("", logged);
  when_command("gconftool-2 --spawn", look);
  EXPECT_EQ(0, set_gconf_bool("/apps/x/flag", TRUE));
  EXPECT_EQ("before set string\nafter set string\n", logged);
  std::string said = "nothing yet";
  testing::internal::CaptureStdout();
  when_command("gconftool-2 --spawn", [&] {
    said = testing::internal::GetCapturedStdout();
    testing::internal::CaptureStdout();
  });
  EXPECT_EQ(0, set_gconf_list("/apps/x/list", nullptr));
  EXPECT_EQ("before gconf listafter gconf list", testing::internal::GetCapturedStdout());
  EXPECT_EQ("spawning the gconf tool.", said);
}

// A client that answers so says nothing itself.
TEST_F(Client, WhatTheDaemonDoesNotTakeIsAFailure) {
  Session session;
  refuse_settings();
  GSList* list = list_of({"one"});
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, set_gconf_string("/apps/x/text", "a"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), StartsWith("gconf_client_set_string : set: "));
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, set_gconf_bool("/apps/x/flag", TRUE));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), StartsWith("gconf_client_set_bool : set: "));
  testing::internal::CaptureStderr();
  EXPECT_EQ(-1, set_gconf_list("/apps/x/list", list));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), StartsWith("in set_gconf_list : "));
  EXPECT_EQ("spawning the gconf tool.before gconf list", testing::internal::GetCapturedStdout());
  EXPECT_EQ("before set string\nbefore set bool\n", log());
  EXPECT_THAT(settings_made(),
              ElementsAre("string /apps/x/text a", "bool /apps/x/flag true", "list /apps/x/list one"));
  g_slist_free_full(list, g_free);
}

TEST_F(Client, SetsAnEmptyList) {
  Session session;
  EXPECT_EQ(0, set_gconf_list("/apps/x/list", nullptr));
  EXPECT_EQ("[]\n", session.get("/apps/x/list"));
}

TEST_F(Client, GetsAList) {
  Session session;
  shell_quietly("gconftool-2 -t list --list-type string -s /apps/x/list '[one,two]'");
  EXPECT_THAT(texts_of(get_gconf_list("/apps/x/list")), ElementsAre("one", "two"));
  EXPECT_THAT(lists_asked_for(), ElementsAre("/apps/x/list"));
  EXPECT_THAT(commands_run(), twice);
  EXPECT_EQ("", log());
}

TEST_F(Client, AMissingListIsAFailure) {
  Session session;
  testing::internal::CaptureStderr();
  EXPECT_EQ(nullptr, get_gconf_list("/apps/x/missing"));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("gconf_client_set_string : get: "));
}

TEST_F(Client, AnEmptyListIsNone) {
  Session session;
  shell_quietly("gconftool-2 -t list --list-type string -s /apps/x/list '[]'");
  testing::internal::CaptureStderr();
  EXPECT_EQ(nullptr, get_gconf_list("/apps/x/list"));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST_F(Client, SomethingElseIsNoList) {
  Session session;
  shell_quietly("gconftool-2 -t string -s /apps/x/text hello");
  shell_quietly("gconftool-2 -t list --list-type int -s /apps/x/numbers '[]'");
  for (const char* key : {"/apps/x/text", "/apps/x/numbers"}) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(nullptr, get_gconf_list(key));
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("gconf_client_set_string : get: ")) << key;
  }
}

// ---- Without one ----------------------------------------------------------------------------------------

struct NoClient : Client {
  static std::string complaint_of(const std::function<int()>& call) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(-1, call());
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, Not(HasSubstr("CRITICAL")));  // the library has not been asked without a client
    const bool asked_further = said.find("could not be kept") != said.npos;
    EXPECT_FALSE(client == nullptr && asked_further);
    return said;
  }
};

TEST_F(NoClient, ADaemonThatCannotBeStartedIsLogged) {
  testing::internal::CaptureStderr();
  EXPECT_TRUE(is_failure_logged("gconftool-2 --spawn", [] { set_gconf_bool("/a/b", TRUE); }));
  EXPECT_TRUE(is_failure_logged("gconftool-2 --spawn", [] { set_gconf_list("/a/b", nullptr); }));
  testing::internal::GetCapturedStderr();
}

TEST_F(NoClient, EveryCallFailsWithItsText) {
  EXPECT_THAT(complaint_of([] { return set_gconf_string("/a/b", "c"); }),
              HasSubstr("gconf_client_set_string : set: "));
  EXPECT_THAT(complaint_of([] { return set_gconf_bool("/a/b", TRUE); }),
              HasSubstr("gconf_client_set_bool : set: "));
  EXPECT_THAT(complaint_of([] { return set_gconf_list("/a/b", nullptr); }),
              HasSubstr("in set_gconf_list : "));
  EXPECT_THAT(complaint_of([] { return get_gconf_list("/a/b") == nullptr ? -1 : 0; }),
              HasSubstr("gconf_client_set_string : get: "));
  EXPECT_EQ("before set string\nbefore set bool\n", log());  // nothing "after"
}

TEST_F(NoClient, ABusThatIsGoneIsAFailureToo) {
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
  client = gconf_client_get_default();
  EXPECT_THAT(complaint_of([] { return set_gconf_string("/a/b", "c"); }),
              HasSubstr("gconf_client_set_string : set: "));
}

}  // namespace
