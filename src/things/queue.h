// Print queues of the CUPS server that this machine uses: states as texts, and given back.
//
// A queue's state, one "key value" a line; a backslash and a line feed in a value are written \\ and \n:
//
//   device-uri parallel:/dev/lp0        without user and password, which the server does not tell
//   info Office
//   location Hall
//   printing yes                        no: it is stopped
//   accepting yes
//   shared no
//   error-policy retry-job
//   op-policy default
//   ppd 8d...f1:20481                   digest and size; "none" for a raw queue
//   default sides two-sided-long-edge   an option that jobs get, one line each, sorted
//
// What such a text cannot hold, the PPD file and the whole address, is kept in a folder of the caller's,
// which for a run is "queues" in its kept folder: NAME.ppd and, of a queue whose address holds a password,
// NAME.uri. The password is known half a minute after the queue was made, when the server has stored it. As
// it is in no state, two that are the same text may differ in it: give_queue gives it in any case.
//
// "No queue" is a state, "nothing"; what cannot be told is no value, with the reason in `error`. Classes
// cannot be told.
#ifndef BRINDLE_THINGS_QUEUE_H
#define BRINDLE_THINGS_QUEUE_H

#include <optional>
#include <string>
#include <vector>

namespace things {

/// Where the jobs of a queue go that was made without an address.
inline constexpr const char* no_device = "file:///dev/null";

/// An address as states have it.
std::string without_password(std::string address);

/// Whether a server can be reached at all. Without one no queue can be told or changed.
bool print_server_answers();

std::optional<std::string> queue_state(const std::string& name, std::string& error);

/// All queues and classes, sorted.
std::optional<std::vector<std::string>> queue_names(std::string& error);

/// Copies what the state of the queue cannot hold into `folder`, which is made, with mode 0700, when it is
/// missing; the files get mode 0600. Files that are there are left: they are of an earlier state, which
/// counts. True when there is nothing to copy, as for a missing queue.
[[nodiscard]] bool keep_queue(const std::string& name, const std::string& folder, std::string& error);

/// Makes, changes or deletes the queue so that queue_state gives `state`, with what keep_queue has copied
/// into `folder`. A queue that has jobs left is not deleted. False, with the reason in `error`, when it is
/// not in that state afterwards; a kept PPD file that is not the one of `state` changes nothing.
[[nodiscard]] bool give_queue(const std::string& name, const std::string& state, const std::string& folder,
                              std::string& error);

/// The value behind `key` in a queue's state; empty for "nothing".
std::string state_value(const std::string& state, const std::string& key);

/// The queue's PPD file; empty for a raw or missing queue, and for one that has lost it.
std::optional<std::string> queue_ppd(const std::string& name, std::string& error);

/// What turns the jobs of a queue into its printer's language.
struct Driver {
  std::string listed_as;  ///< a model of the server's list (lpinfo -m)
  std::string ppd;        ///< or the text of a PPD file; where both are empty a queue keeps what it has
};

/// Makes the queue, or changes it: jobs go to `address`, and it takes and prints them. False, with the reason
/// in `error`, when the server refuses, and for names with a character that shells and file names have a
/// meaning for.
[[nodiscard]] bool make_queue(const std::string& name, const std::string& address, const Driver& driver,
                              std::string& error);

/// Gives the queue this PPD file, and what it is called for people.
[[nodiscard]] bool give_ppd(const std::string& name, const std::string& ppd, const std::string& info,
                            std::string& error);

/// The server's default queue, or "nothing". A person's own, in ~/.cups/lpoptions, is a file.
std::optional<std::string> default_queue_state(std::string& error);

/// Makes the queue `state` the default, or for "nothing" none.
[[nodiscard]] bool give_default_queue(const std::string& state, std::string& error);

}  // namespace things

#endif
