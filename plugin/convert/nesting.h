// How deep a conversion has nested: values nested deeper than kMaxNesting
// (a host dictionary that holds itself nests for ever) convert to null or
// nil, as a value no conversion knows does. The plug-in runs on its host's
// thread only, so one count serves both directions.
#pragma once

class ConversionNesting {
 public:
  static constexpr int kMaxNesting = 256;
  ConversionNesting() { ++Depth(); }
  ~ConversionNesting() { --Depth(); }
  ConversionNesting(const ConversionNesting &) = delete;
  ConversionNesting &operator=(const ConversionNesting &) = delete;
  static bool Full() { return Depth() >= kMaxNesting; }

 private:
  static int &Depth() {
    static int depth = 0;
    return depth;
  }
};
