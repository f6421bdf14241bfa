// The system log of a test: a real /dev/log socket of the view, read by the test.
#ifndef BRINDLE_TESTS_SUPPORT_SYSTEM_LOG_H
#define BRINDLE_TESTS_SUPPORT_SYSTEM_LOG_H

#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

/// Takes the place of the system logger while it lives.
class SystemLog {
 public:
  enum class Reads { beside, when_asked };

  /// Without a thread that reads beside the test it has room for ten messages: for a test that forks.
  explicit SystemLog(Reads reads = Reads::beside);
  ~SystemLog();
  SystemLog(const SystemLog&) = delete;
  SystemLog& operator=(const SystemLog&) = delete;

  /// Messages that arrived since the last call, whole datagrams: "<11>Nov 21 ... ident: text".
  std::vector<std::string> messages();

 private:
  void read_until_told_to_stop();

  int socket_;
  int stop_[2];
  std::mutex guard_;
  std::vector<std::string> messages_;
  std::thread reader_;  // the kernel queues ten messages only, then syslog(3) waits
};

/// Runs `body`, in which the first command that begins with `start` is not run but fails, or a later one when
/// `before` of them are run. Whether the system log tells of it. A body without such a command fails the
/// test.
bool is_failure_logged(const std::string& start, const std::function<void()>& body, int before = 0);

#endif
