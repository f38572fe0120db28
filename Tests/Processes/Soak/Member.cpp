#include "Tests/Processes/Soak/Member.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <vector>

#include "CoreData/Context/SaveError.h"
#include "CoreData/Coordinator/RemoteChangeNotification.h"
#include "CoreData/SQLite/SQLiteStoreError.h"
#include "CoreDataStack/History/PersistentHistoryFetcher.h"
#include "Foundation/Notifications/NSNotificationCenter.h"
#include "Tests/Support/ErrorCode.h"
#include "Tests/Support/MainQueueWait.h"
#include "Tests/Support/StoreFiles.h"

namespace soak {

using coredata::NSManagedObject;
using coredata::NSManagedObjectContext;
using coredata::SaveErrorCode;
using coredata::StoreErrorCode;
using foundation::Data;
using foundation::Error;
using foundation::Ref;
using support::allObjects;
using support::number;

namespace {

constexpr std::size_t kMostEntries = 40;
constexpr std::size_t kSmallestPhoto = 500;
constexpr std::size_t kLargestPhoto = 6000;

std::string textOf(const NSManagedObject& object, std::string_view key) {
  const auto value = object.valueForKey(key);
  const std::string* text = value.text();
  return text == nullptr ? "" : *text;
}

Ref<NSManagedObject> activityNamed(NSManagedObjectContext& context, const std::string& title) {
  for (const auto& activity : allObjects(context, "Activity")) {
    if (textOf(*activity, "title") == title) return activity;
  }
  throw std::runtime_error("there is no activity " + title);
}

/// The ring's activities, by their number.
std::vector<Ref<NSManagedObject>> ringIn(NSManagedObjectContext& context) {
  std::vector<Ref<NSManagedObject>> ring(kRingSize);
  for (const auto& activity : allObjects(context, "Activity")) {
    if (textOf(*activity, "title") == "ring") {
      ring.at(std::stoul(textOf(*activity, "color"))) = activity;
    }
  }
  return ring;
}

std::size_t nextOf(const NSManagedObject& activity) {
  return std::stoul(textOf(activity, "notes"));
}

/// Whether it has been around to all of them once when it is back at the first.
bool isRing(const std::vector<std::size_t>& next) {
  std::size_t at = 0;
  for (int i = 1; i < kRingSize; ++i) {
    at = next.at(at);
    if (at == 0) return false;
  }
  return next.at(at) == 0;
}

}  // namespace

std::string memberName(int index) { return index == 0 ? "app" : "member" + std::to_string(index); }

bool follows(int index, Custom custom) noexcept {
  return custom == Custom::keepsHistory || index < 2;
}

std::filesystem::path ledgerOf(const support::MigrationPlace& place, int index) {
  return place.directory() / ("ledger of " + memberName(index));
}

void makeStore(const support::MigrationPlace& place, int members) {
  support::edit(place.storeURL(), coredatastack::CoreDataMigrationVersion::version7,
                [&](NSManagedObjectContext& context) {
                  const auto add = [&](const std::string& title) {
                    auto activity = context.insertNewObject("Activity");
                    activity->setValue(title, "title");
                    return activity;
                  };
                  for (int i = 0; i < members; ++i) add(memberName(i));
                  add("list")->setValue(std::string(), "notes");
                  for (int i = 0; i < kRingSize; ++i) {
                    const auto activity = add("ring");
                    activity->setValue(std::to_string(i), "color");
                    activity->setValue(std::to_string((i + 1) % kRingSize), "notes");
                  }
                });
}

Member::Member(const support::MigrationPlace& place, int index, std::uint64_t seed, Custom custom,
               Occasions& occasions)
    : place_(place),
      occasions_(occasions),
      name_(memberName(index)),
      ledger_(ledgerOf(place, index)),
      file_(ledgerOf(place, index)),
      random_(seed + static_cast<std::uint64_t>(index) * 1000 + ledger_.sessions.size()),
      program_(place, name_),
      follows_(follows(index, custom)) {
  // Before anybody follows: a pass may end at once, and belongs to this session.
  file_.opened();
  follow(index, custom);
  ready_ = program_.newestTransaction();
  file_.follows(ready_);
  findOwn();
  resolve();
}

void Member::follow(int index, Custom custom) {
  using coredatastack::AppTarget;
  if (!follows_) return;
  if (custom == Custom::prunesHistory) {
    program_.prune(index == 0 ? AppTarget::app : AppTarget::shareExtension);
  }
  watch();
}

void Member::note(const support::Program::Transactions& transactions) {
  const std::scoped_lock lock(mutex_);
  file_.passed();
  for (const auto& transaction : transactions) {
    file_.merged(transaction->transactionNumber(), transaction->author().value_or("nobody"));
    merged_.insert(transaction->transactionNumber());
  }
  if (const auto stamp = program_.stamp()) {
    file_.stamped(stamp->timeIntervalSinceReferenceDate());
  }
  file_.count("passes with news");
}

void Member::noteFailure(const std::string& error) {
  const std::scoped_lock lock(mutex_);
  file_.count("error: " + error);
  file_.failed(program_.newestTransaction());
}

void Member::watch() {
  program_.afterMerging(
      [this](const support::Program::Transactions& transactions) { note(transactions); });
  // A pass whose cleaning fails has merged what was there, and tells nobody of it.
  program_.onError([this](const std::string& error) { noteFailure(error); });
  announcements_ = foundation::NSNotificationCenter::defaultCenter().addObserver(
      coredata::NSPersistentStoreRemoteChangeNotification,
      program_.stack().persistentStoreCoordinator(),
      [this](const auto&) { file_.count("passes"); });
}

void Member::findOwn() {
  activity_ = activityNamed(program_.view(), name_);
  checkins_.clear();
  for (const auto& checkin : allObjects(program_.view(), "Checkin")) {
    const std::string memo = textOf(*checkin, "memo");
    if (!memo.starts_with(name_ + ':')) continue;
    checkins_[std::stoul(memo.substr(name_.size() + 1))] = checkin;
  }
}

Entries Member::ownEntries() const {
  Entries entries;
  for (const auto& [number, checkin] : checkins_) {
    const auto photos = checkin->valueForKey("photos");
    entries[number] = {static_cast<int>(checkin->valueForKey("count").number()->doubleValue()),
                       static_cast<int>(photos.list() == nullptr ? 0 : photos.list()->size())};
  }
  return entries;
}

bool Member::isInStore(const Pending& pending) const {
  if (pending.deed == Deed::append) {
    const auto list = textOf(*activityNamed(program_.view(), "list"), "notes");
    return list.contains(' ' + name_ + ':' + std::to_string(pending.number) + ';');
  }
  Entries with = ledger_.entries;
  enter(pending, with);
  const Entries found = ownEntries();
  if (found == with) return true;
  if (found == ledger_.entries) return false;
  throw std::runtime_error("the store holds neither what was before a death nor what was after");
}

void Member::resolve() {
  if (ledger_.pending) {
    const bool isThere = isInStore(*ledger_.pending);
    file_.found(isThere);
    if (isThere) enter(*ledger_.pending, ledger_.entries);
  }
  if (ownEntries() != ledger_.entries) {
    throw std::runtime_error("the store does not hold what was acknowledged");
  }
}

void Member::run(support::Line& line) {
  line.say("ready");
  work(line);
  line.say("quiet");
  static_cast<void>(support::runMainQueueUntil([&] { return line.hasNews(); }));
  static_cast<void>(line.hear());
  settle();
  line.say("settled");
}

void Member::work(support::Line& line) {
  constexpr std::string_view kDie = "die ";
  constexpr std::size_t kSeldom = 1000;
  for (;;) {
    act();
    foundation::drainMainQueue();
    if (below(kSeldom) == 0) replaceByItself();
    if (below(kSeldom) == 0) copyOverGarbage();
    if (!line.hasNews()) continue;
    const std::string order = line.hear().value_or("");
    if (!order.starts_with(kDie)) return;
    occasions_.dieAt(static_cast<foundation::TestPoint>(std::stoi(order.substr(kDie.size()))));
  }
}

void Member::act() {
  const Pending pending = choose();
  file_.began(pending, program_.newestTransaction());
  carryOut(pending);
  file_.done(program_.newestTransaction());
  enter(pending, ledger_.entries);
}

Pending Member::choose() {
  const std::size_t draw = below(100);
  const std::size_t next = ledger_.nextNumber++;
  if (draw < 8) return {Deed::append, next};
  if (draw < 20) return {Deed::relink, next};
  if (checkins_.empty() || (draw < 45 && checkins_.size() < kMostEntries)) return {Deed::add, next};
  if (draw < 70) return {Deed::raise, anyEntry()};
  return {draw < 85 ? Deed::erase : Deed::attach, anyEntry()};
}

std::size_t Member::anyEntry() {
  return std::next(checkins_.begin(), static_cast<std::ptrdiff_t>(below(checkins_.size())))->first;
}

void Member::carryOut(const Pending& pending) {
  switch (pending.deed) {
    case Deed::add:
      return add(pending.number);
    case Deed::raise:
      return raise(pending.number);
    case Deed::erase:
      return erase(pending.number);
    case Deed::attach:
      return attach(pending.number);
    case Deed::append:
      return append(pending.number);
    case Deed::relink:
      checkRing();
      return relink();
  }
}

void Member::save(NSManagedObjectContext& context) const {
  for (;;) {
    try {
      return context.save();
    } catch (const Error& error) {
      if (error.code() != number(StoreErrorCode::busy)) throw;
      file_.count("saves repeated because the store was busy");
    }
  }
}

void Member::add(std::size_t number) {
  const auto checkin = program_.view().insertNewObject("Checkin");
  checkin->setValue(name_ + ':' + std::to_string(number), "memo");
  checkin->setValue(1.0, "count");
  checkin->setValue(foundation::Value(activity_), "activity");
  checkins_[number] = checkin;
  save(program_.view());
}

void Member::raise(std::size_t number) {
  const auto& checkin = checkins_.at(number);
  checkin->setValue(checkin->valueForKey("count").number()->doubleValue() + 1, "count");
  save(program_.view());
}

void Member::erase(std::size_t number) {
  program_.view().delete_(checkins_.at(number));
  checkins_.erase(number);
  save(program_.view());
}

void Member::attach(std::size_t number) {
  const std::size_t size = kSmallestPhoto + below(kLargestPhoto - kSmallestPhoto);
  const auto photo = program_.view().insertNewObject("Photo");
  photo->setValue(Data(std::vector<std::uint8_t>(size, static_cast<std::uint8_t>(number))), "data");
  photo->setValue(foundation::Value(checkins_.at(number)), "checkin");
  save(program_.view());
}

template <typename Work>
void Member::contend(Work&& work) const {
  for (;;) {
    const auto context = program_.newContext();
    const bool isSaved = context->performBlockAndWait([&] {
      try {
        work(*context);
        save(*context);
        return true;
      } catch (const Error& error) {
        if (error.code() != number(SaveErrorCode::conflict)) throw;
        return false;
      }
    });
    if (isSaved) return;
    file_.count("saves repeated because of a conflict");
  }
}

void Member::append(std::size_t number) const {
  contend([&](NSManagedObjectContext& context) {
    const auto list = activityNamed(context, "list");
    list->setValue(textOf(*list, "notes") + ' ' + name_ + ':' + std::to_string(number) + ';',
                   "notes");
  });
}

void Member::relink() {
  const std::size_t first = below(kRingSize);
  // From a - b - c - d to a - c - b - d: whoever else changes one of the three is met.
  contend([&](NSManagedObjectContext& context) {
    const auto ring = ringIn(context);
    const auto& a = ring[first];
    const std::size_t b = nextOf(*a);
    const std::size_t c = nextOf(*ring[b]);
    const std::size_t d = nextOf(*ring[c]);
    a->setValue(std::to_string(c), "notes");
    ring[c]->setValue(std::to_string(b), "notes");
    ring[b]->setValue(std::to_string(d), "notes");
  });
}

void Member::checkRing() const {
  const auto context = program_.newContext();
  context->performBlockAndWait([&] {
    std::vector<std::size_t> next;
    for (const auto& activity : ringIn(*context)) next.push_back(nextOf(*activity));
    if (!isRing(next)) throw std::runtime_error("the ring is broken");
  });
}

void Member::replaceByItself() const { static_cast<void>(replace(place_.storeURL())); }

void Member::copyOverGarbage() const {
  const foundation::URL copy = place_.at("copy by " + name_ + ".sqlite");
  const std::filesystem::path path = copy.filePath().value();
  for (const auto& old : std::filesystem::directory_iterator(path.parent_path())) {
    if (old.path().filename().string().starts_with(path.filename().string())) {
      std::filesystem::remove(old.path());
    }
  }
  std::ofstream(path) << "Dear diary, today I ran.\n";
  if (!replace(copy)) return;
  const support::StoreLook look(path);
  static_cast<void>(look.contents());
  std::vector<std::size_t> ring(kRingSize);
  for (const std::string& line :
       look.column("SELECT color || ' ' || notes FROM Activity WHERE title='ring'")) {
    std::istringstream words(line);
    std::size_t from = 0;
    words >> from >> ring.at(from);
  }
  if (!isRing(ring)) throw std::runtime_error("the ring is broken in a copy");
}

bool Member::replace(const foundation::URL& store) const {
  try {
    program_.stack().persistentStoreCoordinator()->replacePersistentStore(
        store, {}, place_.storeURL(), {}, coredata::NSSQLiteStoreType);
    return true;
  } catch (const Error& error) {
    if (error.code() != number(StoreErrorCode::busy)) throw;
    file_.count("replacements given up because the store was busy");
    return false;
  }
}

bool Member::hasMergedAll(NSManagedObjectContext& background) const {
  const auto stamp = program_.stamp();
  const auto left = coredatastack::PersistentHistoryFetcher(
                        Ref(&background), program_.stack().managedObjectContext(),
                        stamp.value_or(foundation::Date::distantPast()))
                        .fetch();
  const std::scoped_lock lock(mutex_);
  // Where the history was cut what is left counts as unread, and is read again with what comes
  // next.
  return std::ranges::all_of(left, [&](const auto& transaction) {
    const std::int64_t number = transaction->transactionNumber();
    return number <= ready_ || merged_.contains(number);
  });
}

void Member::settle() {
  if (!follows_) return;
  const auto background = program_.newContext();
  const auto isUpToDate = [&] {
    return background->performBlockAndWait([&] { return hasMergedAll(*background); });
  };
  // A pass tells of its end after its stamp, and the merge has its own turn.
  const auto isDone = [&] { return isUpToDate() && !occasions_.isPassing(); };
  if (!support::runMainQueueUntil(isDone)) throw std::runtime_error("not all was merged");
  foundation::drainMainQueue();
  file_.quiet(program_.newestTransaction(), program_.viewIsCurrent());
}

}  // namespace soak
