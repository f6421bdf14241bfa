// What Evolution's tests share: a profile's home from the real skeleton, and the real readers of a home.
#ifndef BRINDLE_TESTS_MAIL_EVOLUTION_HOMES_H
#define BRINDLE_TESTS_MAIL_EVOLUTION_HOMES_H

#include <filesystem>
#include <string>

#include "mail/mail_files.h"
#include "state/state.h"
#include "support/commands.h"
#include "support/files.h"

/// The archive's mail data.
inline const std::string archive_root = "/tmp/brindAb12cd/Brindle";
inline const std::string imap_mail = archive_root + "/ImapMail";

/// Makes "ann" the profile being migrated, with a home from the skeleton.
inline void make_profile() {
  isDefaultUser = 0;
  ASSERT_TRUE(assign(cur_user, "ann"));
  ASSERT_EQ(0, shell_quietly("cd " + test_data("../data/skeleton") +
                             " && mkdir -p /home/ann && ./pack /tmp/skeleton.tar . common gnome && "
                             "tar -C /home/ann -xf /tmp/skeleton.tar"));
}

/// Gives the home of the running user Evolution 2's folders.
inline void make_evolution_2() { std::filesystem::create_directories("/root/.evolution/mail/local"); }

/// The value of a key as a real settings daemon of its own reads it from the files in `home`.
inline std::string gconf_value_in(const std::string& home, const std::string& key) {
  return output_of("HOME=" + home + " dbus-run-session -- gconftool-2 --get " + key + " 2>/tmp/gconf.errors");
}

/// What the real evolution-data-server finds in `home`: accounts, contacts, events or tasks.
inline std::string data_server_finds(const std::string& what, const std::string& home) {
  return output_of("HOME=" + home + " dbus-run-session -- " +
                   test_data("mail/evolution/read_data_server.py") + " " + what +
                   " 2>/tmp/data-server.errors | grep -v ^GNOME_KEYRING_CONTROL");
}

#endif
