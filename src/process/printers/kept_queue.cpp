#include "process/printers/kept_queue.h"

#include <cstdio>
#include <optional>

#include "keep/keep.h"
#include "things/queue.h"

namespace {

using keep::Kind;

constexpr const char* the_default = "-";  // there is only one

bool told(const std::string& what, const std::string& error) {
  std::fprintf(stderr, "%s could not be kept as it is, so it stays and is not changed: %s\n", what.c_str(),
               error.c_str());
  return false;
}

bool keep_files(const std::string& queue) {
  const std::string folder = keep::folder_of_run();
  std::string error;
  return folder.empty() || things::keep_queue(queue, folder + "/queues", error) ||
         told("print queue " + queue, error);
}

}  // namespace

QueueChange QueueChange::of(const std::string& queue) {
  if (!things::print_server_answers()) return {true};
  std::string error;
  const std::optional<std::string> state = things::queue_state(queue, error);
  if (!state) return {told("print queue " + queue, error)};
  if (!keep::before_change_of(Kind::queue, queue, *state) || !keep_files(queue)) return {false};
  return {true, queue, false};
}

QueueChange QueueChange::of_default() {
  if (!things::print_server_answers()) return {true};
  std::string error;
  const std::optional<std::string> state = things::default_queue_state(error);
  if (!state) return {told("the default print queue", error)};
  if (!keep::before_change_of(Kind::default_queue, the_default, *state)) return {false};
  return {true, the_default, true};
}

void QueueChange::over() const {
  if (listed_as_.empty()) return;
  std::string error;
  const auto state =
      is_default_ ? things::default_queue_state(error) : things::queue_state(listed_as_, error);
  if (state) keep::now_is(is_default_ ? Kind::default_queue : Kind::queue, listed_as_, *state);
}
