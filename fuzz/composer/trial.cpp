#include "composer/trial.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "shell/programs.h"

namespace {

namespace fs = std::filesystem;

constexpr int patience_ms = 20000;

// Built beside every program that uses it.
fs::path stand_in() { return fs::absolute(program_invocation_name).parent_path() / "dump-words"; }

void make_programs(const fs::path& folder) {
  fs::create_directory(folder);
  fs::copy_file(stand_in(), folder / "dump-words");
  for (const shell::Program& program : shell::programs)
    fs::create_symlink("dump-words", folder / std::string(program.name));
  for (const char* name : {"awk", "tail", "lpinfo"}) fs::create_symlink("dump-words", folder / name);
}

std::string file_named(const std::string& path) {
  return path == "/dev/null" || path.starts_with("pipe:") ? "" : path;
}

std::string taken(std::string& bytes) {
  const std::size_t end = bytes.find('\0');
  const std::string field = bytes.substr(0, end);
  bytes.erase(0, end + 1);
  return field;
}

std::vector<Call> calls_in(std::string bytes) {
  std::vector<Call> calls;
  while (!bytes.empty()) {
    Call call;
    for (int count = std::stoi(taken(bytes)); count > 0; --count) call.words.push_back(taken(bytes));
    call.input = file_named(taken(bytes));
    call.output = file_named(taken(bytes));
    calls.push_back(call);
  }
  std::ranges::sort(calls, {}, &Call::words);
  return calls;
}

// The end of a pipe that everything the shell starts holds as well: at its end of file all have ended.
class Watch {
 public:
  Watch() {
    if (pipe2(ends_.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  }
  ~Watch() {
    close(ends_[0]);
    close_held();
  }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  int held() const { return ends_[1]; }
  void close_held() {
    if (ends_[1] >= 0) close(ends_[1]);
    ends_[1] = -1;
  }
  void wait() {
    close_held();
    pollfd watched{ends_[0], POLLIN, 0};
    if (poll(&watched, 1, patience_ms) != 1) throw std::runtime_error("a command does not end");
  }

 private:
  std::array<int, 2> ends_{-1, -1};
};

pid_t start(const std::vector<std::string>& words, const std::vector<std::string>& variables,
            const std::string& folder, int held) {
  const auto pointers = [](const std::vector<std::string>& texts) {
    std::vector<char*> list;
    for (const std::string& text : texts) list.push_back(const_cast<char*>(text.c_str()));
    list.push_back(nullptr);
    return list;
  };
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int stream : {0, 1, 2})
    posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
  posix_spawn_file_actions_adddup2(&actions, held, 7);
  posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
  std::vector<std::string> argv = words;
  argv[0] = "sh";
  pid_t child = -1;
  const int wrong = posix_spawn(&child, words[0].c_str(), &actions, nullptr, pointers(argv).data(),
                                pointers(variables).data());
  posix_spawn_file_actions_destroy(&actions);
  if (wrong != 0) throw std::runtime_error("cannot start " + words[0]);
  return child;
}

}  // namespace

std::string visible(const std::string& bytes) {
  constexpr const char* digits = "0123456789abcdef";
  std::string text;
  for (const char c : bytes.substr(0, 400)) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7f) {
      text += c;
    } else {
      text.append("\\x").append(1, digits[byte / 16]).append(1, digits[byte % 16]);
    }
  }
  return bytes.size() > 400 ? text + "... (" + std::to_string(bytes.size()) + " bytes)" : text;
}

std::string visible(const std::vector<Call>& calls) {
  std::string text;
  for (const Call& call : calls) {
    for (const std::string& word : call.words) text += "[" + visible(word) + "]";
    if (!call.input.empty()) text += " < [" + visible(call.input) + "]";
    if (!call.output.empty()) text += " > [" + visible(call.output) + "]";
    text += "\n";
  }
  return text;
}

Trial::Trial() {
  std::string pattern = fs::canonical(fs::temp_directory_path()) / "composer.XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary folder");
  top_ = pattern;
  work_ = top_ + "/work";
  fs::create_directory(work_);
  make_programs(top_ + "/bin");
  setenv("LOCPATH", top_.c_str(), 1);
}

Trial::~Trial() {
  std::error_code ignored;
  fs::remove_all(top_, ignored);
}

std::optional<std::string> Trial::make_language(const std::string& encoding) const {
  const std::string name = "composer." + encoding;
  // Its status is also that of its warnings.
  [[maybe_unused]] const int status = std::system(
      ("localedef -c -i POSIX -f " + encoding + " " + top_ + "/" + name + " >/dev/null 2>&1").c_str());
  if (std::setlocale(LC_ALL, name.c_str()) == nullptr) return std::nullopt;
  return name;
}

std::vector<Call> Trial::run(const Shell& shell, const std::string& text) const {
  const std::string words = top_ + "/words";
  std::ofstream(words, std::ios::trunc).close();
  Watch watch;
  const pid_t child = start({shell.file, "-c", text},
                            {"PATH=" + top_ + "/bin", "HOME=" + work_, "WORDS=" + words, "LOCPATH=" + top_,
                             "LC_ALL=" + shell.language, "INNER_SHELL=" + shell.file},
                            work_, watch.held());
  watch.wait();
  waitpid(child, nullptr, 0);
  std::ostringstream bytes;
  bytes << std::ifstream(words, std::ios::binary).rdbuf();
  return calls_in(bytes.str());
}

void Trial::clear() const {
  for (const auto& entry : fs::directory_iterator(work_)) fs::remove_all(entry.path());
}
