#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Foundation/Values/Object.h"
#include "Foundation/Values/Value.h"
#include "Foundation/Values/WeakRef.h"

namespace foundation {

/// How far a piece of work has come, in units of its own choosing, and whether somebody wants it to
/// stop.
///
/// Work consists of other work: a progress hands some of its units to a child, which counts in
/// units of its own. While the child is under way its fraction counts towards those units; when it
/// has finished they count as completed, and it is let go. A caller that does not know what its
/// callee does makes itself the current progress of its thread; the first progress that the callee
/// makes with `progress()` becomes the child.
///
///     progress->performAsCurrent(30, [&] { migrate(store); });
///
/// Threading: safe on any thread. Observers and cancellation handlers are called on the thread that
/// made the change, with nothing locked, and perhaps on several at once. They do not throw.
class Progress final : public Object {
 public:
  using Handler = std::function<void(const Progress&)>;

  /// One without a parent, whatever is current.
  explicit Progress(std::int64_t totalUnitCount);
  /// One that becomes the child of this thread's current progress, if that still waits for a child.
  [[nodiscard]] static Ref<Progress> progress(std::int64_t totalUnitCount);
  /// This thread's; none when there is none.
  [[nodiscard]] static Ref<Progress> currentProgress();

  // How far.

  [[nodiscard]] std::int64_t totalUnitCount() const;
  void setTotalUnitCount(std::int64_t count);
  /// Units of this progress and of its finished children.
  [[nodiscard]] std::int64_t completedUnitCount() const;
  void setCompletedUnitCount(std::int64_t count);
  /// For several threads that share the work.
  void addCompletedUnits(std::int64_t count);

  /// From 0 to 1, the parts of unfinished children counted in; 0 while it cannot be known.
  [[nodiscard]] double fractionCompleted() const;
  /// Whether nobody can say how much there is to do: a count is negative, or both are 0.
  [[nodiscard]] bool isIndeterminate() const;
  [[nodiscard]] bool isFinished() const;

  // Children.

  /// Hands units to a child. A child that has a parent already, or is one of this one's, stops the
  /// process.
  void addChild(const Ref<Progress>& child, std::int64_t withPendingUnitCount);
  /// The children that are under way, in the order in which they came; what they tell of themselves
  /// says more than the sum.
  [[nodiscard]] std::vector<Ref<Progress>> unfinishedChildren() const;
  /// Makes this the thread's current progress, with units for the first child that is made.
  void becomeCurrent(std::int64_t withPendingUnitCount);
  /// Makes the one before the current progress again. Units that no child took count as completed.
  /// Stops the process if this is not the current one.
  void resignCurrent();
  /// Both around `work`, also when it throws.
  template <typename Work>
  decltype(auto) performAsCurrent(std::int64_t withPendingUnitCount, Work&& work) {
    const CurrentScope scope(*this, withPendingUnitCount);
    return std::forward<Work>(work)();
  }

  // Stopping.

  /// Asks the work, and that of all children now and later, to stop. What that means is up to it.
  void cancel();
  [[nodiscard]] bool isCancelled() const;
  /// Called once when it is cancelled, at once if it has been.
  void setCancellationHandler(std::function<void()> handler);

  // Texts.

  /// What was set, else the percentage in the person's language; empty while it cannot be known.
  [[nodiscard]] std::string localizedDescription() const;
  void setLocalizedDescription(std::optional<std::string> text);
  /// What was set, else how many units of how many; empty while it cannot be known.
  [[nodiscard]] std::string localizedAdditionalDescription() const;
  void setLocalizedAdditionalDescription(std::optional<std::string> text);
  [[nodiscard]] ValueDictionary userInfo() const;
  /// An absent value removes the key.
  void setUserInfoObject(Value value, std::string_view forKey);

  // Observers.

  /// Calls `handler` after each change of this progress or of one below it, as long as somebody
  /// holds the token that is returned. Each change is one call: an observer that draws looks at the
  /// clock.
  [[nodiscard]] Ref<Object> observe(Handler handler);

 private:
  class Observer;
  struct Child {
    Ref<Progress> progress;
    std::int64_t pendingUnits;
  };
  class CurrentScope {
   public:
    CurrentScope(Progress& progress, std::int64_t units) : progress_(progress) {
      progress_.becomeCurrent(units);
    }
    CurrentScope(const CurrentScope&) = delete;
    CurrentScope& operator=(const CurrentScope&) = delete;
    ~CurrentScope() { progress_.resignCurrent(); }

   private:
    Progress& progress_;
  };

  ~Progress() override;

  template <typename Mutate>
  void change(Mutate mutate);
  [[nodiscard]] std::vector<Ref<Progress>> settleUpwards();
  void absorb(const Progress& finishedChild);
  void requireFreeForParent(const Progress& parent) const;
  void tellObservers() const;

  // These read what the lock guards.
  [[nodiscard]] bool cannotBeKnown() const noexcept;
  [[nodiscard]] bool hasFinished() const noexcept;
  [[nodiscard]] double fraction() const noexcept;

  // All guarded by the one lock of all progresses: a change climbs from child to parent.
  std::int64_t totalUnits_;
  std::int64_t completedUnits_ = 0;
  WeakRef<Progress> parent_;
  std::vector<Child> children_;
  bool isCancelled_ = false;
  std::function<void()> cancellationHandler_;
  std::optional<std::string> description_;
  std::optional<std::string> additionalDescription_;
  ValueDictionary userInfo_;
  mutable std::vector<WeakRef<Observer>> observers_;
};

}  // namespace foundation
