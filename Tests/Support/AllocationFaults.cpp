#include "Tests/Support/AllocationFaults.h"

#include <sqlite3.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <stdexcept>

namespace support {

namespace {

constinit thread_local AllocationFaults* armed = nullptr;

constinit std::atomic<std::ptrdiff_t> liveNew{0};
constinit std::atomic<std::ptrdiff_t> liveSqlite{0};

void* countedNew(void* memory) noexcept {
  if (memory != nullptr) liveNew.fetch_add(1, std::memory_order_relaxed);
  return memory;
}

/// `malloc` and its kin also under the sanitizers, which then watch these blocks as they do others.
void* allocated(std::size_t size) noexcept {
  if (AllocationFaults::failsNext(Allocator::operatorNew)) return nullptr;
  return countedNew(std::malloc(size == 0 ? 1 : size));
}

void* allocated(std::size_t size, std::align_val_t alignment) noexcept {
  if (AllocationFaults::failsNext(Allocator::operatorNew)) return nullptr;
  const auto unit = static_cast<std::size_t>(alignment);
  return countedNew(std::aligned_alloc(unit, (size + unit - 1) / unit * unit));
}

void* required(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void given(void* memory) noexcept {
  if (memory != nullptr) liveNew.fetch_sub(1, std::memory_order_relaxed);
  std::free(memory);
}

/// SQLite's default allocator with our count in front of it.
class SqliteAllocator {
 public:
  SqliteAllocator() {
    sqlite3_config(SQLITE_CONFIG_GETMALLOC, &system());
    sqlite3_mem_methods counted = system();
    counted.xMalloc = [](int size) -> void* {
      if (AllocationFaults::failsNext(Allocator::sqlite)) return nullptr;
      void* memory = system().xMalloc(size);
      if (memory != nullptr) liveSqlite.fetch_add(1, std::memory_order_relaxed);
      return memory;
    };
    counted.xRealloc = [](void* memory, int size) -> void* {
      if (AllocationFaults::failsNext(Allocator::sqlite)) return nullptr;
      return system().xRealloc(memory, size);
    };
    counted.xFree = [](void* memory) {
      liveSqlite.fetch_sub(1, std::memory_order_relaxed);
      system().xFree(memory);
    };
    result_ = sqlite3_config(SQLITE_CONFIG_MALLOC, &counted);
    // Connections keep small blocks of their own, which would hide most allocations.
    if (result_ == SQLITE_OK) result_ = sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0);
  }

  [[nodiscard]] bool isInPlace() const noexcept { return result_ == SQLITE_OK; }

 private:
  static sqlite3_mem_methods& system() noexcept {
    static constinit sqlite3_mem_methods methods{};
    return methods;
  }

  int result_;
};

/// Before anything has SQLite make itself ready, from when on it takes no other allocator.
const SqliteAllocator sqliteAllocator;

}  // namespace

AllocationFaults::AllocationFaults(Allocator allocator)
    : AllocationFaults(allocator, 0, Shortage::once) {}

AllocationFaults::AllocationFaults(Allocator allocator, std::size_t n, Shortage shortage)
    : allocator_(allocator), n_(n), shortage_(shortage) {
  if (!sqliteAllocator.isInPlace()) throw std::logic_error("SQLite has another allocator");
  if (armed != nullptr) throw std::logic_error("allocations of this thread fail already");
  armed = this;
}

AllocationFaults::~AllocationFaults() { armed = nullptr; }

bool AllocationFaults::failsNext(Allocator allocator) noexcept {
  AllocationFaults* const faults = armed;
  if (faults == nullptr || faults->allocator_ != allocator) return false;
  const std::size_t number = ++faults->count_;
  if (faults->n_ == 0) return false;
  return faults->shortage_ == Shortage::once ? number == faults->n_ : number >= faults->n_;
}

LiveBlocks liveBlocks() noexcept { return {liveNew.load(), liveSqlite.load()}; }

}  // namespace support

// What follows replaces the program's own.

void* operator new(std::size_t size) { return support::required(support::allocated(size)); }
void* operator new[](std::size_t size) { return support::required(support::allocated(size)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return support::allocated(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return support::allocated(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
  return support::required(support::allocated(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return support::required(support::allocated(size, alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return support::allocated(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return support::allocated(size, alignment);
}

void operator delete(void* memory) noexcept { support::given(memory); }
void operator delete[](void* memory) noexcept { support::given(memory); }
void operator delete(void* memory, std::size_t) noexcept { support::given(memory); }
void operator delete[](void* memory, std::size_t) noexcept { support::given(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { support::given(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { support::given(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { support::given(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { support::given(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
  support::given(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
  support::given(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  support::given(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  support::given(memory);
}
