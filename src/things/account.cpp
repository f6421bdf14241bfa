#include "things/account.h"

#include <lastlog.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utmpx.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string_view>
#include <vector>

#include "things/lines.h"
#include "things/nothing.h"
#include "things/program.h"

namespace things {

namespace {

using Lines = std::vector<std::string>;

std::string joined(const Lines& parts, const char* between) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : between) + part;
  return text;
}

/// The field `at` of a line of /etc/passwd and its kin.
std::string field(const std::string& line, std::size_t at) {
  const Lines fields = parts_of(line, ':');
  return at < fields.size() ? fields[at] : "";
}

/// The lines of a file below /etc. Missing ones have none, but for those that every system has.
std::optional<Lines> lines_in(const std::string& path, bool is_needed, std::string& error) {
  std::ifstream file(path);
  if (!file && errno == ENOENT && !is_needed) return Lines{};
  Lines lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  if (file.eof()) return lines;
  error = path + ": " + std::strerror(errno);
  return std::nullopt;
}

/// The lines of `path` whose first field is `name`.
std::optional<Lines> lines_named(const std::string& name, const std::string& path, bool is_needed,
                                 std::string& error) {
  std::optional<Lines> lines = lines_in(path, is_needed, error);
  if (lines) std::erase_if(*lines, [&](const std::string& line) { return !line.starts_with(name + ":"); });
  return lines;
}

// ---- Logins as text -------------------------------------------------------------------------------------

/// An account's lines, by the word in front: "groups" has the names, the others have whole lines.
using Account = std::map<std::string, Lines>;

constexpr std::array line_files = {"passwd", "shadow", "subuid", "subgid"};
constexpr std::array words = {"passwd", "shadow", "groups", "subuid", "subgid"};

std::optional<Lines> groups_with(const std::string& login, std::string& error) {
  const std::optional<Lines> lines = lines_in("/etc/group", true, error);
  if (!lines) return std::nullopt;
  Lines names;
  for (const std::string& line : *lines) {
    const Lines members = parts_of(field(line, 3), ',');
    if (std::ranges::find(members, login) != members.end()) names.push_back(field(line, 0));
  }
  std::ranges::sort(names);
  return names;
}

std::optional<Account> read_account(const std::string& login, std::string& error) {
  Account account;
  for (const std::string file : line_files) {
    const bool is_needed = file == "passwd" || file == "shadow";
    std::optional<Lines> lines = lines_named(login, "/etc/" + file, is_needed, error);
    if (!lines) return std::nullopt;
    account[file] = std::move(*lines);
  }
  std::optional<Lines> groups = groups_with(login, error);
  if (!groups) return std::nullopt;
  account["groups"] = std::move(*groups);
  return account;
}

std::string text_of(const Account& account) {
  if (account.at("passwd").empty()) return nothing;
  Lines lines;
  for (const std::string word : words) {
    if (word == "groups") {
      lines.push_back(joined({word, joined(account.at(word), " ")}, " "));
    } else {
      for (const std::string& line : account.at(word)) lines.push_back(word + " " + line);
    }
  }
  return joined(lines, "\n");
}

/// No value for a text that is none of an account of the name `login`.
std::optional<Account> account_from(const std::string& login, const std::string& state) {
  Account account;
  for (const char* word : words) account[word] = {};
  for (const std::string& line : lines_of(state)) {
    std::string_view rest = line;
    const std::string word = take_word(rest);
    if (!account.contains(word)) return std::nullopt;
    if (word != "groups") account[word].emplace_back(rest);
    if (word == "groups" && !rest.empty()) account[word] = parts_of(rest, ' ');
    if (word != "groups" && !rest.starts_with(login + ":")) return std::nullopt;
  }
  const bool is_whole = account["passwd"].size() == 1 && account["shadow"].size() == 1;
  return is_whole ? std::optional(std::move(account)) : std::nullopt;
}

// ---- Giving back ----------------------------------------------------------------------------------------

/// A login's name in front of an option's value must not be one itself.
bool can_be_login(const std::string& login) {
  return !login.empty() && login.front() != '-' && login.find_first_of(":\n/ ") == login.npos;
}

bool run(const Lines& program, std::string& error) { return run_program(program, "", error); }

struct Passwd {
  explicit Passwd(const std::string& line)
      : uid(field(line, 2)),
        gid(field(line, 3)),
        comment(field(line, 4)),
        home(field(line, 5)),
        shell(field(line, 6)) {}
  std::string uid, gid, comment, home, shell;
};

