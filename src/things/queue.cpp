#include "things/queue.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <string_view>

#include "place/beneath.h"
#include "things/cups_calls.h"
#include "things/lines.h"
#include "things/nothing.h"

namespace things {

namespace {

constexpr int patience = 10000;  // milliseconds
constexpr const char* server_queues = "/etc/cups/printers.conf";
constexpr std::string_view default_suffix = "-default";

using Server = std::unique_ptr<http_t, late::FreedBy<httpClose>>;
using Message = std::unique_ptr<ipp_t, late::FreedBy<ippDelete>>;

Server connect() {
  if (!libcups.load()) return nullptr;
  return Server(
      httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1, patience, nullptr));
}

// ---- Questions and orders -------------------------------------------------------------------------------

std::string uri_of(const std::string& name) {
  std::array<char, HTTP_MAX_URI> uri = {};
  httpAssembleURI(HTTP_URI_CODING_ALL, uri.data(), uri.size(), "ipp", nullptr, "localhost", 0,
                  ("/printers/" + name).c_str());
  return uri.data();
}

Message new_request(ipp_op_t operation) { return Message(ippNewRequest(operation)); }

Message request_for(const std::string& name, ipp_op_t operation) {
  Message request = new_request(operation);
  ippAddString(request.get(), IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri_of(name).c_str());
  ippAddString(request.get(), IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, cupsUser());
  return request;
}

enum class Answer { yes, not_found, no };

Answer answer(std::string& error) {
  if (cupsLastError() == IPP_STATUS_ERROR_NOT_FOUND) return Answer::not_found;
  if (cupsLastError() <= IPP_STATUS_OK_EVENTS_COMPLETE) return Answer::yes;
  error = cupsLastErrorString();
  return Answer::no;
}

Message ask(http_t* server, Message request) {
  return Message(cupsDoRequest(server, request.release(), "/"));
}

/// An order to the server; `file` goes along when it is no null pointer.
bool order(http_t* server, Message request, std::string& error, const char* file = nullptr) {
  const Message reply(cupsDoFileRequest(server, request.release(), "/admin/", file));
  const Answer how = answer(error);
  if (how == Answer::not_found) error = cupsLastErrorString();
  return how == Answer::yes;
}

bool order(http_t* server, const std::string& name, ipp_op_t operation, std::string& error) {
  return order(server, request_for(name, operation), error);
}

Server connect(std::string& error) {
  Server server = connect();
  if (server == nullptr) error = "no print server answers";
  return server;
}

/// cupsd has no queue of another name, and takes such a one for a path or for nothing.
bool can_be_queue(const std::string& name) {
  return !name.empty() && name.size() < 128 && std::ranges::none_of(name, [](char c) {
    return (c > 0 && c <= ' ') || c == 127 || c == '/' || c == '#';
  });
}

// ---- Memory files ---------------------------------------------------------------------------------------

struct Ppd {
  bool is_there = false;
  std::string bytes;
};

std::string bytes_of(int file) {
  std::string bytes;
  std::array<char, 1 << 16> block;
  ssize_t size = 0;
  while ((size = pread(file, block.data(), block.size(), static_cast<off_t>(bytes.size()))) > 0)
    bytes.append(block.data(), static_cast<std::size_t>(size));
  return bytes;
}

std::optional<Ppd> fetch_ppd(http_t* server, const std::string& name, std::string& error) {
  const Descriptor file(memfd_create("ppd", MFD_CLOEXEC));
  const http_status_t status = cupsGetFd(server, ("/printers/" + name + ".ppd").c_str(), file.number());
  if (status == HTTP_STATUS_NOT_FOUND) return Ppd{};
  if (status == HTTP_STATUS_OK) return Ppd{true, bytes_of(file.number())};
  error = std::string("its PPD file cannot be had: ") + httpStatus(status);
  return std::nullopt;
}

std::string digest_of(const std::string& bytes) {
  XXH128_canonical_t canonical;
  XXH128_canonicalFromHash(&canonical, XXH3_128bits(bytes.data(), bytes.size()));
  std::string text;
  for (const unsigned char byte : canonical.digest) {
    constexpr std::string_view digits = "0123456789abcdef";
    text += digits[byte >> 4U];
    text += digits[byte & 15U];
  }
  return text + ":" + std::to_string(bytes.size());
}

// ---- A state as its lines -------------------------------------------------------------------------------

/// Everything in a state's text, by the word or words in front.
struct State {
  std::map<std::string, std::string> values;
  std::map<std::string, std::string> defaults;  ///< by the name of the option
};

// In the order in which they stand.
constexpr std::array keys = {"device-uri", "info",         "location",  "printing", "accepting",
                             "shared",     "error-policy", "op-policy", "ppd"};

std::string text_of(const State& state) {
  std::string text;
  for (const char* key : keys) text += std::string(key) + " " + escaped(state.values.at(key)) + "\n";
  for (const auto& [option, value] : state.defaults)
    text += "default " + option + " " + escaped(value) + "\n";
  text.pop_back();
  return text;
}

std::optional<State> state_from(std::string_view text) {
  State state;
  for (const std::string& whole : lines_of(text)) {
    std::string_view line = whole;
    std::string key = take_word(line);
    auto& place = key == "default" ? state.defaults : state.values;
    if (key == "default") key = take_word(line);
    place[key] = unescaped(line);
  }
  for (const char* key : keys)
    if (!state.values.contains(key)) return std::nullopt;
  return state;
}

// ---- What the server says -------------------------------------------------------------------------------

std::string text_value(ipp_t* reply, const char* name) {
  ipp_attribute_t* attribute = ippFindAttribute(reply, name, IPP_TAG_ZERO);
  const char* text = attribute == nullptr ? nullptr : ippGetString(attribute, 0, nullptr);
  return text == nullptr ? "" : text;
}

int number_value(ipp_t* reply, const char* name) {
  ipp_attribute_t* attribute = ippFindAttribute(reply, name, IPP_TAG_ZERO);
  return attribute == nullptr ? 0 : ippGetInteger(attribute, 0);
}

const char* flag_value(ipp_t* reply, const char* name) {
  ipp_attribute_t* attribute = ippFindAttribute(reply, name, IPP_TAG_BOOLEAN);
  return attribute != nullptr && ippGetBoolean(attribute, 0) != 0 ? "yes" : "no";
}

/// The option whose default the attribute is; empty for another attribute, and for those that belong to the
/// server.
std::string option_of(ipp_attribute_t* attribute) {
  const char* text = ippGetName(attribute);
  const std::string_view name = text == nullptr ? "" : text;
  const ipp_tag_t tag = ippGetValueTag(attribute);
  const bool has_value = tag != IPP_TAG_NOVALUE && tag != IPP_TAG_BEGIN_COLLECTION;
  if (!has_value || !name.ends_with(default_suffix) || name.starts_with("notify-")) return {};
  const std::string_view option = name.substr(0, name.size() - default_suffix.size());
  return std::string(option == "document-format" ? "" : option);
}

std::string whole_value(ipp_attribute_t* attribute) {
  std::string text(ippAttributeString(attribute, nullptr, 0) + 1, '\0');
  ippAttributeString(attribute, text.data(), text.size());
  text.pop_back();
  return text;
}

// What was set for the queue stands in front of what the server and the PPD file say of the same option.
std::map<std::string, std::string> defaults_in(ipp_t* reply) {
  std::map<std::string, std::string> defaults;
  for (ipp_attribute_t* at = ippFirstAttribute(reply); at != nullptr; at = ippNextAttribute(reply))
    if (const std::string option = option_of(at); !option.empty())
      defaults.try_emplace(option, whole_value(at));
  return defaults;
}

constexpr std::array wanted = {"device-uri",
                               "printer-info",
                               "printer-location",
                               "printer-state",
                               "printer-is-accepting-jobs",
                               "printer-is-shared",
                               "printer-error-policy",
                               "printer-op-policy",
                               "printer-type",
                               "printer-defaults"};

State state_in(ipp_t* reply, const Ppd& ppd) {
  State state;
  state.values = {{"device-uri", text_value(reply, "device-uri")},
                  {"info", text_value(reply, "printer-info")},
                  {"location", text_value(reply, "printer-location")},
                  {"printing", number_value(reply, "printer-state") == IPP_PSTATE_STOPPED ? "no" : "yes"},
                  {"accepting", flag_value(reply, "printer-is-accepting-jobs")},
                  {"shared", flag_value(reply, "printer-is-shared")},
                  {"error-policy", text_value(reply, "printer-error-policy")},
                  {"op-policy", text_value(reply, "printer-op-policy")},
                  {"ppd", ppd.is_there ? digest_of(ppd.bytes) : "none"}};
  state.defaults = defaults_in(reply);
  return state;
}

std::optional<std::string> read_state(http_t* server, const std::string& name, std::string& error) {
  if (!can_be_queue(name)) return nothing;
  Message request = request_for(name, IPP_OP_GET_PRINTER_ATTRIBUTES);
  ippAddStrings(request.get(), IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes",
                static_cast<int>(wanted.size()), nullptr, wanted.data());
  const Message reply = ask(server, std::move(request));
  const Answer how = answer(error);
  if (how == Answer::not_found) return nothing;
  if (how == Answer::no) return std::nullopt;
  if ((static_cast<unsigned>(number_value(reply.get(), "printer-type")) & CUPS_PRINTER_CLASS) != 0) {
    error = "it is a class";
    return std::nullopt;
  }
  const std::optional<Ppd> ppd = fetch_ppd(server, name, error);
  if (!ppd) return std::nullopt;
  return text_of(state_in(reply.get(), *ppd));
}

// ---- The address with its password ----------------------------------------------------------------------

/// The queue's address as cupsd has stored it, which is half a minute after a change; empty when it has not.
std::string stored_address(const std::string& name) {
  const std::unique_ptr<cups_file_t, late::FreedBy<cupsFileClose>> file(cupsFileOpen(server_queues, "r"));
  if (file == nullptr) return {};
  std::array<char, 4096> line = {};
  char* value = nullptr;
  int number = 0;
  bool is_inside = false;
  while (cupsFileGetConf(file.get(), line.data(), line.size(), &value, &number) != nullptr) {
    const std::string_view key = line.data();
    if (key == "<Printer" || key == "<DefaultPrinter")
      is_inside = value != nullptr && strcasecmp(value, name.c_str()) == 0;
    if (is_inside && key == "DeviceURI" && value != nullptr) return value;
  }
  return {};
}

// ---- Kept files -----------------------------------------------------------------------------------------

std::string system_error(const std::string& what) { return what + ": " + std::strerror(errno); }

bool write_whole(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t size = write(file, bytes.data(), bytes.size());
    if (size < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(size));
  }
  return true;
}

