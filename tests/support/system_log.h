// The system log of a test: a real /dev/log socket of the view, read by the test.
#ifndef BRINDLE_TESTS_SUPPORT_SYSTEM_LOG_H
#define BRINDLE_TESTS_SUPPORT_SYSTEM_LOG_H

#include <string>
#include <vector>

/// Takes the place of the system logger while it lives.
class SystemLog {
 public:
  SystemLog();
  ~SystemLog();
  SystemLog(const SystemLog&) = delete;
  SystemLog& operator=(const SystemLog&) = delete;

  /// Messages that arrived since the last call, whole datagrams: "<11>Nov 21 ... ident: text".
  std::vector<std::string> messages();

 private:
  int socket_;
};

#endif
