#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace support {

/// Keeps what passes print, and shows it when something failed: failures are printed there, too.
class Silence {
 public:
  Silence() {
    if (depth_++ == 0) testing::internal::CaptureStdout();
  }
  ~Silence() {
    if (--depth_ > 0) return;
    const std::string said = testing::internal::GetCapturedStdout();
    if (testing::Test::HasFailure()) std::fputs(said.c_str(), stdout);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  static inline int depth_ = 0;
};

}  // namespace support