bool keep_file(const std::string& folder, const std::string& name, const std::string& bytes,
               std::string& error) {
  if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) return error = system_error(folder), false;
  const Descriptor top = place::open_top(folder);
  Descriptor file = place::open_beneath(top.number(), name, O_WRONLY | O_CREAT | O_EXCL, 0600);
  if (!file && errno == EEXIST) return true;
  if (file && write_whole(file.number(), bytes) && file.close()) return true;
  error = system_error(folder + "/" + name);
  if (file) unlinkat(top.number(), name.c_str(), 0);
  return false;
}

std::optional<std::string> kept_file(const std::string& folder, const std::string& name) {
  const Descriptor top = place::open_top(folder);
  const Descriptor file = place::open_beneath(top.number(), name, O_RDONLY);
  if (!file) return std::nullopt;
  return bytes_of(file.number());
}

// ---- Giving back ----------------------------------------------------------------------------------------

bool has_jobs(http_t* server, const std::string& name) {
  cups_job_t* jobs = nullptr;
  const int count = cupsGetJobs2(server, &jobs, name.c_str(), 0, CUPS_WHICHJOBS_ACTIVE);
  cupsFreeJobs(count, jobs);
  return count != 0;
}

bool remove_queue(http_t* server, const std::string& name, std::string& error) {
  if (!has_jobs(server, name)) return order(server, name, IPP_OP_CUPS_DELETE_PRINTER, error);
  error = "it has jobs left";
  return false;
}

