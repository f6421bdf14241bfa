#include "process/archive/names.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "process/archive/code_page.h"
#include "process/archive/tree.h"
#include "process/archive/zip.h"
#include "system/windows_text.h"

namespace {

constexpr std::size_t longest_name = 255;   // in bytes, on every file system of Linux
constexpr std::size_t longest_ending = 64;  // what is longer is no file type
constexpr std::size_t longest_path =
    4000;  // in bytes; no command takes more than 4096 with what is before it

bool is_control(char c) { return (static_cast<unsigned char>(c) < ' ') || c == '\x7f'; }

bool is_ascii(std::string_view text) {
  return std::none_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
}

std::size_t longest_part(std::string_view path) {
  std::size_t longest = 0;
  for (std::size_t begin = 0; begin <= path.size();) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    longest = std::max(longest, end - begin);
    begin = end + 1;
  }
  return longest;
}

// A name that unzip writes as it is shown.
bool is_plain(std::string_view name) { return is_ascii(name) && longest_part(name) <= longest_name; }

// ---- From the archive's bytes to a path ------------------------------------------------------------------

// `bytes` are the name in UTF-8, or in the code page of somebody who is not asked. Short words are both: 图
// and сад in their code pages are valid UTF-8, for letters of languages that the code page has no room for.
bool is_rather(const char* code_page, const std::string& bytes) {
  const auto text = converted(bytes, code_page, "UTF-8");
  return text && looks_like_words(*text) && !converted(bytes, "UTF-8", code_page);
}

std::string decoded(const std::string& name, const char* code_page, bool says_so) {
  if (is_ascii(name) || (is_utf8(name) && (says_so || !is_rather(code_page, name)))) return name;
  if (const auto text = converted(name, code_page, "UTF-8")) return *text;
  return converted(name, "CP437", "UTF-8").value_or("");  // which knows every byte
}

// Where the name ends and its ending begins.
std::size_t end_of_stem(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string::npos || dot == 0 || name.size() - dot > longest_ending ? name.size() : dot;
}

// `name` with `mark` before its ending, cut to what a file system takes.
std::string fitted(const std::string& name, const std::string& mark) {
  const std::size_t stem = end_of_stem(name);
  const std::string ending = mark + name.substr(stem);
  std::size_t kept = std::min(stem, longest_name - ending.size());
  while (kept > 0 && kept < stem && (static_cast<unsigned char>(name[kept]) & 0xC0) == 0x80) --kept;
  return name.substr(0, kept) + ending;
}

// As unzip does with a name's ";1".
void drop_version(std::string& name) {
  const std::size_t semicolon = name.rfind(';');
  if (semicolon == std::string::npos) return;
  if (name.find_first_not_of("0123456789", semicolon + 1) == std::string::npos) name.resize(semicolon);
}

// ---- What the archive wants ------------------------------------------------------------------------------

struct Wanted {
  std::uint64_t number;  // in the archive
  std::string path;
  std::uint64_t size;
  std::uint32_t crc;
  bool plain;
  bool encrypted;
  bool settled = false;  // its file is known, or another entry has its place
};

class Restorer {
 public:
  Restorer(const Unpacked& unpacked, const Zip& zip, const std::function<bool()>& stop)
      : unpacked_(unpacked), zip_(zip), tree_(unpacked.folder), stop_(stop) {}

  bool has_work() const {
    for (std::uint64_t number = 0; number < zip_.count(); ++number) {
      if (!is_plain(zip_.name(number))) return true;
      if (unpacked_.encrypted_are_missing && zip_.entry(number).encryption != Encryption::none) return true;
    }
    return false;
  }

  void run() {
    if (!make_staging_folder()) return;
    list_wanted();
    list_found();
    find_by_content();
    find_overwritten();
    move_all();
    take_all();
    for (const std::string& folder : made_folders_) tree_.make_folder(folder);
    remove_empty_folders();
    for (const std::size_t at : kept_out_) take(at);
    tree_.remove_folder(staging_);
  }

