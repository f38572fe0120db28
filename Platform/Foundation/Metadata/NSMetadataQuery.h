#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/Notifications/NSNotificationName.h"
#include "Foundation/Predicate/NSPredicate.h"
#include "Foundation/Queues/OperationQueue.h"
#include "Foundation/Values/FunctionRef.h"
#include "Foundation/Values/Object.h"
#include "Foundation/Values/Ref.h"

namespace foundation {

/// Posted, with the query as its object, once all that was there when it started has been found.
inline constexpr NSNotificationName NSMetadataQueryDidFinishGatheringNotification{
    "NSMetadataQueryDidFinishGatheringNotification"};
/// Posted, with the query as its object, after its results have changed.
inline constexpr NSNotificationName NSMetadataQueryDidUpdateNotification{
    "NSMetadataQueryDidUpdateNotification"};

/// The scope of the user's documents in the cloud.
inline constexpr std::string_view NSMetadataQueryUbiquitousDataScope =
    "NSMetadataQueryUbiquitousDataScope";

/// A search for files that goes on: from its start to its stop it has the items of its scopes for
/// which its predicate holds, in the order of the scopes and in each as its provider gives them.
///
/// - Items come from the `MetadataProvider` of each scope. A scope without one has none; the query
///   then finishes without results.
/// - Searching is done on a worker. Results change, and notifications are posted, on the operation
///   queue alone: first that gathering is finished, once a start, then one for each change.
/// - While updates are disabled results stay as they are; what happened meanwhile comes in one
///   update afterwards. They are disabled as often as they were asked to be, and enabled at first.
/// - A predicate that cannot be judged for the items, because it asks a text for a property, finds
///   nothing and is reported on the standard error stream.
/// - The query ends with its last handle; it does not hold itself.
///
/// Threading: safe on any thread. On the queue's thread nothing changes between two calls.
class NSMetadataQuery final : public Object {
 public:
  NSMetadataQuery();
  ~NSMetadataQuery() override;

  // What is set here counts from the next start.

  /// The main queue unless another is set; an empty handle sets it again.
  void setOperationQueue(Ref<OperationQueue> queue);
  /// Without one every item is a result.
  void setPredicate(NSPredicate predicate);
  void setSearchScopes(std::vector<std::string> scopes);

  void disableUpdates();
  void enableUpdates();

  /// Forgets former results and begins to gather. Gives false if the query is started already.
  /// Throws `std::system_error` when the system gives no thread; the query is not started then.
  bool startQuery();
  /// Keeps the results as they are. Notifications that are on their way are not posted any more,
  /// except one that is being posted on another thread.
  void stopQuery();
  [[nodiscard]] bool isStarted() const;
  /// Whether it is started and has not finished gathering.
  [[nodiscard]] bool isGathering() const;

  [[nodiscard]] std::size_t resultCount() const;
  /// Calls `block` with each result and its number, until it sets `stop`. All are of one moment:
  /// updates are disabled meanwhile.
  void enumerateResultsUsingBlock(
      FunctionRef<void(const Ref<Object>& result, std::size_t index, bool& stop)> block);

 private:
  class Gathering;
  struct State;
  using Results = std::vector<Ref<Object>>;

  void receive(const Gathering& from, std::shared_ptr<const Results> found);

  std::unique_ptr<State> state_;
};

}  // namespace foundation
