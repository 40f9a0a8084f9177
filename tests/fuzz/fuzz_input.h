// Reads a fuzz input front to back: each read takes what it needs and gives
// zeros once the input is used up, so every input is a valid program.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

class FuzzInput {
 public:
  FuzzInput(const uint8_t* data, size_t size) : p_(data), end_(data + size) {}
  bool empty() const { return p_ == end_; }
  uint8_t Byte() { return p_ < end_ ? *p_++ : 0; }
  uint64_t Number(int bytes) {
    uint64_t v = 0;
    for (int i = 0; i < bytes; ++i) v = (v << 8) | Byte();
    return v;
  }
  std::string Bytes(size_t n) {
    n = n < size_t(end_ - p_) ? n : size_t(end_ - p_);
    std::string s(reinterpret_cast<const char*>(p_), n);
    p_ += n;
    return s;
  }
  std::string Rest() { return Bytes(size_t(end_ - p_)); }

 private:
  const uint8_t* p_;
  const uint8_t* end_;
};
