#pragma once

#include <sys/mman.h>

#include <atomic>
#include <new>
#include <stdexcept>

namespace support {

/// Numbers that this process and those it forks off later have in common. A number is written when
/// the assignment returns, whatever becomes of the process.
template <typename Numbers>
class SharedNumbers {
 public:
  SharedNumbers() {
    void* memory =
        ::mmap(nullptr, sizeof(Numbers), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("no shared memory");
    numbers_ = new (memory) Numbers();
  }
  ~SharedNumbers() { ::munmap(numbers_, sizeof(Numbers)); }
  SharedNumbers(const SharedNumbers&) = delete;
  SharedNumbers& operator=(const SharedNumbers&) = delete;

  [[nodiscard]] Numbers& operator*() const noexcept { return *numbers_; }
  [[nodiscard]] Numbers* operator->() const noexcept { return numbers_; }

 private:
  Numbers* numbers_;
};

}  // namespace support
