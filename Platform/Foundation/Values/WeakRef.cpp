#include "Foundation/Values/WeakRef.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "Foundation/Values/Internal/WeakCells.h"

namespace foundation {

namespace {

struct Stripe {
  std::mutex mutex;
  std::unordered_map<const Object*, WeakCell*> cells;
};

/// The stripe of an object guards its cell's pointer as well as the table, so that "is it alive"
/// and "count it once more" are one step for everybody. Never destroyed: objects may die at exit.
Stripe& stripeOf(const Object* object) {
  constexpr std::size_t kStripes = 64;
  static auto& stripes = *new std::array<Stripe, kStripes>;
  // The low bits of an address are zero and its neighbours lie close: let the middle decide.
  const auto address = reinterpret_cast<std::uintptr_t>(object);
  return stripes[(address >> 4 ^ address >> 12) % kStripes];
}

}  // namespace

class WeakCell {
 public:
  WeakCell(const Object* object, Stripe& stripe) : object_(object), stripe_(stripe) {}

  void retain() noexcept { handles_.fetch_add(1, std::memory_order_relaxed); }
  void release() noexcept {
    if (handles_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }

  [[nodiscard]] Ref<Object> lock() const noexcept {
    // A cleared cell stays cleared: the common end of a long-lived registration needs no lock.
    if (object() == nullptr) return {};
    const std::scoped_lock guard(stripe_.mutex);
    const Object* alive = object();
    if (alive == nullptr || !alive->retainIfAlive()) return {};
    return Ref<Object>::adopt(const_cast<Object*>(alive));
  }

  [[nodiscard]] const Object* object() const noexcept {
    return object_.load(std::memory_order_relaxed);
  }
  void clear() noexcept { object_.store(nullptr, std::memory_order_relaxed); }

 private:
  std::atomic<const Object*> object_;
  Stripe& stripe_;
  /// The table's own handle is the first.
  std::atomic<std::uint32_t> handles_{1};
};

void clearWeakCell(const Object* dying) noexcept {
  Stripe& stripe = stripeOf(dying);
  WeakCell* cell = nullptr;
  {
    const std::scoped_lock guard(stripe.mutex);
    const auto found = stripe.cells.find(dying);
    if (found == stripe.cells.end()) return;
    cell = found->second;
    cell->clear();
    stripe.cells.erase(found);
  }
  cell->release();
}

WeakHandle::WeakHandle(const Object* object) {
  if (object == nullptr) return;
  Stripe& stripe = stripeOf(object);
  const std::scoped_lock guard(stripe.mutex);
  auto found = stripe.cells.find(object);
  if (found == stripe.cells.end()) {
    auto cell = std::make_unique<WeakCell>(object, stripe);
    found = stripe.cells.emplace(object, cell.get()).first;
    static_cast<void>(cell.release());
    object->isWeaklyHeld_.store(true, std::memory_order_relaxed);
  }
  cell_ = found->second;
  cell_->retain();
}

WeakHandle::WeakHandle(const WeakHandle& other) noexcept : cell_(other.cell_) {
  if (cell_ != nullptr) cell_->retain();
}

WeakHandle::~WeakHandle() {
  if (cell_ != nullptr) cell_->release();
}

Ref<Object> WeakHandle::lock() const noexcept { return cell_ == nullptr ? nullptr : cell_->lock(); }

bool WeakHandle::refersTo(const Object* object) const noexcept {
  return cell_ != nullptr && object != nullptr && cell_->object() == object;
}

bool WeakHandle::expired() const noexcept { return cell_ == nullptr || cell_->object() == nullptr; }

}  // namespace foundation
