#include "CoreDataStack/UseCases/CoreDataActivityUseCase.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Consent.h"
#include "Tools/habits/Habit.h"
#include "Tools/habits/Queries.h"

namespace habits {

using coredatastack::API;
using foundation::ValueDictionary;

namespace {

std::size_t numberOfCheckins(const Session& session, const Habit& habit) {
  return Queries(session)
      .answer([&](const API& api) { return api.checkins(habit.activity, std::nullopt); })
      .size();
}

std::string checkinsText(std::size_t number) {
  return std::to_string(number) + (number == 1 ? " check-in" : " check-ins");
}

ValueDictionary dataOf(const Habit& habit, std::size_t checkins) {
  return {{"title", titleOf(*habit.activity)},
          {"name", habit.name},
          {"checkins", static_cast<std::int64_t>(checkins)}};
}

}  // namespace

Answer erase(const Session& session, const Destruction& destruction) {
  const Habit habit = habitNamed(destruction.name, session.context());
  const std::size_t checkins = numberOfCheckins(session, habit);
  requireConsent(destruction.isConsentedTo,
                 "Erase " + checkinsText(checkins) + " of \"" + habit.name + "\"?");
  coredatastack::CoreDataActivityUseCase(habit.activity, session.contextHandle()).eraseAllData();
  return {"Erased " + checkinsText(checkins) + " of \"" + habit.name + "\".",
          dataOf(habit, checkins)};
}

Answer remove(const Session& session, const Destruction& destruction) {
  const Habit habit = habitNamed(destruction.name, session.context());
  const std::size_t checkins = numberOfCheckins(session, habit);
  requireConsent(destruction.isConsentedTo,
                 "Remove \"" + habit.name + "\" and its " + checkinsText(checkins) + "?");
  ValueDictionary data = dataOf(habit, checkins);
  coredatastack::LocalAPI(session.contextHandle(), foundation::make<SilentFailure>())
      .delete_(habit.activity);
  // Nobody is told of a deletion that could not be saved; it is still pending then, and this meets
  // what stood in its way.
  session.context().save();
  return {"Removed \"" + habit.name + "\".", std::move(data)};
}

}  // namespace habits
