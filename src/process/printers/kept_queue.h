// Queues as they were before a run changes them, kept for its undo: in the list, and what does not fit there,
// as their PPD files, in the folder "queues" of the kept folder (things/queue.h).
#ifndef BRINDLE_PROCESS_PRINTERS_KEPT_QUEUE_H
#define BRINDLE_PROCESS_PRINTERS_KEPT_QUEUE_H

#include <string>
#include <utility>

/// What commands are about to change at the print server. Without a server they change nothing, and nothing
/// is kept.
class QueueChange {
 public:
  /// Keeps the queue, which may be missing.
  static QueueChange of(const std::string& queue);
  /// Keeps which queue is the server's default.
  static QueueChange of_default();

  /// False, after the reason on standard error, when it cannot be kept: then no command may run.
  bool is_allowed() const { return is_allowed_; }

  /// After the last of the commands: lists what became of it.
  void over() const;

 private:
  QueueChange(bool is_allowed, std::string listed_as = "", bool is_default = false)
      : is_allowed_(is_allowed), listed_as_(std::move(listed_as)), is_default_(is_default) {}

  bool is_allowed_;
  std::string listed_as_;  // empty: not at all
  bool is_default_;
};

#endif
