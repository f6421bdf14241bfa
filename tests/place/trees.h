// A folder of the test's own, and everything that can be seen of a tree.
#ifndef BRINDLE_TESTS_PLACE_TREES_H
#define BRINDLE_TESTS_PLACE_TREES_H

#include <grp.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "calls.h"
#include "place/entry.h"
#include "support/commands.h"
#include "support/files.h"

/// Everything that can be seen of a tree at `path`: of each entry all that there is, of files a sum as well.
inline std::string seen(const std::string& path) {
  const std::string sorted = " -print0 | LC_ALL=C sort -z | xargs -0r ";
  return output_of("cd " + path + " && find . \\( -type d -printf '%P %y %m %U %G %T@\\n' -o -printf " +
                   "'%P %y %m %U %G %T@ %n %s %l\\n' \\) | LC_ALL=C sort; find . \\( -type "
                   "b -o -type c \\)" +
                   sorted + "stat -c '%n %t %T'; find . -type f" + sorted + "md5sum; find ." + sorted +
                   "getfattr --absolute-names -hd -m - 2>/dev/null");
}

/// Whether `work` is true in a process of the person with the number `uid`, who is in no further group.
inline bool as_person_of(uid_t uid, const std::function<bool()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    const bool is_done = setgroups(0, nullptr) == 0 && setresgid(uid, uid, uid) == 0 &&
                         setresuid(uid, uid, uid) == 0 && work();
    _exit(is_done ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

inline bool as_person(const std::function<bool()>& work) { return as_person_of(1234, work); }

/// A test with an empty folder /tmp/top.
struct Below : testing::Test {
  Below() : top((shell_quietly("rm -rf /tmp/top; mkdir /tmp/top"), place::open_top("/tmp/top"))) {}

  place::Spot spot(const std::string& path) const { return place::spot_beneath(top.number(), path); }
  bool copy(const std::string& from, const std::string& to) const {
    return place::copy_entry(spot(from), spot(to));
  }
  place::Entry look(const std::string& path, place::Content content = place::Content::read) const {
    return place::look_beneath(top.number(), path, content).value();
  }
  /// Runs `text` in the folder.
  static void prepare(const std::string& text) {
    ASSERT_EQ(shell_quietly("set -e; cd /tmp/top; " + text), 0) << text;
  }
  /// What the folder holds.
  static std::string listed(const std::string& folder = ".") {
    return output_of("cd /tmp/top/" + folder + " && ls -A");
  }

  ~Below() override { forget_answers(); }

  Descriptor top;
};

#endif
