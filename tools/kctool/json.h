// A small writer of one well-formed JSON document: objects, arrays, strings
// (escaped), numbers, Booleans and null, with two-space indentation.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kctool {

class Json {
 public:
  void BeginObject();
  void EndObject();
  void BeginArray();
  void EndArray();
  void Key(const std::string &key);
  void String(const std::string &utf8);
  void Number(int64_t value);
  void Boolean(bool value);
  void Null();

  // The document, ending in a newline.
  std::string Text() const { return out_ + "\n"; }

 private:
  void BeforeValue();
  void Quote(const std::string &utf8);
  void Newline();

  std::string out_;
  std::vector<bool> first_;  // per open container: nothing written in it yet
  bool afterKey_ = false;
};

}  // namespace kctool
