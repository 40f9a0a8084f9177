// Reads a JSON document back, strictly: a test that parses kctool's --json
// output fails on anything that is not well-formed.
#pragma once

#include <cctype>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kc_cli_test {

struct JsonValue {
  enum Kind { Null, Bool, Number, String, Array, Object } kind = Null;
  bool boolean = false;
  double number = 0;
  std::string text;
  std::vector<JsonValue> items;
  std::map<std::string, JsonValue> members;

  const JsonValue &operator[](const std::string &key) const {
    static const JsonValue missing;
    auto it = members.find(key);
    return it == members.end() ? missing : it->second;
  }
};

class JsonReader {
 public:
  // The document, or nothing when the text is not exactly one JSON value.
  static std::optional<JsonValue> Parse(const std::string &text) {
    JsonReader r(text);
    JsonValue v;
    if (!r.Value(&v)) return std::nullopt;
    r.Space();
    if (r.at_ != text.size()) return std::nullopt;
    return v;
  }

 private:
  explicit JsonReader(const std::string &t) : t_(t) {}
  void Space() {
    while (at_ < t_.size() && isspace(static_cast<unsigned char>(t_[at_]))) ++at_;
  }
  bool Eat(char c) {
    Space();
    if (at_ < t_.size() && t_[at_] == c) {
      ++at_;
      return true;
    }
    return false;
  }
  bool Word(const char *w, JsonValue *v, JsonValue::Kind kind, bool b) {
    const std::string word(w);
    if (t_.compare(at_, word.size(), word) != 0) return false;
    at_ += word.size();
    v->kind = kind;
    v->boolean = b;
    return true;
  }
  bool Text(std::string *out) {
    if (!Eat('"')) return false;
    while (at_ < t_.size() && t_[at_] != '"') {
      char c = t_[at_++];
      if (static_cast<unsigned char>(c) < 0x20) return false;
      if (c == '\\') {
        if (at_ >= t_.size()) return false;
        c = t_[at_++];
        if (c == 'n') c = '\n';
        else if (c == 't') c = '\t';
        else if (c == 'r') c = '\r';
        else if (c == 'u') {
          if (at_ + 4 > t_.size()) return false;
          c = static_cast<char>(std::stoi(t_.substr(at_, 4), nullptr, 16));
          at_ += 4;
        } else if (c != '"' && c != '\\' && c != '/') {
          return false;
        }
      }
      out->push_back(c);
    }
    return Eat('"');
  }
  bool Value(JsonValue *v) {
    Space();
    if (at_ >= t_.size()) return false;
    const char c = t_[at_];
    if (c == '{') {
      ++at_;
      v->kind = JsonValue::Object;
      if (Eat('}')) return true;
      do {
        std::string key;
        JsonValue member;
        if (!Text(&key) || !Eat(':') || !Value(&member)) return false;
        v->members[key] = member;
      } while (Eat(','));
      return Eat('}');
    }
    if (c == '[') {
      ++at_;
      v->kind = JsonValue::Array;
      if (Eat(']')) return true;
      do {
        JsonValue item;
        if (!Value(&item)) return false;
        v->items.push_back(item);
      } while (Eat(','));
      return Eat(']');
    }
    if (c == '"') {
      v->kind = JsonValue::String;
      return Text(&v->text);
    }
    if (c == 't') return Word("true", v, JsonValue::Bool, true);
    if (c == 'f') return Word("false", v, JsonValue::Bool, false);
    if (c == 'n') return Word("null", v, JsonValue::Null, false);
    size_t used = 0;
    try {
      v->number = std::stod(t_.substr(at_), &used);
    } catch (...) {
      return false;
    }
    at_ += used;
    v->kind = JsonValue::Number;
    return true;
  }

  const std::string &t_;
  size_t at_ = 0;
};

}  // namespace kc_cli_test
