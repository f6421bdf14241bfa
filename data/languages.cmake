# Reads languages.txt: BRINDLE_LANGUAGES are the codes of the text files, BRINDLE_LOCALES_CODE the locales that each
# serves, its own first.
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/languages.txt lines REGEX "^[^#]")
set(BRINDLE_LANGUAGES)
foreach(line IN LISTS lines)
  separate_arguments(codes UNIX_COMMAND "${line}")
  list(GET codes 0 language)
  list(APPEND BRINDLE_LANGUAGES ${language})
  set(BRINDLE_LOCALES_${language} ${codes})
endforeach()
