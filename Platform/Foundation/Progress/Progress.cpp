#include "Foundation/Progress/Progress.h"

#include <algorithm>
#include <mutex>

#include "Foundation/Files/Bundle.h"
#include "Foundation/Text/LocalizedFormat.h"
#include "Foundation/Values/FatalError.h"

namespace foundation {

namespace {

std::mutex& treeMutex() {
  // Never destroyed: work may go on while the process ends.
  static auto& mutex = *new std::mutex;
  return mutex;
}

struct Current {
  Ref<Progress> progress;
  std::int64_t units;
  bool isTaken = false;
};

std::vector<Current>& currentOfThread() {
  thread_local std::vector<Current> current;
  return current;
}

std::string localized(std::string_view key) { return Bundle::main().localizedString(key); }

}  // namespace

class Progress::Observer final : public Object {
 public:
  explicit Observer(Handler handler) : handler_(std::move(handler)) {}
  void tell(const Progress& progress) const { handler_(progress); }

 private:
  Handler handler_;
};

Progress::Progress(std::int64_t totalUnitCount) : totalUnits_(totalUnitCount) {}
Progress::~Progress() = default;

Ref<Progress> Progress::progress(std::int64_t totalUnitCount) {
  auto made = make<Progress>(totalUnitCount);
  auto& stack = currentOfThread();
  if (!stack.empty() && !stack.back().isTaken) {
    stack.back().isTaken = true;
    stack.back().progress->addChild(made, stack.back().units);
  }
  return made;
}

Ref<Progress> Progress::currentProgress() {
  const auto& stack = currentOfThread();
  return stack.empty() ? nullptr : stack.back().progress;
}

// How far.

bool Progress::cannotBeKnown() const noexcept {
  return totalUnits_ < 0 || completedUnits_ < 0 || (totalUnits_ == 0 && completedUnits_ == 0);
}

bool Progress::hasFinished() const noexcept {
  return !cannotBeKnown() && completedUnits_ >= totalUnits_;
}

double Progress::fraction() const noexcept {
  if (cannotBeKnown()) return 0;
  if (hasFinished()) return 1;
  auto units = static_cast<double>(completedUnits_);
  for (const Child& child : children_) {
    units += static_cast<double>(child.pendingUnits) * child.progress->fraction();
  }
  return std::clamp(units / static_cast<double>(totalUnits_), 0.0, 1.0);
}

std::int64_t Progress::totalUnitCount() const {
  const std::scoped_lock guard(treeMutex());
  return totalUnits_;
}

std::int64_t Progress::completedUnitCount() const {
  const std::scoped_lock guard(treeMutex());
  return completedUnits_;
}

double Progress::fractionCompleted() const {
  const std::scoped_lock guard(treeMutex());
  return fraction();
}

bool Progress::isIndeterminate() const {
  const std::scoped_lock guard(treeMutex());
  return cannotBeKnown();
}

bool Progress::isFinished() const {
  const std::scoped_lock guard(treeMutex());
  return hasFinished();
}

void Progress::setTotalUnitCount(std::int64_t count) {
  change([&] { totalUnits_ = count; });
}

void Progress::setCompletedUnitCount(std::int64_t count) {
  change([&] { completedUnits_ = count; });
}

void Progress::addCompletedUnits(std::int64_t count) {
  change([&] { completedUnits_ += count; });
}

// Changing.

template <typename Mutate>
void Progress::change(Mutate mutate) {
  std::vector<Ref<Progress>> changed;
  {
    const std::scoped_lock guard(treeMutex());
    mutate();
    changed = settleUpwards();
  }
  for (const auto& progress : changed) progress->tellObservers();
}

/// Lets parents take over the units of finished children; this one and all above it are returned,
/// so that none of them goes while the lock is held.
std::vector<Ref<Progress>> Progress::settleUpwards() {
  std::vector<Ref<Progress>> changed;
  for (Ref<Progress> next(this); next;) {
    auto parent = next->parent_.lock();
    if (parent && next->hasFinished()) parent->absorb(*next);
    changed.push_back(std::move(next));
    next = std::move(parent);
  }
  return changed;
}

void Progress::absorb(const Progress& finishedChild) {
  const auto found = std::ranges::find(children_, &finishedChild,
                                       [](const Child& child) { return child.progress.get(); });
  completedUnits_ += found->pendingUnits;
  found->progress->parent_ = {};
  children_.erase(found);
}

std::vector<Ref<Progress>> Progress::unfinishedChildren() const {
  const std::scoped_lock guard(treeMutex());
  std::vector<Ref<Progress>> children;
  for (const Child& child : children_) children.push_back(child.progress);
  return children;
}

void Progress::tellObservers() const {
  std::vector<Ref<Observer>> living;
  {
    const std::scoped_lock guard(treeMutex());
    std::erase_if(observers_, [](const auto& observer) { return observer.expired(); });
    for (const auto& observer : observers_) {
      if (auto held = observer.lock()) living.push_back(std::move(held));
    }
  }
  for (const auto& observer : living) observer->tell(*this);
}

Ref<Object> Progress::observe(Handler handler) {
  auto observer = make<Observer>(std::move(handler));
  const std::scoped_lock guard(treeMutex());
  observers_.emplace_back(observer);
  return observer;
}

// Children.

void Progress::requireFreeForParent(const Progress& parent) const {
  if (parent_.lock()) fatalError("a progress has one parent");
  for (Ref<const Progress> above(&parent); above; above = above->parent_.lock()) {
    if (above.get() == this) fatalError("a progress is no part of itself");
  }
}

void Progress::addChild(const Ref<Progress>& child, std::int64_t withPendingUnitCount) {
  bool isStopping = false;
  child->change([&] {
    child->requireFreeForParent(*this);
    children_.push_back({child, withPendingUnitCount});
    child->parent_ = WeakRef<Progress>(this);
    isStopping = isCancelled_;
  });
  if (isStopping) child->cancel();
}

void Progress::becomeCurrent(std::int64_t withPendingUnitCount) {
  currentOfThread().push_back({Ref<Progress>(this), withPendingUnitCount});
}

void Progress::resignCurrent() {
  auto& stack = currentOfThread();
  if (stack.empty() || stack.back().progress.get() != this)
    fatalError("a progress resigns on the thread where it became the current one, in turn");
  const Current resigned = std::move(stack.back());
  stack.pop_back();
  if (!resigned.isTaken) addCompletedUnits(resigned.units);
}

// Stopping.

void Progress::cancel() {
  std::vector<Ref<Progress>> stopped{Ref<Progress>(this)};
  std::vector<std::function<void()>> handlers;
  {
    const std::scoped_lock guard(treeMutex());
    for (std::size_t i = 0; i < stopped.size(); ++i) {
      Progress& next = *stopped[i];
      if (!next.isCancelled_ && next.cancellationHandler_)
        handlers.push_back(std::move(next.cancellationHandler_));
      next.isCancelled_ = true;
      for (const Child& child : next.children_) stopped.push_back(child.progress);
    }
  }
  for (const auto& handler : handlers) handler();
  for (const auto& progress : stopped) progress->tellObservers();
}

bool Progress::isCancelled() const {
  const std::scoped_lock guard(treeMutex());
  return isCancelled_;
}

void Progress::setCancellationHandler(std::function<void()> handler) {
  {
    const std::scoped_lock guard(treeMutex());
    if (!isCancelled_) {
      cancellationHandler_.swap(handler);
      return;
    }
  }
  if (handler) handler();
}

// Texts.

std::string Progress::localizedDescription() const {
  double part = 0;
  {
    const std::scoped_lock guard(treeMutex());
    if (description_) return *description_;
    if (cannotBeKnown()) return {};
    part = fraction();
  }
  return localizedFormat(localized("%d%% completed"), {static_cast<int>(part * 100)});
}

void Progress::setLocalizedDescription(std::optional<std::string> text) {
  change([&] { description_ = std::move(text); });
}

std::string Progress::localizedAdditionalDescription() const {
  std::int64_t completed = 0;
  std::int64_t total = 0;
  {
    const std::scoped_lock guard(treeMutex());
    if (additionalDescription_) return *additionalDescription_;
    if (cannotBeKnown()) return {};
    completed = completedUnits_;
    total = totalUnits_;
  }
  return localizedFormat(localized("%1$lld of %2$lld"), {completed, total});
}

void Progress::setLocalizedAdditionalDescription(std::optional<std::string> text) {
  change([&] { additionalDescription_ = std::move(text); });
}

ValueDictionary Progress::userInfo() const {
  const std::scoped_lock guard(treeMutex());
  return userInfo_;
}

void Progress::setUserInfoObject(Value value, std::string_view forKey) {
  change([&] {
    if (value.isNone()) {
      std::erase_if(userInfo_, [&](const auto& entry) { return entry.first == forKey; });
    } else {
      userInfo_.insert_or_assign(std::string(forKey), std::move(value));
    }
  });
}

}  // namespace foundation