std::string address_to_give(const State& state, const std::string& name, const std::string& folder) {
  const std::string& told = state.values.at("device-uri");
  const std::string kept = kept_file(folder, name + ".uri").value_or("");
  return without_password(kept) == told ? kept : told;
}

/// The PPD file to send for `state`: none when the queue has it.
bool choose_ppd(const State& state, const State& now, const std::string& name, const std::string& folder,
                Ppd& ppd, std::string& error) {
  const std::string& digest = state.values.at("ppd");
  if (digest == "none" || digest == now.values.at("ppd")) return true;
  std::optional<std::string> kept = kept_file(folder, name + ".ppd");
  if (!kept || digest_of(*kept) != digest) {
    error = folder + "/" + name + ".ppd is missing or is not its PPD file";
    return false;
  }
  ppd = {true, std::move(*kept)};
  return true;
}

struct Text {
  const char* key;
  const char* attribute;
  ipp_tag_t tag;
};
constexpr std::array texts = {Text{"info", "printer-info", IPP_TAG_TEXT},
                              Text{"location", "printer-location", IPP_TAG_TEXT},
                              Text{"error-policy", "printer-error-policy", IPP_TAG_NAME},
                              Text{"op-policy", "printer-op-policy", IPP_TAG_NAME}};

/// What differs, and the address, whose password the state does not tell.
Message description(const std::string& name, State& state, State& now, const std::string& address) {
  Message request = request_for(name, IPP_OP_CUPS_ADD_MODIFY_PRINTER);
  if (state.values["ppd"] == "none" && now.values["ppd"] != "none")
    ippAddString(request.get(), IPP_TAG_OPERATION, IPP_TAG_NAME, "ppd-name", nullptr, "raw");
  ippAddString(request.get(), IPP_TAG_PRINTER, IPP_TAG_URI, "device-uri", nullptr, address.c_str());
  for (const auto& [key, attribute, tag] : texts)
    if (state.values[key] != now.values[key])
      ippAddString(request.get(), IPP_TAG_PRINTER, tag, attribute, nullptr, state.values[key].c_str());
  if (state.values["shared"] != now.values["shared"])
    ippAddBoolean(request.get(), IPP_TAG_PRINTER, "printer-is-shared",
                  state.values["shared"] == "yes" ? 1 : 0);
  return request;
}