 private:
  struct Move {
    std::string from;
    std::size_t wanted;
  };

  // ---- Wanted

  void list_wanted() {
    for (const bool plain : {true, false}) {
      for (std::uint64_t number = 0; number < zip_.count(); ++number)
        if (is_plain(zip_.name(number)) == plain) add_wanted(number, plain);
    }
  }

  void add_wanted(std::uint64_t number, bool plain) {
    const std::string name = separated(number);
    std::string path = path_of(name, plain);
    if (path.empty() || is_too_long(path)) return;
    if (name.ends_with('/')) {
      want_folders_of(path + "/");
      if (!plain) made_folders_.push_back(path);
      return;
    }
    if (!zip_.may_be_file(number)) return;
    const auto owner = owners_.find(path);
    if (owner != owners_.end() &&
        std::strcmp(zip_.name(wanted_[owner->second].number), zip_.name(number)) == 0)
      wanted_[owner->second].settled = true;  // the same name again: the last one wins, as it does with unzip
    else if (owner != owners_.end())
      path = with_number(path);
    want_folders_of(path);
    owners_[path] = wanted_.size();
    const ZipEntry entry = zip_.entry(number);
    wanted_.push_back(
        {number, std::move(path), entry.size, entry.crc, plain, entry.encryption != Encryption::none});
  }

  // The entry's name with folders separated by /.
  std::string separated(std::uint64_t number) const {
    std::string name = decoded(zip_.name(number), unpacked_.code_page,
                               zip_.says_utf8(number) || !zip_.made_on_windows(number));
    if (zip_.made_on_windows(number) && name.find('/') == std::string::npos)
      std::replace(name.begin(), name.end(), '\\', '/');
    return name;
  }

  // Without what leads out of a folder, and as a file system takes it.
  std::string path_of(const std::string& name, bool plain) {
    std::string path;
    for (std::size_t begin = 0; begin < name.size();) {
      const std::size_t end = std::min(name.find('/', begin), name.size());
      std::string part = name.substr(begin, end - begin);
      begin = end + 1;
      std::erase_if(part, is_control);
      if (plain && end == name.size()) drop_version(part);
      if (part.empty() || part == "." || part == "..") continue;
      if (part.size() > longest_name) part = cut(part);
      path += (path.empty() ? "" : "/") + part;
    }
    return path;
  }

  // Each of its folders would be looked up by its whole path.
  bool is_too_long(const std::string& path) {
    if (path.size() <= longest_path) return false;
    const std::string begin = path.substr(0, longest_name) + "...";
    if (told_.insert(begin).second)
      std::fprintf(stderr, "Left out of the migration, its path has more than %zu bytes: %s\n", longest_path,
                   begin.c_str());
    return true;
  }

  std::string cut(const std::string& part) {
    std::string shorter = fitted(part, "");
    if (told_.insert(part).second)
      std::fprintf(stderr, "A name of more than %zu bytes is cut: %s becomes %s\n", longest_name,
                   part.c_str(), shorter.c_str());
    return shorter;
  }

  // A path that no entry has yet.
  std::string with_number(const std::string& path) {
    const std::size_t begin = path.rfind('/') + 1;
    // Those that are the same when they are cut for a number count together.
    int& given = numbers_[path.substr(0, begin) + fitted(path.substr(begin), "~0000000")];
    std::string numbered;
    do {
      const int number = ++given + 1;
      numbered = path.substr(0, begin) + fitted(path.substr(begin), "~" + std::to_string(number));
    } while (owners_.contains(numbered));
    return numbered;
  }

  void want_folders_of(const std::string& path) {
    for (std::size_t slash = path.rfind('/'); slash != std::string::npos && slash > 0;
         slash = path.rfind('/', slash - 1)) {
      if (!folders_.insert(path.substr(0, slash)).second) return;
    }
  }

  // ---- Found

