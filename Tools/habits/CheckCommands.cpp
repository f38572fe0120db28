#include "CoreDataStack/UseCases/CoreDataCheckinUseCase.h"
#include "Domain/CheckinError.h"
#include "Foundation/Text/DayKey.h"
#include "Tools/habits/Commands.h"
#include "Tools/habits/Day.h"
#include "Tools/habits/Failures.h"
#include "Tools/habits/Habit.h"

namespace habits {

using coredatastack::CDCheckin;
using coredatastack::CoreDataCheckinUseCase;
using domain::CheckinError;
using domain::CheckinType;
using foundation::Date;
using foundation::DayKey;
using foundation::Ref;
using foundation::ValueDictionary;

namespace {

/// A habit's day as it was found.
class FoundDay {
 public:
  FoundDay(const Session& session, const HabitDay& wanted)
      : date_(dayArgument(wanted.on)),
        habit_(habitNamed(wanted.name, session.context())),
        checkins_(habit_.activity, session.contextHandle()) {}

  [[nodiscard]] const Date& date() const { return date_; }
  [[nodiscard]] CoreDataCheckinUseCase& checkins() { return checkins_; }
  [[nodiscard]] Ref<CDCheckin> checkin() const { return habit_.activity->checkin(date_); }
  /// "Run" on 2024-02-10
  [[nodiscard]] std::string text() const {
    return "\"" + habit_.name + "\" on " + DayKey(date_).string();
  }
  /// What scripts hear of a check-in.
  [[nodiscard]] ValueDictionary data(const CDCheckin& checkin) const {
    return {{"activity", titleOf(*habit_.activity)},
            {"date", checkin.date()},
            {"count", checkin.count()},
            {"type", checkin.type()},
            {"memo", checkin.memo()},
            {"name", habit_.name}};
  }
  /// That there is nothing to take back or to write to.
  [[nodiscard]] Refusal nothing() const {
    return Refusal("There is no check-in of " + text() + ".");
  }

 private:
  Date date_;
  Habit habit_;
  CoreDataCheckinUseCase checkins_;
};

std::string times(double count) { return foundation::NSNumber(count).stringValue(); }

}  // namespace

Answer check(const Session& session, const HabitDay& day, bool alternate) {
  FoundDay found(session, day);
  try {
    found.checkins().addCheckin(found.date(),
                                alternate ? CheckinType::alternate : CheckinType::standard);
  } catch (const CheckinError&) {
    throw Refusal("There is a check-in of " + found.text() +
                  " already. \"habits more\" counts it once more.");
  }
  return {"Checked in " + found.text() + ".", found.data(*found.checkin())};
}

Answer more(const Session& session, const HabitDay& day) {
  FoundDay found(session, day);
  const Ref<CDCheckin> checkin = found.checkins().addCheckinCount(1.0, found.date());
  return {"Counted " + found.text() + ", " + times(checkin->count()) + " in all.",
          found.data(*checkin)};
}

Answer uncheck(const Session& session, const HabitDay& day) {
  FoundDay found(session, day);
  const Ref<CDCheckin> checkin = found.checkin();
  if (!checkin) throw found.nothing();
  ValueDictionary data = found.data(*checkin);
  try {
    found.checkins().deleteCheckin(found.date());
  } catch (const CheckinError&) {
    throw found.nothing();
  }
  return {"Took back the check-in of " + found.text() + ".", std::move(data)};
}

Answer note(const Session& session, const HabitDay& day, const std::string& text) {
  const FoundDay found(session, day);
  const Ref<CDCheckin> checkin = found.checkin();
  if (!checkin) throw found.nothing();
  checkin->setMemo(text.empty() ? std::nullopt : std::optional(text));
  checkin->setModifiedDate(Date::now());
  session.context().save();
  const char* what = text.empty() ? "Took the note away from " : "Noted that for ";
  return {what + found.text() + ".", found.data(*checkin)};
}

}  // namespace habits