// useradd would give further ids of its own choice.
bool make_login(const std::string& login, const Passwd& wanted, std::string& error) {
  return run({"useradd", "--no-create-home", "--no-user-group", "-K", "SUB_UID_COUNT=0", "-K",
              "SUB_GID_COUNT=0", "--uid", wanted.uid, "--gid", wanted.gid, "--comment", wanted.comment,
              "--home-dir", wanted.home, "--shell", wanted.shell, "--", login},
             error);
}

bool give_passwd(const std::string& login, const std::string& line, std::string& error) {
  const Passwd wanted(line);
  return run({"usermod", "--gid", wanted.gid, "--comment", wanted.comment, "--home", wanted.home, "--shell",
              wanted.shell, "--", login},
             error);
}

bool give_groups(const std::string& login, const Lines& groups, std::string& error) {
  return run({"usermod", "--groups", joined(groups, ","), "--", login}, error);
}

std::string or_none(const std::string& number) { return number.empty() ? "-1" : number; }

// The hash first: chpasswd writes today's date.
bool give_shadow(const std::string& login, const std::string& line, std::string& error) {
  return run_program({"chpasswd", "--encrypted"}, login + ":" + field(line, 1) + "\n", error) &&
         run({"chage", "--lastday", or_none(field(line, 2)), "--mindays", or_none(field(line, 3)),
              "--maxdays", or_none(field(line, 4)), "--warndays", or_none(field(line, 5)), "--inactive",
              or_none(field(line, 6)), "--expiredate", or_none(field(line, 7)), "--", login},
             error);
}

/// "100000-165535" of a line of /etc/subuid.
std::string range_of(const std::string& line) {
  const unsigned long begin = std::strtoul(field(line, 1).c_str(), nullptr, 10);
  const unsigned long count = std::strtoul(field(line, 2).c_str(), nullptr, 10);
  return std::to_string(begin) + "-" + std::to_string(begin + count - 1);
}

bool give_ranges(const std::string& login, const Lines& wanted, const Lines& now, const std::string& kind,
                 std::string& error) {
  for (const std::string& line : now)
    if (!run({"usermod", "--del-" + kind, range_of(line), "--", login}, error)) return false;
  for (const std::string& line : wanted)
    if (!run({"usermod", "--add-" + kind, range_of(line), "--", login}, error)) return false;
  return true;
}

/// What differs between the two; the login is there.
bool give_lines(const std::string& login, Account& wanted, Account& now, std::string& error) {
  const bool same_id = field(wanted["passwd"][0], 2) == field(now["passwd"][0], 2);
  if (!same_id) error = "another login has its name";
  return same_id && (wanted["passwd"] == now["passwd"] || give_passwd(login, wanted["passwd"][0], error)) &&
         (wanted["groups"] == now["groups"] || give_groups(login, wanted["groups"], error)) &&
         (wanted["shadow"] == now["shadow"] || give_shadow(login, wanted["shadow"][0], error)) &&
         (wanted["subuid"] == now["subuid"] ||
          give_ranges(login, wanted["subuid"], now["subuid"], "subuids", error)) &&
         (wanted["subgid"] == now["subgid"] ||
          give_ranges(login, wanted["subgid"], now["subgid"], "subgids", error));
}

bool give_account_lines(const std::string& login, Account wanted, std::string& error) {
  std::optional<Account> now = read_account(login, error);
  if (now && (*now)["passwd"].empty()) {
    if (!make_login(login, Passwd(wanted["passwd"][0]), error)) return false;
    now = read_account(login, error);
  }
  return now && give_lines(login, wanted, *now, error);
}

bool is_now(const std::optional<std::string>& now, const std::string& state, std::string& error) {
  if (now && *now != state) error = "it could not be made as it was";
  return now == state;
}

// ---- Who uses a login -----------------------------------------------------------------------------------

bool is_logged_in(const std::string& login) {
  bool found = false;
  setutxent();
  while (const utmpx* entry = getutxent())
    found =
        found || (entry->ut_type == USER_PROCESS &&
                  login == std::string_view(entry->ut_user, strnlen(entry->ut_user, sizeof entry->ut_user)));
  endutxent();
  return found;
}

