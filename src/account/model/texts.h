// The account's words in the wizard's language.
#ifndef BRINDLE_ACCOUNT_MODEL_TEXTS_H
#define BRINDLE_ACCOUNT_MODEL_TEXTS_H

#include <map>
#include <string>
#include <string_view>

#include "account/model/kinds.h"

namespace account {

enum class Text {
#define TEXT(name, key, english) name,
#include "account/model/texts.def"
#undef TEXT
};

enum class Cause {
#define CAUSE(name, key, english) name,
#include "account/model/causes.def"
#undef CAUSE
};

/// The language code of the wizard, the first five characters of LC_CTYPE or LANG; empty for none.
std::string language_code(System system);

/// The language that Windows had, as far as it can be told: that of BRINDLE_LOCALE, which the start script
/// sets when it starts the wizard in another language than the person's, else language_code().
std::string language_of_windows(System system);

/// A mark that stands for `text` in the detail of a cause, and is filled with it when the cause is told.
std::string mark_of(Text text);

/// Every word by its key. What a language's file does not have is English.
class Texts {
 public:
  Texts() = default;

  /// Reads the lines of the interface text file `file` whose key begins with "account-". A file that cannot
  /// be read leaves all English.
  explicit Texts(const std::string& file);

  /// `%s` in the text is replaced by `detail`, byte for byte.
  std::string operator()(Text text, std::string_view detail = {}) const;
  /// The same; marks in `detail` are filled.
  std::string operator()(Cause cause, std::string_view detail = {}) const;
  std::string operator()(Kind kind) const;
  std::string operator()(const char* key, const char* english, std::string_view detail) const;

  /// What a person can do about it; empty when there is nothing more to say.
  std::string advice(Cause cause) const;

 private:
  std::string without_marks(std::string_view detail) const;

  std::map<std::string, std::string, std::less<>> lines_;
};

}  // namespace account

#endif
