#include "process/printers/usable_queue.h"

#include <cstdio>
#include <optional>
#include <utility>

#include "process/printers/ppd_defaults.h"
#include "things/nothing.h"

namespace {

void say(const std::string& queue, const std::string& what) {
  std::fprintf(stderr, "print queue %s %s\n", queue.c_str(), what.c_str());
}

std::optional<std::string> state_of(const std::string& queue) {
  std::string error;
  std::optional<std::string> state = things::queue_state(queue, error);
  if (!state) say(queue, "cannot be looked at: " + error);
  return state;
}

bool has_driver(const std::string& state) {
  return state != things::nothing && things::state_value(state, "ppd") != "none";
}

std::string device_of(const std::string& state) { return things::state_value(state, "device-uri"); }

bool leads_to(const std::string& state, const std::string& address) {
  return things::without_password(device_of(state)) == things::without_password(address);
}

// What the server says of an address may hold its password.
std::string reason(const std::string& error, const std::string& address) {
  return things::without_password(address) == address ? error : "it does not take the address";
}

// foomatic-configure makes usb:/dev/usb/lp0 of parallel:/dev/usb/lp0. CUPS's own usb: is for other addresses,
// and waits for such a printer for ever.
bool is_turned_into_usb(const std::string& state, const std::string& address) {
  const std::size_t colon = address.find(':');
  return address.starts_with("parallel:") && device_of(state) == "usb" + address.substr(colon);
}

}  // namespace

UsableQueue::UsableQueue(std::string name) : name_(std::move(name)) {
  if (!things::print_server_answers()) return;
  const std::optional<std::string> state = state_of(name_);
  if (!state) return;
  is_looked_at_ = true;
  was_there_ = *state != things::nothing;
  remember(*state);
}

void UsableQueue::remember(const std::string& state) {
  if (!has_driver(state)) return;
  std::string error;
  std::optional<std::string> ppd = things::queue_ppd(name_, error);
  if (!ppd) return say(name_, "cannot be looked at: " + error);
  ppd_ = std::move(*ppd);
  info_ = things::state_value(state, "info");
}

void UsableQueue::after_making(const std::string& address,
                               const std::function<things::Driver()>& find_driver) {
  if (!is_looked_at_) return;
  const std::optional<std::string> state = state_of(name_);
  if (!state) return;
  if (has_driver(*state) && leads_to(*state, address)) {
    remember(*state);
    return give_password(address);
  }
  const bool keeps_driver = has_driver(*state) && is_turned_into_usb(*state, address);
  const things::Driver driver = keeps_driver ? things::Driver() : find_driver();
  std::string error = "its driver is not there";
  if ((!keeps_driver && driver.listed_as.empty() && driver.ppd.empty()) ||
      !things::make_queue(name_, address, driver, error))
    return say(name_, "was not made by its command, and the print server does not make it, either: " +
                          reason(error, address));
  say(name_, keeps_driver ? "was sent to a device that nothing comes out of, and now leads to " + address
                          : "was not made by its command: the print server has made it");
  if (const std::optional<std::string> made = state_of(name_)) remember(*made);
}

// No state tells a password: a command that does nothing has left the one of an earlier run.
void UsableQueue::give_password(const std::string& address) const {
  if (!was_there_ || things::without_password(address) == address) return;
  std::string error;
  const bool given = things::make_queue(name_, address, {}, error);
  say(name_, given
                 ? "was there before: the print server has been given the user and the password of its share"
                 : "was there before, and the print server does not take the user and the password of its "
                   "share once more: " +
                       reason(error, address));
}

void UsableQueue::after_option(const std::string& option) {
  if (!is_looked_at_ || ppd_.empty()) return;
  const std::optional<std::string> state = state_of(name_);
  if (!state || *state == things::nothing) return;
  const bool is_lost = !has_driver(*state);
  if (!is_lost) remember(*state);
  const std::size_t sign = option.find('=');
  const std::string wanted =
      sign == option.npos ? ppd_ : with_default(ppd_, option.substr(0, sign), option.substr(sign + 1));
  if (!is_lost && wanted == ppd_) return;
  const std::string what = is_lost ? "lost its driver by foomatic-configure" : "did not get " + option;
  std::string error;
  if (!things::give_ppd(name_, wanted, info_, error))
    return say(name_, what + ", and the print server does not give it, either: " + error);
  const bool has_more = is_lost && wanted != ppd_;
  say(name_, what + ": the print server has given it" + (has_more ? ", with " + option : ""));
  ppd_ = wanted;
}

void UsableQueue::after_all() const {
  if (!is_looked_at_ || was_there_) return;
  const std::optional<std::string> state = state_of(name_);
  if (!state || device_of(*state) != things::no_device) return;
  std::string error;
  if (things::give_queue(name_, things::nothing, "", error)) {
    say(name_, "led nowhere, so it was removed: nothing prints for its printer");
  } else {
    say(name_, "leads nowhere and could not be removed: " + error);
  }
}
