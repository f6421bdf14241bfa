// The account's words, in the program and in the files of the languages.
#include "account/model/texts.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <vector>

#include "support/files.h"

namespace {

using namespace account;

struct Word {
  std::string key, english;
};

const std::vector<Word> words = {
#define KIND(name, table, key, english) {key, english},
#include "account/model/kinds.def"
#undef KIND
#define CAUSE(name, key, english) {key, english},
#include "account/model/causes.def"
#undef CAUSE
#define TEXT(name, key, english) {key, english},
#include "account/model/texts.def"
#undef TEXT
#define ADVICE(cause, key, english) {key, english},
#include "account/model/advice.def"
#undef ADVICE
#define WARNING(name, level, key, english) {key, english},
#include "account/before/warnings.def"
#undef WARNING
};

// The account's lines of a language's file, in order.
std::vector<std::pair<std::string, std::string>> lines_of(const std::string& path) {
  std::vector<std::pair<std::string, std::string>> lines;
  std::istringstream file(read_file(path));
  for (std::string line; std::getline(file, line);) {
    const std::size_t equals = line.find('=');
    if (line.starts_with("account-")) lines.emplace_back(line.substr(0, equals), line.substr(equals + 1));
  }
  return lines;
}

std::size_t blanks(const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = text.find("%s"); at != std::string::npos; at = text.find("%s", at + 1)) ++count;
  return count;
}

std::vector<std::string> languages() {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(test_data("../data/texts")))
    if (entry.path().filename() != "CMakeLists.txt") files.push_back(entry.path());
  return files;
}

TEST(Words, have_a_key_each_that_no_other_has) {
  std::set<std::string> keys;
  for (const Word& word : words) {
    EXPECT_TRUE(word.key.starts_with("account-")) << word.key;
    EXPECT_TRUE(keys.insert(word.key).second) << word.key;
    EXPECT_NE("", word.english) << word.key;
    EXPECT_LE(blanks(word.english), 1U) << word.key;
    EXPECT_LE(word.key.size() + word.english.size(), 509U) << word.key;
  }
}

TEST(Words, stand_in_the_english_file_as_they_are) {
  const auto lines = lines_of(test_data("../data/texts/en_US"));
  const std::map<std::string, std::string> english(lines.begin(), lines.end());
  EXPECT_EQ(lines.size(), english.size());  // none twice
  for (const Word& word : words) {
    ASSERT_TRUE(english.contains(word.key)) << word.key;
    EXPECT_EQ(word.english, english.at(word.key)) << word.key;
  }
}

TEST(Words, are_whole_in_every_language) {
  for (const std::string& path : languages()) {
    const auto lines = lines_of(path);
    std::map<std::string, std::string> texts(lines.begin(), lines.end());
    for (const Word& word : words) {
      EXPECT_NE("", texts[word.key]) << word.key << " in " << path;
      EXPECT_EQ(blanks(word.english), blanks(texts[word.key])) << word.key << " in " << path;
      texts.erase(word.key);
    }
    for (const auto& [key, text] : texts) ADD_FAILURE() << "nobody asks for " << key << " in " << path;
  }
}

TEST(Words, are_found_by_their_whole_key) {
  write_file("/tmp/texts",
             "account-cause-notthere-not=no\naccount-cause-notthere=Fehlt.\naccount-cause-notthere=again\n"
             "see account-title=no\naccount-person=F\xc3\xbcr %s\naccount-kind-mail\n");
  const Texts texts("/tmp/texts");
  EXPECT_EQ("Fehlt.", texts(Cause::not_there));
  EXPECT_EQ("What arrived", texts(Text::title));
  EXPECT_EQ("Für 100%s", texts(Text::for_person, "100%s"));
  EXPECT_EQ("E-mail messages", texts(Kind::mail));
  EXPECT_EQ("It is not there.", Texts("/tmp/none")(Cause::not_there));
}

TEST(Words, the_language_of_windows_outlives_a_start_in_english) {
  setenv("LANG", "en_US.UTF-8", 1);
  unsetenv("BRINDLE_LOCALE");
  EXPECT_EQ("en_US", language_of_windows(System::xandros));
  setenv("BRINDLE_LOCALE", "", 1);
  EXPECT_EQ("en_US", language_of_windows(System::xandros));
  setenv("BRINDLE_LOCALE", "ru_RU.UTF-8", 1);
  EXPECT_EQ("ru_RU", language_of_windows(System::xandros));
  EXPECT_EQ("en_US", language_code(System::xandros));
}

TEST(Words, in_a_detail_are_of_the_language_as_well) {
  write_file("/tmp/texts",
             "account-field-host=sein Server\naccount-in=bei\naccount-cause-valuediffers=Anders: %s.\n");
  const Texts texts("/tmp/texts");
  EXPECT_EQ("Anders: sein Server.", texts(Cause::value_differs, mark_of(Text::field_host)));
  EXPECT_EQ(
      "Anders: `&` bei sein Server!.",
      texts(Cause::value_differs, "`&` " + mark_of(Text::word_in) + " " + mark_of(Text::field_host) + "!"));
  EXPECT_EQ("The mail program has something else for its login.",
            Texts()(Cause::value_differs, mark_of(Text::field_user)));
  // A person's own values.
  for (const char* own : {"\x1f",
                          "a\x1f"
                          "b\x1f",
                          "\x1f"
                          "account-none\x1f",
                          "account-in"})
    EXPECT_EQ(std::string("Anders: ") + own + ".", texts(Cause::value_differs, own));
  EXPECT_EQ(
      "Anders: a\x1f"
      "bei.",
      texts(Cause::value_differs, "a\x1f" + mark_of(Text::word_in)));
}

TEST(Words, of_advice_belong_to_their_cause) {
  const Texts texts;
  EXPECT_EQ("Start Brindle again as the administrator.", texts.advice(Cause::needs_root));
  EXPECT_EQ("Copy it from the archive.", texts.advice(Cause::preceded));
  EXPECT_EQ("Choose its driver with this desktop's own tool.", texts.advice(Cause::no_driver));
}

TEST(Words, advise_on_every_cause) {
  constexpr Cause causes[] = {
#define CAUSE(name, key, english) Cause::name,
#include "account/model/causes.def"
#undef CAUSE
  };
  for (const Cause cause : causes) EXPECT_NE("", Texts().advice(cause)) << Texts()(cause);
}

}  // namespace
