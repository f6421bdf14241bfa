// The file that chpasswd reads a new account's first password from: ~/pass.
//
// chpasswd sets the password of whomever the file names, the superuser's too. So it must never read a file
// that somebody else has put there, an archive of an earlier run for instance.
#ifndef BRINDLE_PROCESS_RUN_PASSWORD_FILE_H
#define BRINDLE_PROCESS_RUN_PASSWORD_FILE_H

#include <cstdint>
#include <functional>
#include <string>

enum class PasswordFile : std::uint8_t {
  written,      ///< whole, new, and readable by its owner alone
  not_allowed,  ///< the name would set somebody else's password, or the superuser's
  no_home,      ///< there is no folder to write it in
  in_the_way,   ///< something lies there and stays
  not_written,  ///< the disk did not take all of it, or would not; nothing of it is left
};

/// Writes the line "LOGIN:LOGIN" to a new file at `path`. `errno` tells why it is not there.
PasswordFile write_password_file(const std::string& path, const std::string& login);

/// Runs `commands` where the folder `home` is seen empty and takes no file, whoever owns it: a reader of a
/// file in it fails, and nothing in it can be removed. Everything else of the machine is as it is. False,
/// with errno set and without running them, when that view of the machine cannot be had.
[[nodiscard]] bool run_with_empty_home(const std::string& home, const std::function<void()>& commands);

#endif
