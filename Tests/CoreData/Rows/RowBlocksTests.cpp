#include "CoreData/Rows/RowBlocks.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "CoreData/Model/ModelBuilder.h"
#include "CoreData/Rows/Row.h"

namespace {

using coredata::ObjectKey;
using coredata::Row;
using coredata::RowBlocks;
using coredata::SlotIndex;
using foundation::Ref;

const coredata::NSEntityDescription& note() {
  static const Ref<coredata::NSManagedObjectModel> kModel = coredata::modelFromSource(R"({
    "identifiers": ["Notes 1"],
    "entities": {"Note": {"attributes": {"title": "text"}}}
  })");
  return *kModel->entity("Note");
}

SlotIndex titleSlot() { return note().property("title")->slot(); }

std::string titleOf(ObjectKey key) { return "The note number " + std::to_string(key); }

Ref<Row> titled(ObjectKey key, const std::string& title, RowBlocks& blocks) {
  Ref<Row> row = Row::make(note(), title.size(), &blocks);
  row->setKey(key);
  Row::setText(row, titleSlot(), title);
  return row;
}

std::vector<Ref<Row>> titledRows(ObjectKey count) {
  RowBlocks blocks;
  std::vector<Ref<Row>> rows;
  for (ObjectKey key = 1; key <= count; ++key) rows.push_back(titled(key, titleOf(key), blocks));
  return rows;
}

void expectTitles(const std::vector<Ref<Row>>& rows) {
  for (const Ref<Row>& row : rows) EXPECT_EQ(row->text(titleSlot()), titleOf(row->key()));
}

TEST(RowBlocks, RowsOutliveThem) {
  const std::vector<Ref<Row>> rows = titledRows(1000);

  expectTitles(rows);
}

TEST(RowBlocks, RowsOutliveTheirNeighbours) {
  std::vector<Ref<Row>> rows = titledRows(1000);

  std::erase_if(rows, [](const Ref<Row>& row) { return row->key() % 3 != 0; });
  // Whatever was given back is overwritten.
  const std::vector<Ref<Row>> others = titledRows(1000);

  ASSERT_EQ(rows.size(), 333U);
  expectTitles(rows);
}

TEST(RowBlocks, RowsLieBehindEachOther) {
  const std::vector<Ref<Row>> rows = titledRows(1000);

  int neighbours = 0;
  for (std::size_t i = 1; i < rows.size(); ++i) {
    const auto* end =
        reinterpret_cast<const std::byte*>(rows[i - 1].get()) + rows[i - 1]->byteSize();
    const auto gap = reinterpret_cast<const std::byte*>(rows[i].get()) - end;
    if (gap >= 0 && gap < 8) ++neighbours;
  }

  EXPECT_GT(neighbours, 950);
}

TEST(RowBlocks, LargeRowsLieAmongSmallOnes) {
  RowBlocks blocks;
  const std::string large(1U << 20U, 'x');
  std::vector<Ref<Row>> rows;
  for (ObjectKey key = 1; key <= 100; ++key) {
    rows.push_back(titled(key, key % 10 == 0 ? large : titleOf(key), blocks));
  }

  for (const Ref<Row>& row : rows) {
    EXPECT_EQ(row->text(titleSlot()), row->key() % 10 == 0 ? large : titleOf(row->key()));
  }
}

TEST(RowBlocks, ARowThatGrowsLeavesItsPlace) {
  RowBlocks blocks;
  Ref<Row> first = titled(1, "One", blocks);
  const Ref<Row> second = titled(2, "Two", blocks);

  Row::setText(first, titleSlot(), "Something longer than its place");

  EXPECT_EQ(first->text(titleSlot()), "Something longer than its place");
  EXPECT_EQ(second->text(titleSlot()), "Two");
}

TEST(RowBlocks, RowsGoOnAnyThreads) {
  std::vector<Ref<Row>> mine = titledRows(10'000);
  std::vector<Ref<Row>> theirs;
  for (std::size_t i = 0; i < mine.size(); i += 2) theirs.push_back(std::move(mine[i]));

  std::thread other([&] { theirs.clear(); });
  std::erase(mine, nullptr);
  expectTitles(mine);
  mine.clear();
  other.join();
}

}  // namespace