  void list_found() {
    Tree::Contents contents = tree_.contents();
    found_folders_ = std::move(contents.folders);
    for (const std::string& folder : found_folders_) {
      const auto owner = owners_.find(folder);
      if (owner != owners_.end() && wanted_[owner->second].plain) kept_out_.push_back(owner->second);
    }
    for (Tree::File& file : contents.files) {
      const auto owner = owners_.find(file.path);
      if (owner == owners_.end() || !wanted_[owner->second].plain)
        loose_[file.size].push_back(std::move(file.path));
    }
  }

  bool is_missing(const Wanted& wanted) const { return unpacked_.encrypted_are_missing && wanted.encrypted; }

  bool is_looked_for(const Wanted& wanted) const {
    return !wanted.plain && !wanted.settled && !is_missing(wanted);
  }

  // Gives each loose file to an entry of its content.
  void find_by_content() {
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> of_size;
    for (std::size_t at = 0; at < wanted_.size(); ++at)
      if (is_looked_for(wanted_[at])) of_size[wanted_[at].size].push_back(at);
    for (const auto& [size, candidates] : of_size) {
      const auto files = loose_.find(size);
      if (files == loose_.end() || stop_()) continue;
      // One of each needs no look inside.
      if (candidates.size() == 1 && files->second.size() == 1)
        settle(candidates.front(), files->second.front());
      else
        compare(files->second, candidates);
    }
  }

  void compare(const std::vector<std::string>& files, const std::vector<std::size_t>& candidates) {
    // Sets: of empty files an archive may have a hundred thousand.
    std::unordered_map<std::uint32_t, std::set<std::string>> by_content;
    for (const std::string& file : files)
      if (const auto sum = tree_.checksum(file)) by_content[*sum].insert(file);
    // What lies where it belongs stays there, the rest takes any place of its content.
    for (const bool in_place : {true, false}) {
      for (const std::size_t at : candidates) {
        if (wanted_[at].settled) continue;
        std::set<std::string>& same = by_content[wanted_[at].crc];
        const auto file = in_place ? same.find(wanted_[at].path) : same.begin();
        if (file == same.end()) continue;
        settle(at, *file);
        same.erase(file);
      }
    }
  }

  void settle(std::size_t at, const std::string& file) {
    wanted_[at].settled = true;
    if (file != wanted_[at].path) moves_.push_back({file, at});
  }

  // An entry whose file is nowhere may have been written over one with a plain name.
  void find_overwritten() {
    ByContent homeless;
    for (std::size_t at = 0; at < wanted_.size(); ++at)
      if (is_looked_for(wanted_[at])) homeless.emplace(Content{wanted_[at].size, wanted_[at].crc}, at);
    for (std::size_t at = 0; at < wanted_.size() && !homeless.empty(); ++at) {
      const Wanted& plain = wanted_[at];
      if (!plain.plain || plain.settled || is_missing(plain)) continue;
      const auto guest = guest_in(plain, homeless);
      if (guest == homeless.end()) continue;
      settle(guest->second, plain.path);
      homeless.erase(guest);
      overwritten_.push_back(at);
    }
  }

  using Content = std::pair<std::uint64_t, std::uint32_t>;  // size and checksum
  using ByContent = std::multimap<Content, std::size_t>;

  // The homeless entry whose bytes lie in the file of `plain`.
  ByContent::iterator guest_in(const Wanted& plain, ByContent& homeless) const {
    struct stat status {};
    const std::string path = unpacked_.folder + "/" + plain.path;
    if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return homeless.end();
    const auto size = static_cast<std::uint64_t>(status.st_size);
    const auto of_size = homeless.lower_bound({size, 0});
    if (of_size == homeless.end() || of_size->first.first != size) return homeless.end();
    const auto sum = tree_.checksum(plain.path);
    if (!sum || (size == plain.size && *sum == plain.crc)) return homeless.end();
    return homeless.find({size, *sum});
  }

