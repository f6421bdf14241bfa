// What one run keeps and lists: the work behind keep.h.
#ifndef BRINDLE_KEEP_KEEPING_H
#define BRINDLE_KEEP_KEEPING_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "keep/list.h"
#include "keep/made_trees.h"
#include "keep/paths.h"
#include "keep/store.h"
#include "keep/where.h"
#include "place/entry.h"

namespace keep {

/// All that is kept and made between begin_run and end_run.
class Keeping {
 public:
  Keeping(const std::string& home, std::string date_time)
      : homes_(home, made_), date_time_(std::move(date_time)) {}

  // The row that says what this run is.
  void is(const Row& row, bool may_go_on) {
    head_ = row;
    may_go_on_ = may_go_on;
  }

  void go_on(const std::vector<Row>& rows);

  bool is_nobodys(const std::string& path) const;

  std::optional<Where> find(const std::string& path) { return homes_.find(path); }
  std::optional<Where> find_end(const std::string& path) { return homes_.find_end(path); }
  bool change(const std::string& path);
  bool removal(const std::string& path);
  bool copy(const std::string& from, const std::string& to);
  bool copy_as(const std::string& from, const std::string& to);
  bool adding(const std::string& path);
  bool program(const std::string& path);
  bool attributes(const std::string& path, const std::function<bool(place::Entry& entry)>& change);
  bool reading(const std::string& path);
  bool new_home(const std::string& path);
  bool thing(Kind kind, const std::string& name, const std::string& before);
  void thing_is(Kind kind, const std::string& name, const std::string& became);
  bool take(const std::string& path);
  // Whether anything was written down of which it is not told yet what became of it.
  bool has_news() const { return !(pending_.empty() && copied_.empty() && names_.empty()); }
  void settle();
  void begin_to_settle();
  void end();
  std::string folder() const;

 private:
  // Thousands may be copied into one folder.
  struct Names {
    Home* home;
    std::string joined;  // each with a / behind it
  };
  struct Pending {
    Home* home;
    std::string before;
  };

  Store* store_of(const Where& where) { return open_store(*where.home); }
  Store* open_store(const Home& home);
  bool begin_list(Store& list, const Home& home, const std::string& before);

  bool is_known(const Where& where) const { return known_.has(where.path) || is_in_made(where.path); }
  // Its first state is kept: nothing that is there later may take its place, nor be held against it.
  bool is_copied(const Where& where) const { return known_.has(where.path) && !not_copied_.has(where.path); }
  bool is_in_made(const std::string& path) const { return is_in(made_, path); }

  bool change(const std::string& path, int links_left);
  bool change_folder_of(const Where& where);
  bool made(Where where);
  bool folder_there(const Where& where, const place::Entry& entry);
  bool file_there(const Where& where, const place::Entry& entry, bool with_copy);
  bool behind_link(const Where& where, const place::Entry& entry, int links_left);
  bool merge(const std::string& from, const Where& to);
  bool merge_entries(const std::string& from, const std::string& to, bool with_hidden);
  bool has_same_content(const std::string& from, const Where& to) const;
  bool removal(const Where& where);
  bool program(const Where& where);
  bool program_file(const Where& where);
  bool changes_only_below(const Where& where, const std::function<bool(place::Entry& entry)>& change_of);
  bool attributes(const Where& where, const std::function<bool(place::Entry& entry)>& change);
  bool write(const Where& where, const Row& row);
  void pend(const Where& where, std::string before);

  void settle_one(const Where& where, const std::string& before);
  void settle_old(const Where& where, const std::string& before);
  void settle_made(const Where& where, std::string names = "", std::vector<Where> above = {});
  std::vector<Where> made_folders_above(const Where& where) const;
  void settle_copied(const Where& folder, std::string names);
  void settle_names(const Where& where, const Paths& there);
  void drop_if_same(const Where& where, const std::string& before, const place::Entry& now);
  void write_later(const Where& where, Row row);
  void write_settled();
  bool refused(const std::string& path, const char* why = nullptr) const;

  Paths made_;  // by the run, with all in them
  Homes homes_;
  std::string date_time_;
  Row head_;
  bool may_go_on_ = false;
  std::map<std::string, Store> stores_;     // by home
  Paths known_;                             // have a row
  Paths not_copied_;                        // have a row and no copy, since their content was to stay
  std::map<std::string, Pending> pending_;  // by path
  std::map<std::string, Names> copied_;     // new names, by the folder that they are copied into
  std::map<std::string, std::pair<Where, Paths>> names_;  // folders to which things are added
  std::map<Store*, std::vector<Row>> settled_;            // not yet written
  bool was_known_ = false;                                // something in to_read_ that was there once
  std::vector<MadeTree> to_read_;                         // by made_trees_, at the end of settle
  MadeTrees made_trees_;                                  // last: it uses the stores and homes
};

}  // namespace keep

#endif
