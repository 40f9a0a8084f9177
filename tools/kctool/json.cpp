// The JSON writer.
#include "json.h"

#include <cstdio>

namespace kctool {

void Json::Newline() {
  out_ += '\n';
  out_.append(first_.size() * 2, ' ');
}

void Json::BeforeValue() {
  if (afterKey_) {
    afterKey_ = false;
    return;
  }
  if (!first_.empty()) {
    if (!first_.back()) out_ += ',';
    first_.back() = false;
    Newline();
  }
}

void Json::BeginObject() {
  BeforeValue();
  out_ += '{';
  first_.push_back(true);
}

void Json::EndObject() {
  const bool empty = first_.back();
  first_.pop_back();
  if (!empty) Newline();
  out_ += '}';
}

void Json::BeginArray() {
  BeforeValue();
  out_ += '[';
  first_.push_back(true);
}

void Json::EndArray() {
  const bool empty = first_.back();
  first_.pop_back();
  if (!empty) Newline();
  out_ += ']';
}

void Json::Key(const std::string &key) {
  BeforeValue();
  Quote(key);
  out_ += ": ";
  afterKey_ = true;
}

void Json::String(const std::string &utf8) {
  BeforeValue();
  Quote(utf8);
}

void Json::Quote(const std::string &utf8) {
  out_ += '"';
  for (unsigned char c : utf8) {
    switch (c) {
      case '"': out_ += "\\\""; break;
      case '\\': out_ += "\\\\"; break;
      case '\n': out_ += "\\n"; break;
      case '\r': out_ += "\\r"; break;
      case '\t': out_ += "\\t"; break;
      default:
        if (c < 0x20) {
          char escaped[8];
          snprintf(escaped, sizeof escaped, "\\u%04x", c);
          out_ += escaped;
        } else {
          out_ += static_cast<char>(c);
        }
    }
  }
  out_ += '"';
}

void Json::Number(int64_t value) {
  BeforeValue();
  out_ += std::to_string(value);
}

void Json::Boolean(bool value) {
  BeforeValue();
  out_ += value ? "true" : "false";
}

void Json::Null() {
  BeforeValue();
  out_ += "null";
}

}  // namespace kctool
