#include "Tools/storecheck/HistoryCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

#include "CoreData/SQLite/RowChange.h"

namespace storecheck {

using coredata::NSEntityDescription;
using coredata::RowChangeKind;
using coredata::StoredRow;
using coredata::StoredValue;
using coredata::StoreInspection;
using foundation::Date;
using Kind = StoredValue::Kind;

namespace {

constexpr std::string_view kTransactions = "_transaction";
constexpr std::string_view kChanges = "_change";
constexpr std::string_view kMarks = "_mark";
constexpr std::string_view kNumberMark = "_transaction";
constexpr std::string_view kTimestampMark = "_timestamp";
constexpr std::string_view kAuthorMarks = "_author";
/// Before the number of an author's name.
constexpr std::string_view kAuthorMark = "_author ";

bool isPositive(const StoredValue& value) {
  return value.kind == Kind::integer && value.integer > 0;
}

bool isNumber(const StoredValue& value) {
  return value.kind == Kind::integer && value.integer >= 0;
}

bool isStamp(const StoredValue& value) {
  return value.kind == Kind::real && std::isfinite(value.real);
}

bool isChangeKind(const StoredValue& value) {
  return value.kind == Kind::integer && value.integer >= 0 &&
         value.integer <= static_cast<std::int64_t>(RowChangeKind::remove);
}

/// Updates, and they alone, say which columns they wrote.
bool saysWhatChanged(const StoredValue& kind, const StoredValue& changed) {
  const bool isUpdate = kind.integer == static_cast<std::int64_t>(RowChangeKind::update);
  return changed.kind == (isUpdate ? Kind::integer : Kind::absent);
}

}  // namespace

void HistoryCheck::readNames(StoreInspection& store) {
  store.visitNames([this](StoredRow row) {
    if (row[0].kind == Kind::integer) names_.emplace(row[0].integer, row[1].content);
  });
  knowsNames_ = true;
}

void HistoryCheck::readTransactions(StoreInspection& store) {
  store.visitTransactions([this](StoredRow row) { addTransaction(row); });
  knowsTransactions_ = true;
}

void HistoryCheck::readChanges(StoreInspection& store) {
  store.visitChanges([this](StoredRow row) { addChange(row); });
}

void HistoryCheck::readMarks(StoreInspection& store) {
  store.visitMarks([this](StoredRow row) { addMark(row); });
  knowsMarks_ = true;
  if (numberMark_.has_value() != hasTimestampMark_) {
    findings_.error(FindingKind::mark, kMarks, std::nullopt,
                    fmt::format("Of the newest transaction only the {} is marked.",
                                numberMark_ ? "number" : "stamp"));
  }
}

bool HistoryCheck::hasName(const StoredValue& reference) const {
  return reference.kind == Kind::integer && names_.contains(reference.integer);
}

void HistoryCheck::requireName(const StoredValue& reference, std::string_view what,
                               std::string_view table, std::int64_t key) {
  if (!knowsNames_ || reference.kind == Kind::absent || hasName(reference)) return;
  findings_.error(FindingKind::unknownName, table, key,
                  fmt::format("Its {} is a name that is not there.", what));
}

void HistoryCheck::addTransaction(StoredRow row) {
  Transaction transaction;
  transaction.number = row[0].integer;
  transaction.timestamp = Date::fromReference(row[1].real);
  numbers_.push_back(transaction.number);
  ++history_.transactions;
  if (transaction.number < 1 || !isStamp(row[1])) {
    findings_.error(FindingKind::malformedHistory, kTransactions, transaction.number,
                    "Numbers begin at 1, and stamps are points in time.");
  } else if (history_.newest && transaction.timestamp <= history_.newest->timestamp) {
    findings_.error(
        FindingKind::stampOrder, kTransactions, transaction.number,
        fmt::format("Its stamp is not later than that of {}.", history_.newest->number));
  }
  requireName(row[2], "author", kTransactions, transaction.number);
  requireName(row[3], "context", kTransactions, transaction.number);
  requireName(row[4], "bundle", kTransactions, transaction.number);

  newestAuthor_ = row[2].integer;
  lastNumbers_[newestAuthor_] = transaction.number;
  if (hasName(row[2])) transaction.author = names_.at(row[2].integer);
  ++history_.byAuthor[transaction.author];
  if (!history_.oldest) history_.oldest = transaction;
  history_.newest = transaction;
  if (last_ == 0) return;
  if (history_.last.size() == last_) history_.last.pop_front();
  history_.last.push_back(std::move(transaction));
}

const NSEntityDescription* HistoryCheck::entityOf(const StoredValue& reference) const {
  return hasName(reference) ? model_.entity(names_.at(reference.integer)) : nullptr;
}

void HistoryCheck::addChange(StoredRow row) {
  const std::int64_t transaction = row[0].integer;
  ++history_.changes;
  if (knowsTransactions_ && transaction != lostTransaction_ &&
      !std::ranges::binary_search(numbers_, transaction)) {
    lostTransaction_ = transaction;
    reportLostTransaction(transaction);
  }
  const NSEntityDescription* entity = entityOf(row[2]);
  if (knowsNames_ && entity == nullptr) {
    findings_.error(FindingKind::unknownName, kChanges, transaction,
                    fmt::format("The entity of its change {} is not there.", row[1].integer));
  }
  if (!isPositive(row[1]) || !isPositive(row[3]) || !isChangeKind(row[4]) ||
      !saysWhatChanged(row[4], row[5])) {
    return findings_.error(FindingKind::malformedHistory, kChanges, transaction,
                           fmt::format("Its change {} is none.", row[1].integer));
  }
  countChange(transaction, row[4].integer);
  if (entity != nullptr) noteKey({entity, row[3].integer}, row[4].integer, transaction);
}

void HistoryCheck::countChange(std::int64_t transaction, std::int64_t kind) {
  const auto count = [&](Transaction& counted) {
    if (counted.number == transaction) ++counted.changes[static_cast<std::size_t>(kind)];
  };
  if (history_.oldest) count(*history_.oldest);
  if (history_.newest) count(*history_.newest);
  const auto place = std::ranges::lower_bound(history_.last, transaction, {}, &Transaction::number);
  if (place != history_.last.end()) count(*place);
}

void HistoryCheck::noteKey(const EntityKey& key, std::int64_t kind, std::int64_t transaction) {
  coredata::ObjectKey& highest = highestKeys_[key.first];
  highest = std::max(highest, key.second);
  if (kind == static_cast<std::int64_t>(RowChangeKind::remove)) {
    removed_.insert_or_assign(key, transaction);
  } else if (!removed_.empty()) {
    removed_.erase(key);
  }
}

void HistoryCheck::reportLostTransaction(std::int64_t transaction) {
  const bool wasCut = (numbers_.empty() || transaction < numbers_.front()) && numberMark_ &&
                      transaction <= *numberMark_;
  if (wasCut) {
    findings_.warning(FindingKind::lostTransaction, kChanges, transaction,
                      "The history was cut here, and not all changes went with it.");
  } else {
    findings_.error(FindingKind::lostTransaction, kChanges, transaction,
                    "There are changes of this transaction, and it is not there.");
  }
}

void HistoryCheck::reportMark(std::string_view name) {
  findings_.error(FindingKind::mark, kMarks, std::nullopt,
                  fmt::format("The mark of {} is none.", name));
}

void HistoryCheck::addMark(StoredRow row) {
  const std::string_view name = row[0].content;
  const StoredValue& value = row[1];
  if (name.starts_with(kAuthorMark)) return addAuthorMark(name.substr(kAuthorMark.size()), value);
  if (name == kTimestampMark) {
    hasTimestampMark_ = true;
    if (!isStamp(value)) reportMark(name);
  } else if (name == kNumberMark) {
    numberMark_ = value.integer;
    if (!isPositive(value)) reportMark(name);
  } else if (name == kAuthorMarks) {
    authorMarksFrom_ = value.integer;
    if (!isNumber(value)) reportMark(name);
  } else if (const NSEntityDescription* entity = model_.entity(name); entity != nullptr) {
    marks_[entity] = value.integer;
    if (!isPositive(value)) reportMark(name);
  } else {
    findings_.warning(FindingKind::mark, kMarks, std::nullopt,
                      "There is a mark of something that is not in the model.");
  }
}

void HistoryCheck::addAuthorMark(std::string_view author, const StoredValue& value) {
  std::int64_t number = 0;
  const auto read = std::from_chars(author.data(), author.data() + author.size(), number);
  const bool isNamed = read.ptr == author.data() + author.size() && read.ec == std::errc() &&
                       (number == 0 || !knowsNames_ || names_.contains(number));
  if (!isNamed || !isPositive(value)) return reportMark("an author");
  authorMarks_[number] = value.integer;
}

void HistoryCheck::check() {
  checkReturned();
  if (!knowsMarks_) return;
  checkKeys();
  if (knowsTransactions_ && authorMarksFrom_) checkAuthors();
}

void HistoryCheck::checkAuthors() {
  for (const auto& [author, last] : lastNumbers_) {
    if (author == newestAuthor_ || (author != 0 && !names_.contains(author))) continue;
    const auto mark = authorMarks_.find(author);
    const std::int64_t known =
        std::max(*authorMarksFrom_, mark == authorMarks_.end() ? 0 : mark->second);
    if (last <= known) continue;
    findings_.error(FindingKind::mark, kTransactions, last,
                    fmt::format("It lies beyond the mark of its author, {}.", known));
  }
}

void HistoryCheck::checkReturned() {
  for (const auto& [key, transaction] : removed_) {
    if (!rows_.contains(*key.first, key.second)) continue;
    findings_.error(FindingKind::returned, key.first->name(), key.second,
                    fmt::format("It is there, and transaction {} removed it.", transaction));
  }
}

void HistoryCheck::checkKeys() {
  for (const auto& [entity, highest] : highestKeys_) {
    const auto mark = marks_.find(entity);
    const std::int64_t known =
        std::max(rows_.highestKey(*entity), mark == marks_.end() ? 0 : mark->second);
    if (highest <= known || !rows_.isWhole(*entity)) continue;
    findings_.error(
        FindingKind::reusableKey, entity->name(), highest,
        fmt::format("The history knows this key, and the next object would get {}.", known + 1));
  }
}

}  // namespace storecheck
