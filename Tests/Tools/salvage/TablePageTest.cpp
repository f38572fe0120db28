#include "Tools/salvage/TablePage.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

#include "Tools/salvage/Record.h"

namespace salvage {

namespace {

using Kind = coredata::StoredValue::Kind;
using Numbers = std::vector<std::uint8_t>;

constexpr std::size_t kPageSize = 512;

std::optional<std::uint64_t> varint(const Numbers& bytes) {
  Bytes rest = bytes;
  return takeVarint(rest);
}

/// A leaf with one cell at its end.
Numbers leafWith(const Numbers& cell) {
  Numbers page(kPageSize);
  const std::size_t offset = kPageSize - cell.size();
  page[0] = TablePage::kLeaf;
  page[4] = 1;
  page[8] = static_cast<std::uint8_t>(offset >> 8U);
  page[9] = static_cast<std::uint8_t>(offset);
  std::ranges::copy(cell, page.begin() + static_cast<std::ptrdiff_t>(offset));
  return page;
}

std::optional<RecordShape> shapeOf(const Numbers& record) {
  return RecordShape::of({.key = 1, .size = record.size(), .local = record, .overflow = 0});
}

}  // namespace

TEST(Varint, TakesOneToNineBytes) {
  EXPECT_EQ(varint({0x7f}), 0x7fU);
  EXPECT_EQ(varint({0x81, 0x00}), 0x80U);
  EXPECT_EQ(varint({0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}), ~std::uint64_t{0});
}

TEST(Varint, IsNoneWhereTheBytesEndBeforeIt) {
  EXPECT_EQ(varint({}), std::nullopt);
  EXPECT_EQ(varint({0x81}), std::nullopt);
}

TEST(TablePage, GivesTheRowOfALeaf) {
  const Numbers page = leafWith({3, 42, 2, 1, 7});
  const TablePage leaf(page, 2);

  ASSERT_TRUE(leaf.isLeaf());
  ASSERT_EQ(leaf.cellCount(), 1U);
  const auto row = leaf.row(0);

  ASSERT_TRUE(row);
  EXPECT_EQ(row->key, 42);
  EXPECT_EQ(row->size, 3U);
  EXPECT_EQ(row->local.size(), 3U);
  EXPECT_EQ(row->overflow, 0U);
}

TEST(TablePage, HasNoMoreCellsThanItHasRoomFor) {
  Numbers page = leafWith({3, 42, 2, 1, 7});
  page[3] = page[4] = 0xff;

  EXPECT_EQ(TablePage(page, 2).cellCount(), (kPageSize - 8) / 2);
}

TEST(TablePage, HasNoRowWhereACellLeavesThePage) {
  const Numbers tooLong = leafWith({100, 42, 2, 1, 7});
  EXPECT_EQ(TablePage(tooLong, 2).row(0), std::nullopt);

  Numbers outside = leafWith({3, 42, 2, 1, 7});
  outside[8] = 0xff;
  EXPECT_EQ(TablePage(outside, 2).row(0), std::nullopt);

  Numbers inHeader = outside;
  inHeader[8] = 0;
  inHeader[9] = 1;
  EXPECT_EQ(TablePage(inHeader, 2).row(0), std::nullopt);
}

TEST(TablePage, IsNothingWhenItIsNotThere) {
  const TablePage page(Bytes(), 7);

  EXPECT_FALSE(page.isLeaf());
  EXPECT_EQ(page.cellCount(), 0U);
  EXPECT_TRUE(page.children().empty());
}

TEST(TablePage, GivesTheChildrenOfAnInnerPage) {
  Numbers page(kPageSize);
  page[0] = TablePage::kInner;
  page[4] = 1;
  page[11] = 9;                // the last child
  page[12] = 1, page[13] = 0;  // a cell at 256
  page[256 + 3] = 8;

  EXPECT_EQ(TablePage(page, 2).children(), (std::vector<PageNumber>{8, 9}));
}

TEST(RecordShape, IsOfARecordWhoseLengthsFit) {
  // Absent, an integer of one byte, a zero, a text of two bytes.
  const auto shape = shapeOf({5, 0, 1, 8, 17, 42, 'h', 'i'});

  ASSERT_TRUE(shape);
  ASSERT_EQ(shape->columns().size(), 4U);
  EXPECT_EQ(shape->columns()[0].kind, Kind::absent);
  EXPECT_EQ(shape->columns()[1].kind, Kind::integer);
  EXPECT_EQ(shape->columns()[3].kind, Kind::text);
  EXPECT_EQ(shape->columns()[3].offset, 6U);
}

TEST(RecordShape, IsOfNothingElse) {
  EXPECT_FALSE(shapeOf({})) << "nothing";
  EXPECT_FALSE(shapeOf({5, 0, 1, 8, 17, 42, 'h'})) << "too short";
  EXPECT_FALSE(shapeOf({5, 0, 1, 8, 17, 42, 'h', 'i', '!'})) << "too long";
  EXPECT_FALSE(shapeOf({9, 0, 1})) << "a header that leaves the record";
  EXPECT_FALSE(shapeOf({0, 0, 1})) << "a header shorter than its own length";
  EXPECT_FALSE(shapeOf({2, 10})) << "a kind that is reserved";
}

}  // namespace salvage
