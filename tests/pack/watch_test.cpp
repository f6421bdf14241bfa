// What is said of work that is ended before it has an exit status.
#include "pack/watch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "pack/disk/stop.h"
#include "pack/disk/trace.h"
#include "support/files.h"

namespace {

using testing::HasSubstr;

const std::string part = "/tmp/out.zip.part";

struct Ended {
  int status;
  std::string complaint;
};

// Of a work that makes the part, does that with it, and is killed.
Ended killed_after(const std::function<void(const pack::Trace& trace)>& then) {
  testing::internal::CaptureStderr();
  const int status = pack::watched(
      [&] {
        write_file(part, "an archive");
        const pack::Trace trace(part);
        then(trace);
        kill(getpid(), SIGKILL);
        pause();
        return 0;
      },
      {.failed = 2, .untold = 1});
  return {.status = status, .complaint = testing::internal::GetCapturedStderr()};
}

TEST(Watch, SaysThatTheArchiveIsThereOnceItHasItsName) {
  const Ended ended = killed_after([](const pack::Trace& trace) {
    trace.is_to_stay(true);
    std::filesystem::rename(part, "/tmp/out.zip");
  });
  EXPECT_EQ(ended.status, 1);
  EXPECT_THAT(ended.complaint, HasSubstr("the archive is there whole"));
  EXPECT_EQ(read_file("/tmp/out.zip"), "an archive");
}

TEST(Watch, SaysThatNothingIsWrittenBeforeThat) {
  for (const bool is_to_stay : {false, true}) {
    const Ended ended = killed_after([&](const pack::Trace& trace) {
      if (is_to_stay) trace.is_to_stay(true);
    });
    EXPECT_EQ(ended.status, 2) << is_to_stay;
    EXPECT_EQ(ended.complaint,
              "brindle-pack: it was ended by signal 9; what it had begun to write is removed\n");
    EXPECT_FALSE(std::filesystem::exists(part));
  }
}

TEST(Watch, SaysThatNothingIsWrittenWhenItsNameWasTaken) {
  const Ended ended = killed_after([](const pack::Trace& trace) {
    trace.is_to_stay(true);
    trace.is_to_stay(false);
    std::filesystem::remove(part);
  });
  EXPECT_EQ(ended.status, 2);
}

Ended watched(const std::function<int()>& work) {
  testing::internal::CaptureStderr();
  const int status = pack::watched(work, {.failed = 2, .untold = 1});
  return {.status = status, .complaint = testing::internal::GetCapturedStderr()};
}

constexpr const char* stopped = "brindle-pack: stopped; nothing is written\n";

TEST(Watch, SaysOnceThatItIsStopped) {
  const Ended ended = watched([]() -> int {
    kill(getppid(), SIGTERM);
    for (;;) pack::stop_when_asked();
  });
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.complaint, stopped);
}

TEST(Watch, SaysThatTheArchiveIsThereToWhoStopsItLater) {
  const Ended ended = watched([]() -> int {
    write_file(part, "an archive");
    const pack::Trace trace(part);
    trace.is_to_stay(true);
    std::filesystem::rename(part, "/tmp/out.zip");
    throw pack::Interrupted();
  });
  EXPECT_EQ(ended.status, 1);
  EXPECT_THAT(ended.complaint, HasSubstr("the archive is there whole"));
  EXPECT_EQ(read_file("/tmp/out.zip"), "an archive");
}

TEST(Watch, SaysItOnceToWhoAsksTwiceWhileTheWorkComesToItsEnd) {
  const Ended ended = watched([]() -> int {
    std::atexit([] {
      kill(getppid(), SIGINT);
      kill(getppid(), SIGTERM);
      for (;;) pause();
    });
    throw pack::Interrupted();
  });
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.complaint, stopped);
}

TEST(Watch, HandsOnTheStatusOfWorkThatEnds) {
  for (const int status : {0, 1, 2, 7})
    EXPECT_EQ(pack::watched([&] { return status; }, {.failed = 2, .untold = 1}), status);
}

}  // namespace