bool send(http_t* server, Message request, const Ppd& ppd, std::string& error) {
  if (!ppd.is_there) return order(server, std::move(request), error);
  const Descriptor file(memfd_create("ppd", 0));
  if (file && write_whole(file.number(), ppd.bytes))
    return order(server, std::move(request), error,
                 ("/proc/self/fd/" + std::to_string(file.number())).c_str());
  error = system_error("its PPD file");
  return false;
}

bool give_defaults(http_t* server, const std::string& name, const State& state, const State& now,
                   std::string& error) {
  if (state.defaults == now.defaults) return true;
  Message request = request_for(name, IPP_OP_CUPS_ADD_MODIFY_PRINTER);
  cups_option_t* options = nullptr;
  int count = 0;
  for (const auto& [option, value] : state.defaults) {
    const auto has = now.defaults.find(option);
    if (has == now.defaults.end() || has->second != value)
      count = cupsAddOption((option + "-default").c_str(), value.c_str(), count, &options);
  }
  cupsEncodeOptions2(request.get(), count, options, IPP_TAG_PRINTER);
  cupsFreeOptions(count, options);
  for (const auto& [option, value] : now.defaults)
    if (!state.defaults.contains(option))
      ippAddInteger(request.get(), IPP_TAG_PRINTER, IPP_TAG_DELETEATTR, (option + "-default").c_str(), 0);
  return order(server, std::move(request), error);
}

bool give_readiness(http_t* server, const std::string& name, State& state, State& now, std::string& error) {
  const bool accepts = state.values["accepting"] == "yes";
  const bool prints = state.values["printing"] == "yes";
  return (state.values["accepting"] == now.values["accepting"] ||
          order(server, name, accepts ? IPP_OP_CUPS_ACCEPT_JOBS : IPP_OP_CUPS_REJECT_JOBS, error)) &&
         (state.values["printing"] == now.values["printing"] ||
          order(server, name, prints ? IPP_OP_RESUME_PRINTER : IPP_OP_PAUSE_PRINTER, error));
}

