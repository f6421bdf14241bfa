// What the room `keep` is told before something is written here, and how a change that had to be left is
// told.
#ifndef BRINDLE_SHELL_KEPT_H
#define BRINDLE_SHELL_KEPT_H

#include <cerrno>
#include <string>

/// In errno: what was there could not be kept, so nothing was changed. Standard error has the reason.
inline constexpr int not_kept = ECANCELED;

/// Whether this process may make, replace or write the file that `path` names in the end, as far as rights
/// tell. Where it may not, a command changes nothing, and nothing needs to be kept.
bool can_be_written(const std::string& path);

/// Before a command replaces, removes or makes the file at `path`, in a folder that is there. False, with
/// errno not_kept, when it must not.
[[nodiscard]] bool kept_before_change(const std::string& path);

/// Before the file at `path` is written anew, which changes its time and its folder's even if its content
/// stays. False, with errno not_kept, when it must not.
[[nodiscard]] bool kept_before_writing(const std::string& path);

/// Before the file `from` is copied over the file `to`, or into it if it is a folder. False, with errno
/// not_kept, when it must not.
[[nodiscard]] bool kept_before_copying(const std::string& from, const std::string& to);

/// Before the entries of the folder `from` are copied into `to`: where that is no folder, a single entry
/// takes its place. False, with errno not_kept, when it must not.
[[nodiscard]] bool kept_before_copying_entries(const std::string& from, const std::string& to);

/// Before `ln -s TARGET PLACE`, whose link goes into PLACE if it is a folder, and gets the name `name` there.
/// False, with errno not_kept, when it must not.
[[nodiscard]] bool kept_before_linking(const std::string& name, const std::string& place);

/// Before `chown -R USER PATH`. False, with errno not_kept, when it must not.
[[nodiscard]] bool kept_before_chown(const std::string& user, const std::string& path);

/// The same, when all but the owner lose their rights to what is in it as well.
[[nodiscard]] bool kept_before_closing(const std::string& user, const std::string& path);

#endif
