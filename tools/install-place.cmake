# Looks at the place of an installation before anything is installed.

# The program knows its data by their full paths below /usr/local/brindle, the start command knows the program by its,
# and the driver search is found on the PATH: another prefix would part them. /usr is where a package has its programs;
# the data stay where they are read.
if(NOT CMAKE_INSTALL_PREFIX MATCHES "^/usr(/local)?$")
  message(FATAL_ERROR "Nothing is installed: Brindle reads its files below /usr/local/brindle, so it cannot be "
                      "installed with the prefix ${CMAKE_INSTALL_PREFIX}. To put an installation together "
                      "elsewhere, set DESTDIR.")
endif()
