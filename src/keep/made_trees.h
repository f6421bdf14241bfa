// What a run has made, read beside its next commands, and what became of it written down: reading gigabytes
// that a command has just copied takes a good part of the time that the copying took.
#ifndef BRINDLE_KEEP_MADE_TREES_H
#define BRINDLE_KEEP_MADE_TREES_H

#include <cstddef>
#include <functional>
#include <future>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "keep/list.h"
#include "keep/paths.h"
#include "keep/store.h"
#include "keep/where.h"

namespace keep {

inline constexpr std::size_t most_rows = 1000;  ///< in memory, of thousands

/// What was not there before the run: a file, a folder with all in it, or several of both in one folder.
struct MadeTree {
  Where where;  ///< its home is open
  Store* store;
  std::string names;         ///< of several in the folder `where`, each with a / behind it
  std::vector<Where> above;  ///< the folders made by the run that it lies in, from the inner to the outer
};

/// Of names that each have a / behind them.
void for_each_name(std::string_view joined, const std::function<void(const std::string& name)>& take);

class MadeTrees {
 public:
  MadeTrees() = default;
  MadeTrees(const MadeTrees&) = delete;
  MadeTrees& operator=(const MadeTrees&) = delete;
  ~MadeTrees() { wait(); }

  /// Begins to read them, behind those of earlier calls. Where no thread can be started they are read at
  /// once.
  void read(std::vector<MadeTree> trees);

  /// Until all have been read.
  void wait();

 private:
  void read_now(const std::vector<MadeTree>& trees);
  void tell(const Where& where, Store* store);
  void tell_folder(const Where& where, Store* store);
  std::vector<Where> tell_entries(const Where& where, Store* store);
  void tell_above(const MadeTree& tree);
  void write_later(Store* store, Row row);
  void write_rows();

  Paths told_;                               // folders that have a row
  std::map<Store*, std::vector<Row>> rows_;  // not yet written
  std::future<void> reading_;                // last: it uses the others
};

}  // namespace keep

#endif
