// A private folder for one test, removed with everything in it when the
// holder goes out of scope.
#pragma once

#include <string>

namespace kc_test {

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return path_; }
  // path() + "/" + name
  std::string file(const std::string& name) const;

 private:
  std::string path_;
};

// Removes a file or a folder tree; missing paths are ignored.
void RemoveTree(const std::string& path);

}  // namespace kc_test
