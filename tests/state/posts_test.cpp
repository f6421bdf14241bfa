#include "state/posts.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "state/gui_thread.h"
#include "state/state.h"

namespace {

TEST(Posts, RunOnceOnTheGuiThreadAndSeeWhatWasWrittenBefore) {
  struct Note {
    int value = 0;
    int times = 0;
    std::thread::id thread;
  };
  Note note;
  const GuiThread gui;
  note.value = 7;
  post_to_gui(
      [](void* data) {
        take_hand_over();
        auto* given = static_cast<Note*>(data);
        given->times += given->value == 7 ? 1 : 100;
        given->thread = std::this_thread::get_id();
        return 0;
      },
      &note);
  std::thread::id loop;
  GuiThread::run([&] { loop = std::this_thread::get_id(); });
  EXPECT_EQ(note.times, 1);
  EXPECT_EQ(note.thread, loop);
  EXPECT_NE(note.thread, std::this_thread::get_id());
}

TEST(Posts, RunInTheirOrder) {
  static std::string order;
  const GuiThread gui;
  for (int (*post)(void*) : {+[](void*) { return order += "a", 0; }, +[](void*) { return order += "b", 0; }})
    post_to_gui(post, nullptr);
  GuiThread::run([] {});
  EXPECT_EQ(order, "ab");
}

int never(void*) { return 1; }

bool runs(int id) { return g_main_context_find_source_by_id(nullptr, static_cast<guint>(id)) != nullptr; }

TEST(ProgressTimeout, EndsOnceAndMayHaveEnded) {
  const int id = static_cast<int>(g_timeout_add(200, never, nullptr));
  ASSERT_TRUE(runs(id));
  remove_progress_timeout(id);
  EXPECT_FALSE(runs(id));
  // GLib would complain about an unknown source.
  g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
  remove_progress_timeout(id);
}

TEST(ProgressTimeout, MayNeverHaveBegun) {
  g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
  remove_progress_timeout(0);
}

TEST(ProgressTimeout, MayBeEndedFromTheWorker) {
  const GuiThread gui;
  const int id = static_cast<int>(g_timeout_add(1, never, nullptr));
  remove_progress_timeout(id);
  GuiThread::run([&] { EXPECT_FALSE(runs(id)); });
}

// It may end itself at any moment, and is freed then.
TEST(ProgressTimeout, IsEndedByTheThreadThatRunsIt) {
  std::atomic<std::thread::id> ended_by{};
  const GuiThread gui;
  std::thread::id loop;
  GuiThread::run([&] { loop = std::this_thread::get_id(); });
  const guint id = g_timeout_add_full(G_PRIORITY_DEFAULT, 1, never, &ended_by, [](gpointer by) {
    *static_cast<std::atomic<std::thread::id>*>(by) = std::this_thread::get_id();
  });
  remove_progress_timeout(static_cast<int>(id));
  GuiThread::run([] {});
  EXPECT_EQ(ended_by.load(), loop);
}

int at_once(void*) { return 0; }

TEST(ProgressTimeout, MayEndItselfWhileTwoThreadsEndIt) {
  g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
  const GuiThread gui;
  for (int round = 0; round < 300; ++round) {
    const int id = static_cast<int>(g_timeout_add(0, at_once, nullptr));
    std::thread other([=] { remove_progress_timeout(id); });
    remove_progress_timeout(id);
    other.join();
    GuiThread::run([&] { EXPECT_FALSE(runs(id)); });
  }
}

}  // namespace