/// The queue's lines now; empty ones for a queue that is not there.
std::optional<State> lines_now(http_t* server, const std::string& name, std::string& error) {
  const std::optional<std::string> text = read_state(server, name, error);
  if (!text) return std::nullopt;
  State none;
  for (const char* key : keys) none.values[key];
  return *text == nothing ? none : state_from(*text);
}

bool give_lines(http_t* server, const std::string& name, State& state, const std::string& folder,
                std::string& error) {
  std::optional<State> now = lines_now(server, name, error);
  Ppd ppd;
  if (!now || !choose_ppd(state, *now, name, folder, ppd, error)) return false;
  if (!send(server, description(name, state, *now, address_to_give(state, name, folder)), ppd, error))
    return false;
  now = lines_now(server, name, error);  // some are the server's own for a new queue
  return now &&
         send(server, description(name, state, *now, address_to_give(state, name, folder)), {}, error) &&
         give_defaults(server, name, state, *now, error) && give_readiness(server, name, state, *now, error);
}

/// The first line of `state` that is none of `now`.
std::string missing_line(std::string_view state, std::string_view now) {
  const std::vector<std::string> lines = lines_of(now);
  for (const std::string& line : lines_of(state))
    if (std::ranges::find(lines, line) == lines.end()) return line;
  return "no more than that";
}

bool is_in_state(http_t* server, const std::string& name, const std::string& state, std::string& error) {
  const std::optional<std::string> now = read_state(server, name, error);
  if (!now) return false;
  if (*now == state) return true;
  error = "the print server did not take over: " + missing_line(state, *now);
  return false;
}

bool set_default(http_t* server, const std::string& name, std::string& error) {
  return order(server, name, IPP_OP_CUPS_SET_DEFAULT, error);
}

std::optional<std::string> read_default(http_t* server, std::string& error) {
  Message request = new_request(IPP_OP_CUPS_GET_DEFAULT);
  ippAddString(request.get(), IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr,
               "printer-name");
  const Message reply = ask(server, std::move(request));
  const Answer how = answer(error);
  if (how == Answer::not_found) return nothing;
  if (how == Answer::no) return std::nullopt;
  return text_value(reply.get(), "printer-name");
}

// The server has a default queue until that one is deleted: a queue is made for it.
bool give_no_default(http_t* server, std::string& error) {
  const std::optional<std::string> now = read_default(server, error);
  if (!now || *now == nothing) return now.has_value();
  std::string passing = "brindle-no-default";
  std::optional<std::string> state = read_state(server, passing, error);
  for (; state && *state != nothing; state = read_state(server, passing, error)) passing += "-";
  if (!state) return false;
  Message request = request_for(passing, IPP_OP_CUPS_ADD_MODIFY_PRINTER);
  ippAddString(request.get(), IPP_TAG_PRINTER, IPP_TAG_URI, "device-uri", nullptr, no_device);
  if (!order(server, std::move(request), error)) return false;
  const bool is_default = set_default(server, passing, error);
  return order(server, passing, IPP_OP_CUPS_DELETE_PRINTER, error) && is_default;
}

}  // namespace

std::string without_password(std::string address) {
  const std::size_t scheme = address.find("://");
  if (scheme == address.npos) return address;
  const std::size_t begin = scheme + 3;
  const std::size_t at = address.rfind('@', address.find('/', begin));
  if (at != address.npos && at >= begin) address.erase(begin, at + 1 - begin);
  return address;
}

bool print_server_answers() { return connect() != nullptr; }

std::optional<std::string> queue_state(const std::string& name, std::string& error) {
  const Server server = connect(error);
  return server == nullptr ? std::nullopt : read_state(server.get(), name, error);
}

