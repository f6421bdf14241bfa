#include "things/setting.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <vector>

#include "things/gconf_calls.h"
#include "things/lines.h"
#include "things/nothing.h"

namespace things {

namespace {

using Value = std::unique_ptr<GConfValue, late::FreedBy<late::gconf_value_free>>;

Value no_value() { return nullptr; }

/// Keeps the library's error as a text.
class Failure {
 public:
  explicit Failure(std::string& text) : text_(text) {}
  ~Failure() {
    if (error_ == nullptr) return;
    text_ = error_->message;
    g_error_free(error_);
  }
  Failure(const Failure&) = delete;
  Failure& operator=(const Failure&) = delete;

  GError** place() { return &error_; }
  bool happened() const { return error_ != nullptr; }

 private:
  std::string& text_;
  GError* error_ = nullptr;
};

bool may_ask(GConfClient* client, const std::string& key, std::string& error) {
  gchar* reason = nullptr;
  if (client == nullptr) {
    error = "there is no GConf client";
  } else if (late::gconf_valid_key(key.c_str(), &reason) == FALSE) {
    error = reason;
    g_free(reason);
  } else {
    return true;
  }
  return false;
}

struct Type {
  std::string_view word;
  GConfValueType type;
};

// A schema is a program's, not a person's.
constexpr std::array types = {Type{"string", GCONF_VALUE_STRING}, Type{"bool", GCONF_VALUE_BOOL},
                              Type{"int", GCONF_VALUE_INT},       Type{"float", GCONF_VALUE_FLOAT},
                              Type{"list", GCONF_VALUE_LIST},     Type{"pair", GCONF_VALUE_PAIR}};

std::string word_of(GConfValueType type) {
  const auto* const row = std::ranges::find(types, type, &Type::type);
  return std::string(row == types.end() ? "" : row->word);
}

GConfValueType type_of(std::string_view word) {
  const auto* const row = std::ranges::find(types, word, &Type::word);
  return row == types.end() ? GCONF_VALUE_INVALID : row->type;
}

// ---- A value as text ------------------------------------------------------------------------------------

// The library's own texts (gconf_value_encode) keep six digits of a number.
std::string number_text(double number) {
  std::array<char, G_ASCII_DTOSTR_BUF_SIZE> text;
  return g_ascii_dtostr(text.data(), static_cast<int>(text.size()), number);
}

/// A value that holds no others.
std::string plain_text(const GConfValue* value) {
  switch (value->type) {
    case GCONF_VALUE_STRING: {
      const char* text = late::gconf_value_get_string(value);
      return text == nullptr ? "" : text;
    }
    case GCONF_VALUE_BOOL:
      return late::gconf_value_get_bool(value) != FALSE ? "true" : "false";
    case GCONF_VALUE_INT:
      return std::to_string(late::gconf_value_get_int(value));
    default:
      return number_text(late::gconf_value_get_float(value));
  }
}

std::string typed_text(const GConfValue* value) {
  return value == nullptr ? "" : word_of(value->type) + " " + plain_text(value);
}

std::string list_text(const GConfValue* list) {
  std::string text = "list " + word_of(late::gconf_value_get_list_type(list));
  for (const GSList* at = late::gconf_value_get_list(list); at != nullptr; at = at->next)
    text += "\n" + escaped(plain_text(static_cast<const GConfValue*>(at->data)));
  return text;
}

std::string pair_text(const GConfValue* pair) {
  return "pair\n" + escaped(typed_text(late::gconf_value_get_car(pair))) + "\n" +
         escaped(typed_text(late::gconf_value_get_cdr(pair)));
}

std::string text_of(const GConfValue* value) {
  if (value->type == GCONF_VALUE_LIST) return list_text(value);
  return value->type == GCONF_VALUE_PAIR ? pair_text(value) : typed_text(value);
}

// ---- And back -------------------------------------------------------------------------------------------

Value plain_value(GConfValueType type, const std::string& text) {
  if (type == GCONF_VALUE_INVALID || type == GCONF_VALUE_LIST || type == GCONF_VALUE_PAIR) return no_value();
  return Value(late::gconf_value_new_from_string(type, text.c_str(), nullptr));
}

Value typed_value(const std::string& text) {
  const std::size_t blank = text.find(' ');
  return blank == text.npos ? no_value()
                            : plain_value(type_of(text.substr(0, blank)), text.substr(blank + 1));
}

Value list_value(const std::vector<std::string>& lines) {
  const GConfValueType type = type_of(std::string_view(lines.front()).substr(5));
  if (word_of(type).empty()) return no_value();
  GSList* elements = nullptr;
  for (auto line = lines.rbegin(); line + 1 != lines.rend(); ++line)
    if (Value element = plain_value(type, unescaped(*line)))
      elements = g_slist_prepend(elements, element.release());
  Value list(late::gconf_value_new(GCONF_VALUE_LIST));
  late::gconf_value_set_list_type(list.get(), type);
  late::gconf_value_set_list_nocopy(list.get(), elements);
  return list;
}

Value pair_value(const std::vector<std::string>& lines) {
  Value first = typed_value(unescaped(lines[1]));
  Value second = typed_value(unescaped(lines[2]));
  Value pair(late::gconf_value_new(GCONF_VALUE_PAIR));
  if (first) late::gconf_value_set_car_nocopy(pair.get(), first.release());
  if (second) late::gconf_value_set_cdr_nocopy(pair.get(), second.release());
  return pair;
}

Value parsed(const std::string& state) {
  const std::vector<std::string> lines = lines_of(state);
  if (lines.front().starts_with("list ")) return list_value(lines);
  if (lines.front() == "pair" && lines.size() == 3) return pair_value(lines);
  return typed_value(state);
}

// What is not written in the same way again was no state: a number without digits is read as 0.
Value value_from(const std::string& state, std::string& error) {
  Value value = parsed(state);
  if (value && text_of(value.get()) == state) return value;
  error = "\"" + state + "\" is no value";
  return no_value();
}

// The daemon answers first and writes when nobody asks it for anything, so it is left alone for a moment, and
// then asked for something that it can only answer after it has written.
void wait_until_quiet(GConfClient* client, GError** error) {
  for (int round = 0; round < 5 && *error == nullptr; ++round) {
    g_usleep(20'000);
    late::gconf_client_clear_cache(client);
    const Value value(late::gconf_client_get(client, "/apps/brindle/written", error));
  }
}

}  // namespace

std::optional<std::string> setting_state(GConfClient* from, const std::string& key, std::string& error) {
  if (!may_ask(from, key, error)) return std::nullopt;
  late::gconf_client_clear_cache(
      from);  // it keeps what this program has set, whatever another one sets later
  Failure failure(error);
  const Value value(late::gconf_client_get_without_default(from, key.c_str(), failure.place()));
  if (failure.happened()) return std::nullopt;
  if (!value) return nothing;
  if (!word_of(value->type).empty()) return text_of(value.get());
  error = "it holds a schema";
  return std::nullopt;
}

bool give_setting(GConfClient* client, const std::string& key, const std::string& state, std::string& error) {
  if (!may_ask(client, key, error)) return false;
  Failure failure(error);
  if (state == nothing) {
    late::gconf_client_unset(client, key.c_str(), failure.place());
    return !failure.happened();
  }
  const Value value = value_from(state, error);
  if (!value) return false;
  late::gconf_client_set(client, key.c_str(), value.get(), failure.place());
  return !failure.happened();
}

bool write_settings(GConfClient* client, std::string& error) {
  if (!may_ask(client, "/", error)) return false;
  Failure failure(error);
  late::gconf_client_suggest_sync(client, failure.place());
  if (!failure.happened()) wait_until_quiet(client, failure.place());
  return !failure.happened();
}

}  // namespace things
