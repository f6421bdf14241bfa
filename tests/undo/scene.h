// Homes that a migration has gone through, and the program that undoes it.
#ifndef BRINDLE_TESTS_UNDO_SCENE_H
#define BRINDLE_TESTS_UNDO_SCENE_H

#include <ctime>
#include <string>

namespace scene {

struct Ended {
  int status = 0;
  std::string said;  ///< standard output, and standard error behind it
};

/// Runs brindle-undo as root with these words, as a shell reads them, and no terminal.
Ended undo(const std::string& words);

/// The same with another user, or with a terminal on which `typed` is typed.
Ended undo_as(const std::string& login, const std::string& words);
Ended undo_on_terminal(const std::string& words, const std::string& typed);

/// Everything in the folder but the kept things: names, types, modes, owners, times, links, access lists and
/// contents.
std::string tree(const std::string& folder);

/// While it lives, a migration of root, which began at 2026-11-22 01:45:30, or `later` seconds after it.
class Migration {
 public:
  explicit Migration(int later = 0);
  ~Migration();
  Migration(const Migration&) = delete;
  Migration& operator=(const Migration&) = delete;
};

/// Its name, as the program takes it.
inline constexpr const char* first = "2026-11-22-014530";

/// As a migrator does it: says so, then writes, or removes.
void write(const std::string& path, const std::string& text);
void remove(const std::string& path);
void make_folder(const std::string& path);

/// Makes root's home one that was used before, its files with different modes and old times.
void fill_home();

/// Replaces, removes and makes things in the home that fill_home has filled.
void migrate_home();

/// The name of the newest undo in root's home.
std::string newest_undo();

/// The list of root's first migration, or of another run, written by hand.
void write_list(const std::string& rows, const std::string& run = first);

}  // namespace scene

#endif
