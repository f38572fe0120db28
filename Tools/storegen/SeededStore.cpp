#include "Tools/storegen/SeededStore.h"

#include <algorithm>
#include <cerrno>
#include <span>
#include <variant>
#include <vector>

#include "CoreData/Rows/Row.h"
#include "CoreData/SQLite/SQLiteStore.h"
#include "CoreData/SQLite/WriteTransaction.h"
#include "Foundation/Files/FileManager.h"
#include "Foundation/Values/Error.h"
#include "Tools/storegen/Draw.h"
#include "Tools/storegen/PhotoFiles.h"
#include "Tools/storegen/SeededLinks.h"
#include "Tools/storegen/SeededValues.h"

namespace storegen {

using coredata::NSAttributeType;
using coredata::NSEntityDescription;
using coredata::NSManagedObjectModel;
using coredata::ObjectKey;
using coredata::Row;
using coredata::Slot;
using coredata::SlotIndex;
using coredata::SQLiteStore;
using coredata::StoreOptions;
using coredata::WriteTransaction;
using foundation::Error;
using foundation::Ref;
using foundation::URL;
using foundation::UUID;
using foundation::Value;

namespace {

/// Rows of a transaction: enough that its own cost does not count, few enough for any memory.
constexpr std::size_t kBatch = 10000;
constexpr std::int64_t kFirstVersion = 1;

ObjectKey keyAt(std::size_t position) { return static_cast<ObjectKey>(position) + 1; }

void put(Ref<Row>& row, SlotIndex slot, NSAttributeType type, const Value& value) {
  if (const foundation::NSNumber* number = value.number()) {
    if (type == NSAttributeType::double_) return row->setReal(slot, number->doubleValue());
    return row->setInteger(slot, number->int64Value());
  }
  if (const auto* date = value.date()) {
    return row->setDate(slot, date->timeIntervalSinceReferenceDate());
  }
  if (const std::string* text = value.text()) return Row::setText(row, slot, *text);
  if (const auto* data = value.data()) return Row::setBytes(row, slot, data->bytes());
  if (const UUID* identifier = value.uuid()) return Row::setIdentifier(row, slot, *identifier);
}

/// The rows of one entity, by position.
class SeededRows {
 public:
  SeededRows(const NSEntityDescription& entity, const SeededContent& content) : entity_(entity) {
    for (const Slot& slot : entity.slots()) {
      if (slot.attribute != nullptr) {
        columns_.emplace_back(SeededValues(*slot.attribute, content));
      } else {
        columns_.emplace_back(SeededLinks(*slot.relationship, content));
      }
    }
  }

  [[nodiscard]] Ref<Row> at(std::size_t position) const {
    Ref<Row> row = Row::make(entity_);
    row->setKey(keyAt(position));
    row->setVersion(kFirstVersion);
    for (SlotIndex slot = 0; slot < row->slotCount(); ++slot) {
      if (const auto* values = std::get_if<SeededValues>(&columns_[slot])) {
        put(row, slot, entity_.slots()[slot].attribute->attributeType(), values->at(position));
      } else if (const auto target = std::get<SeededLinks>(columns_[slot]).target(position)) {
        row->setReference(slot, keyAt(*target));
      }
    }
    return row;
  }

 private:
  const NSEntityDescription& entity_;
  std::vector<std::variant<SeededValues, SeededLinks>> columns_;
};

/// Runs `work` in a transaction of its own.
template <typename Work>
void inTransaction(const Ref<SQLiteStore>& store, Work&& work) {
  coredata::ReadSession session(store);
  WriteTransaction transaction(session);
  work(transaction);
  transaction.commit({.author = "storegen", .contextName = std::nullopt});
}

void insertRows(WriteTransaction& transaction, std::span<const Ref<Row>> rows) {
  std::vector<const Row*> pointers;
  pointers.reserve(rows.size());
  for (const Ref<Row>& row : rows) pointers.push_back(row.get());
  transaction.expectChanges(pointers.size());
  transaction.insert(pointers);
}

void fill(const Ref<SQLiteStore>& store, const NSEntityDescription& entity,
          const SeededContent& content) {
  const SeededRows rows(entity, content);
  const std::size_t count = objectCount(entity, content);
  std::vector<Ref<Row>> batch;
  for (std::size_t begin = 0; begin < count; begin += kBatch) {
    batch.clear();
    for (std::size_t i = begin; i < std::min(count, begin + kBatch); ++i) {
      batch.push_back(rows.at(i));
    }
    inTransaction(store, [&](WriteTransaction& to) { insertRows(to, batch); });
  }
}

/// Each entity gets one object more, and loses it again.
void loseNewest(const Ref<SQLiteStore>& store, const SeededContent& content) {
  const auto entities = store->model().entities();
  inTransaction(store, [&](WriteTransaction& transaction) {
    for (const NSEntityDescription* entity : entities) {
      transaction.insert(*SeededRows(*entity, content).at(objectCount(*entity, content)));
    }
  });
  inTransaction(store, [&](WriteTransaction& transaction) {
    for (const NSEntityDescription* entity : entities) {
      const ObjectKey newest = keyAt(objectCount(*entity, content));
      static_cast<void>(transaction.remove(*entity, newest, kFirstVersion));
    }
  });
}

void requireNothingThere(const std::string& path) {
  if (!foundation::FileManager::defaultManager().fileExists(path)) return;
  throw Error(std::string(foundation::kPosixErrorDomain), EEXIST,
              path + " is there already; only new stores are filled.");
}

}  // namespace

UUID seededIdentifier(std::uint64_t seed) {
  Draw draw(streamOf(seed, "store"), 0);
  UUID::Bytes bytes{};
  draw.fill(bytes);
  return UUID(bytes);
}

void makeSeededStore(const std::string& path, const Ref<const NSManagedObjectModel>& model,
                     const SeededContent& content) {
  requireNothingThere(path);
  writePhotoFiles(*model, content);
  StoreOptions options(URL::fileURL(path));
  options.newIdentifier = seededIdentifier(content.seed);
  options.historyTracking = true;
  options.bundleIdentifier = "storegen";
  StoreOptions unfinished = options;
  unfinished.isScratch = true;
  unfinished.buildsIndexes = false;
  const Ref<SQLiteStore> store = SQLiteStore::open(unfinished, model);
  for (const NSEntityDescription* entity : model->entities()) fill(store, *entity, content);
  loseNewest(store, content);
  store->close();
  SQLiteStore::buildIndexes(options, model);
}

}  // namespace storegen