/// Whether the records of logins have one of `login` since the time; no value when they cannot be read.
std::optional<bool> has_logged_in(const std::string& login, std::time_t since) {
  std::ifstream file("/var/log/wtmp", std::ios::binary);
  if (!file) return errno == ENOENT ? std::optional(false) : std::nullopt;
  utmpx entry{};
  while (file.read(reinterpret_cast<char*>(&entry), sizeof entry)) {
    const std::string_view user(entry.ut_user, strnlen(entry.ut_user, sizeof entry.ut_user));
    if (entry.ut_type == USER_PROCESS && user == login && entry.ut_tv.tv_sec >= since) return true;
  }
  return false;
}

std::optional<bool> has_last_login(uid_t uid, std::time_t since) {
  std::ifstream file("/var/log/lastlog", std::ios::binary);
  if (!file) return errno == ENOENT ? std::optional(false) : std::nullopt;
  lastlog entry{};
  file.seekg(static_cast<std::streamoff>(uid) * static_cast<std::streamoff>(sizeof entry));
  if (!file.read(reinterpret_cast<char*>(&entry), sizeof entry)) return false;
  return entry.ll_time != 0 && entry.ll_time >= since;
}

bool is_process_of(const std::filesystem::path& folder, const std::string& uid) {
  std::ifstream status(folder / "status");
  for (std::string line; std::getline(status, line);) {
    if (!line.starts_with("Uid:")) continue;
    std::istringstream ids(line.substr(4));
    for (std::string id; ids >> id;)
      if (id == uid) return true;
  }
  return false;
}

bool runs_process(const std::string& uid) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", error))
    if (std::isdigit(static_cast<unsigned char>(entry.path().filename().c_str()[0])) != 0 &&
        is_process_of(entry.path(), uid))
      return true;
  return false;
}

bool holds_something(const std::string& path) {
  struct stat found {};
  return stat(path.c_str(), &found) == 0 && found.st_size > 0;
}

}  // namespace

std::optional<std::string> account_state(const std::string& login, std::string& error) {
  if (!can_be_login(login)) return nothing;
  const std::optional<Account> account = read_account(login, error);
  return account ? std::optional(text_of(*account)) : std::nullopt;
}

std::string use_of_account(const std::string& login, std::time_t since) {
  std::string error;
  const std::optional<Account> account = read_account(login, error);
  if (!account) return error;
  if (account->at("passwd").empty()) return {};
  const std::string uid = field(account->at("passwd")[0], 2);
  if (is_logged_in(login)) return "it is logged in";
  const auto logged_in = has_logged_in(login, since);
  const auto last_login = has_last_login(static_cast<uid_t>(std::strtoul(uid.c_str(), nullptr, 10)), since);
  if (!logged_in || !last_login) return "the records of logins cannot be read";
  if (*logged_in || *last_login) return "it has been logged in with";
  if (runs_process(uid)) return "it runs programs";
  if (holds_something("/var/mail/" + login)) return "it has mail";
  if (holds_something("/var/spool/cron/crontabs/" + login)) return "it has a crontab";
  return {};
}

bool give_account(const std::string& login, const std::string& state, std::string& error) {
  const std::optional<std::string> now = account_state(login, error);
  if (!now || *now == state) return now.has_value();
  if (state == nothing)
    return run({"userdel", "--", login}, error) && is_now(account_state(login, error), state, error);
  const std::optional<Account> wanted = account_from(login, state);
  if (!wanted || !can_be_login(login)) return error = "it is no state of a login", false;
  return give_account_lines(login, *wanted, error) && is_now(account_state(login, error), state, error);
}

std::optional<std::string> group_state(const std::string& name, std::string& error) {
  const std::optional<Lines> lines = lines_named(name, "/etc/group", true, error);
  if (!lines) return std::nullopt;
  return lines->empty() ? nothing : "group " + lines->front();
}

bool give_group(const std::string& name, const std::string& state, std::string& error) {
  const std::optional<std::string> now = group_state(name, error);
  if (!now || *now == state) return now.has_value();
  if (state == nothing) return run({"groupdel", "--", name}, error);
  if (!state.starts_with("group " + name + ":")) return error = "it is no state of a group", false;
  if (*now == nothing) return run({"groupadd", "--gid", field(state, 2), "--", name}, error);
  return error = "it is another group, or its members have changed", false;
}

std::string row_of_group(const std::string& name) { return "group " + name; }

}  // namespace things
