// The code pages in which Windows writes the names of a zip that says nothing about their character set.
#ifndef BRINDLE_PROCESS_ARCHIVE_CODE_PAGE_H
#define BRINDLE_PROCESS_ARCHIVE_CODE_PAGE_H

#include <optional>
#include <string>

/// The DOS code page of a Windows in the language of `locale` ("de_DE.UTF-8", "ja"), under its name for
/// iconv. Windows packs with it whatever else it uses. That of the United States for an unknown language.
const char* dos_code_page(const std::string& locale);

/// True when `text`, which is UTF-8, looks like words of another script than the Latin one beside its ASCII:
/// letters only, no box, mark or currency, and no capital right behind a small one.
bool looks_like_words(const std::string& text);

/// `text` converted between two character sets of iconv; no value when a character of it does not convert or
/// a set is not known.
std::optional<std::string> converted(const std::string& text, const char* from, const char* to);

#endif
