#include "things/setting.h"

#include <gconf/gconf-client.h>

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>

#include "things/nothing.h"

namespace things {

namespace {

using Value = std::unique_ptr<GConfValue, void (*)(GConfValue*)>;

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
  } else if (gconf_valid_key(key.c_str(), &reason) == FALSE) {
    error = reason;
    g_free(reason);
  } else {
    return true;
  }
  return false;
}

struct Type {
  std::string_view word;
  char letter;  // gconf_value_encode's
};

// A schema is a program's, not a person's.
constexpr std::array types = {Type{"string ", 's'}, Type{"bool ", 'b'}, Type{"int ", 'i'},
                              Type{"float ", 'f'},  Type{"list ", 'l'}, Type{"pair ", 'p'}};

std::optional<std::string> text_of(GConfValue* value, std::string& error) {
  const std::unique_ptr<gchar, void (*)(gpointer)> encoded(gconf_value_encode(value), g_free);
  const std::string_view text = encoded ? encoded.get() : "";
  const auto* const type = std::ranges::find(types, text.empty() ? '\0' : text.front(), &Type::letter);
  if (type == types.end()) {
    error = "it holds a value of an unknown type";
    return std::nullopt;
  }
  return std::string(type->word).append(text.substr(1));
}

GConfValue* decoded(const std::string& state) {
  const auto* const type =
      std::ranges::find_if(types, [&](const Type& row) { return state.starts_with(row.word); });
  if (type == types.end()) return nullptr;
  return gconf_value_decode((type->letter + state.substr(type->word.size())).c_str());
}

// The library reads "many" as the number 0.
Value value_from(const std::string& state, std::string& error) {
  Value value(decoded(state), gconf_value_free);
  if (!value || text_of(value.get(), error) != state) {
    error = "\"" + state + "\" is no value";
    value.reset();
  }
  return value;
}

}  // namespace

std::optional<std::string> setting_state(GConfClient* from, const std::string& key, std::string& error) {
  if (!may_ask(from, key, error)) return std::nullopt;
  gconf_client_clear_cache(from);  // it keeps what this program has set, whatever another one sets later
  Failure failure(error);
  const Value value(gconf_client_get_without_default(from, key.c_str(), failure.place()), gconf_value_free);
  if (failure.happened()) return std::nullopt;
  return value ? text_of(value.get(), error) : nothing;
}

bool give_setting(GConfClient* client, const std::string& key, const std::string& state, std::string& error) {
  if (!may_ask(client, key, error)) return false;
  Failure failure(error);
  if (state == nothing) {
    gconf_client_unset(client, key.c_str(), failure.place());
    return !failure.happened();
  }
  const Value value = value_from(state, error);
  if (!value) return false;
  gconf_client_set(client, key.c_str(), value.get(), failure.place());
  return !failure.happened();
}

bool write_settings(GConfClient* client, std::string& error) {
  if (!may_ask(client, "/", error)) return false;
  Failure failure(error);
  gconf_client_suggest_sync(client, failure.place());
  return !failure.happened();
}

}  // namespace things
