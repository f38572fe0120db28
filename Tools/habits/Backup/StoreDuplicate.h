#pragma once

#include <string>

namespace habits {

/// A copy of a store in one new file, which is removed when this goes unless it is kept.
class StoreDuplicate {
 public:
  /// Throws as `coredata::backUpStore` does.
  StoreDuplicate(const std::string& of, std::string path);
  StoreDuplicate(const StoreDuplicate&) = delete;
  StoreDuplicate& operator=(const StoreDuplicate&) = delete;
  ~StoreDuplicate();

  void keep() noexcept { isKept_ = true; }

 private:
  const std::string path_;
  bool isKept_ = false;
};

}  // namespace habits
