// An archive and a home for the tests of the account.
#ifndef BRINDLE_TESTS_ACCOUNT_SCENE_H
#define BRINDLE_TESTS_ACCOUNT_SCENE_H

#include <algorithm>
#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "account/archive/archive.h"
#include "account/kinds/case.h"
#include "account/kinds/register.h"
#include "account/model/tally.h"

/// Writes a zip with those entries, in that order; a name that ends with a slash is a folder. Ends the test
/// program when that fails. With a password every entry is encrypted.
void write_zip(const std::string& path, const std::vector<std::pair<std::string, std::string>>& entries,
               const char* password = nullptr);

/// One person's archive on one system. Home is /home/ann, fresh; fill it with write_file (support/files.h).
class Scene {
 public:
  using Entries = std::vector<std::pair<std::string, std::string>>;

  /// Names in `entries` are below "Brindle/".
  Scene(account::System system, const Entries& entries, const char* password = nullptr);

  /// What the account says of one kind.
  account::Tally look(account::Kind kind) const;

  account::Person person;
  bool several = false;
  bool as_root = true;

 private:
  account::System system_;
  std::unique_ptr<account::Archive> archive_;
};

/// "found unchanged changed elsewhere missing", as in the table: "3 1 1 0 1".
std::string numbers(const account::Tally& tally);

/// Names of what is missing with the names of the causes' texts in English, "name: text" each, sorted.
std::vector<std::string> missing_names(const account::Tally& tally);

#endif