  // ---- Moving and taking

  bool make_staging_folder() {
    std::string made = unpacked_.folder + "/namesXXXXXX";
    if (mkdtemp(made.data()) == nullptr) {
      std::perror(made.c_str());
      return false;
    }
    staging_ = made.substr(unpacked_.folder.size() + 1);
    return true;
  }

  std::string staged(std::size_t at) const { return staging_ + "/" + std::to_string(at); }

  // All aside first: one's place may still be another's.
  void move_all() {
    for (const Move& move : moves_) tree_.move(move.from, staged(move.wanted));
    for (const Move& move : moves_) put_in_place(move.wanted);
  }

  bool put_in_place(std::size_t at) {
    const std::string& path = wanted_[at].path;
    if (tree_.move(staged(at), path)) return true;
    std::fprintf(stderr, "Left out of the migration, it cannot be put in its place: %s: %s\n", path.c_str(),
                 std::strerror(errno));
    tree_.remove_file(staged(at));
    return false;
  }

  void take_all() {
    for (std::size_t at = 0; at < wanted_.size(); ++at)
      if (is_looked_for(wanted_[at]) || (is_missing(wanted_[at]) && !wanted_[at].settled)) take(at);
    for (const std::size_t at : overwritten_) take(at);
  }

  void take(std::size_t at) {
    if (stop_()) return;
    const char* reason = write_from_archive(at);
    if (reason == nullptr) {
      put_in_place(at);
      return;
    }
    tree_.remove_file(staged(at));
    if (!stop_()) std::fprintf(stderr, "It %s: %s\n", reason, wanted_[at].path.c_str());
  }

  // Null, or why not.
  const char* write_from_archive(std::size_t at) const {
    const Descriptor file = tree_.create(staged(at));
    if (!file) return "cannot be written";
    bool written = true;
    const Zip::Reading reading =
        zip_.read(wanted_[at].number, unpacked_.password, [&](std::string_view bytes) {
          written = write(file.number(), bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
          return written && !stop_();
        });
    if (!written) return "cannot be written";
    if (reading != Zip::Reading::whole) return "cannot be read from the archive";
    const std::time_t time = zip_.entry(wanted_[at].number).time;
    const timespec times[] = {{.tv_sec = time, .tv_nsec = 0}, {.tv_sec = time, .tv_nsec = 0}};
    futimens(file.number(), times);
    return nullptr;
  }

  // Those that only wrong names had led to, the inner ones first.
  void remove_empty_folders() {
    std::for_each(found_folders_.rbegin(), found_folders_.rend(), [this](const std::string& folder) {
      if (!folders_.contains(folder)) tree_.remove_folder(folder);
    });
  }

  const Unpacked& unpacked_;
  const Zip& zip_;
  const Tree tree_;
  const std::function<bool()>& stop_;
  std::string staging_;

  std::vector<Wanted> wanted_;
  std::unordered_map<std::string, std::size_t> owners_;  // of each path
  std::unordered_map<std::string, int> numbers_;         // given so far to those that became this path
  std::unordered_set<std::string> folders_;              // that lead to something wanted, or are wanted
  std::vector<std::string> made_folders_;
  std::set<std::string> told_;

  std::unordered_map<std::uint64_t, std::vector<std::string>>
      loose_;  // files nobody owns for certain, by size
  std::vector<std::string> found_folders_;
  std::vector<Move> moves_;
  std::vector<std::size_t> overwritten_;
  std::vector<std::size_t> kept_out_;  // by a folder that a wrong name had led to
};

}  // namespace

void restore_names(const Unpacked& unpacked, const std::function<bool()>& stop) {
  const Zip zip(unpacked.archive);
  if (!zip) {
    std::fprintf(stderr, "The names in the archive stay as they are: %s\n", zip.error().c_str());
    return;
  }
  Restorer restorer(unpacked, zip, stop);
  if (restorer.has_work()) restorer.run();
}