std::optional<std::vector<std::string>> queue_names(std::string& error) {
  const Server server = connect(error);
  if (server == nullptr) return std::nullopt;
  Message request = new_request(IPP_OP_CUPS_GET_PRINTERS);
  ippAddString(request.get(), IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr,
               "printer-name");
  const Message reply = ask(server.get(), std::move(request));
  if (answer(error) == Answer::no) return std::nullopt;
  std::set<std::string> names;
  for (ipp_attribute_t* at = ippFindAttribute(reply.get(), "printer-name", IPP_TAG_NAME); at != nullptr;
       at = ippFindNextAttribute(reply.get(), "printer-name", IPP_TAG_NAME))
    names.insert(ippGetString(at, 0, nullptr));
  return std::vector<std::string>(names.begin(), names.end());
}

bool keep_queue(const std::string& name, const std::string& folder, std::string& error) {
  if (!can_be_queue(name)) return true;
  const Server server = connect(error);
  if (server == nullptr) return false;
  const std::optional<Ppd> ppd = fetch_ppd(server.get(), name, error);
  if (!ppd || (ppd->is_there && !keep_file(folder, name + ".ppd", ppd->bytes, error))) return false;
  const std::string address = stored_address(name);
  return without_password(address) == address || keep_file(folder, name + ".uri", address, error);
}

bool give_queue(const std::string& name, const std::string& state, const std::string& folder,
                std::string& error) {
  const Server server = connect(error);
  if (server == nullptr) return false;
  if (state == nothing) {
    const std::optional<std::string> now = read_state(server.get(), name, error);
    return now && (*now == nothing || remove_queue(server.get(), name, error));
  }
  std::optional<State> lines = state_from(state);
  if (!lines || !can_be_queue(name)) return error = "it is no state of a queue", false;
  return give_lines(server.get(), name, *lines, folder, error) &&
         is_in_state(server.get(), name, state, error);
}

std::string state_value(const std::string& state, const std::string& key) {
  std::optional<State> lines = state_from(state);
  return lines ? lines->values[key] : "";
}

std::optional<std::string> queue_ppd(const std::string& name, std::string& error) {
  if (!can_be_queue(name)) return "";
  const Server server = connect(error);
  if (server == nullptr) return std::nullopt;
  std::optional<Ppd> ppd = fetch_ppd(server.get(), name, error);
  if (!ppd) return std::nullopt;
  return std::move(ppd->bytes);
}

bool make_queue(const std::string& name, const std::string& address, const Driver& driver,
                std::string& error) {
  if (!can_be_queue(name) || name.find_first_of("\"'\\?$`") != name.npos)
    return error = "a queue cannot have that name", false;
  const Server server = connect(error);
  if (server == nullptr) return false;
  Message request = request_for(name, IPP_OP_CUPS_ADD_MODIFY_PRINTER);
  if (!driver.listed_as.empty())
    ippAddString(request.get(), IPP_TAG_OPERATION, IPP_TAG_NAME, "ppd-name", nullptr,
                 driver.listed_as.c_str());
  ippAddString(request.get(), IPP_TAG_PRINTER, IPP_TAG_URI, "device-uri", nullptr, address.c_str());
  return send(server.get(), std::move(request), {!driver.ppd.empty(), driver.ppd}, error) &&
         order(server.get(), name, IPP_OP_CUPS_ACCEPT_JOBS, error) &&
         order(server.get(), name, IPP_OP_RESUME_PRINTER, error);
}

bool give_ppd(const std::string& name, const std::string& ppd, const std::string& info, std::string& error) {
  const Server server = connect(error);
  if (server == nullptr) return false;
  Message request = request_for(name, IPP_OP_CUPS_ADD_MODIFY_PRINTER);
  ippAddString(request.get(), IPP_TAG_PRINTER, IPP_TAG_TEXT, "printer-info", nullptr, info.c_str());
  return send(server.get(), std::move(request), {true, ppd}, error);
}

std::optional<std::string> default_queue_state(std::string& error) {
  const Server server = connect(error);
  return server == nullptr ? std::nullopt : read_default(server.get(), error);
}

bool give_default_queue(const std::string& state, std::string& error) {
  const Server server = connect(error);
  if (server == nullptr) return false;
  return state == nothing ? give_no_default(server.get(), error) : set_default(server.get(), state, error);
}

}  // namespace things
