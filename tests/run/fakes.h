// The GUI thread's side of a run, without GTK: marks and dialogs are written down instead of shown.
#ifndef BRINDLE_TESTS_RUN_FAKES_H
#define BRINDLE_TESTS_RUN_FAKES_H

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// What was posted, in order: a mark and its result ("image_1", 0), or a callback's name and 0.
using Posts = std::vector<std::pair<std::string, int>>;
const Posts& posts();

/// The last result of each mark.
std::map<std::string, int> marks();

/// How many times the callback `name` was posted.
int times_posted(const std::string& name);

/// Called when the dialog `name` is asked for; by default its flag is cleared at once.
void when_shown(const std::string& name, std::function<void()> answer);

/// Runs what is queued for the GUI thread.
void drain_posts();

/// Runs `body` on a thread of its own and the queue on this one until the body is done.
void run_as_worker(const std::function<void()>& body);

#endif
