// The GUI thread's side of a run, without GTK: marks and dialogs are written down instead of shown.
#ifndef BRINDLE_TESTS_RUN_FAKES_H
#define BRINDLE_TESTS_RUN_FAKES_H

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "state/question.h"

/// What was posted, in order: a mark and its result ("image_1", 0), or a callback's name and 0.
using Posts = std::vector<std::pair<std::string, int>>;
const Posts& posts();

/// What has begun, in order: "image_1", "image_1 for ann" or a phase, such as "getting ready".
const std::vector<std::string>& beginnings();

/// The last result of each mark.
std::map<std::string, int> marks();

/// How many times the callback `name` was posted.
int times_posted(const std::string& name);

/// What the person will do whenever the window of `question` is shown: `answer` runs on the GUI thread, some
/// time after the window was posted, and should close or decline the question as the window does. A question
/// that nobody was going to answer fails the test.
void when_asked(Question& question, std::function<void()> answer);

/// The person presses OK.
void will_close(Question& question);

/// `look` runs on the GUI thread as soon as the wizard could be left after the run.
void when_done(std::function<void()> look);

/// Runs what is queued for the GUI thread.
void drain_posts();

/// Runs `body` on a thread of its own and the queue on this one until the body is done.
void run_as_worker(const std::function<void()>& body);

#endif
