#include "CoreData/Rows/Row.h"

#include <gtest/gtest.h>

#include <vector>

#include "CoreData/Model/ModelBuilder.h"

namespace {

using coredata::Row;
using coredata::RowBlocks;
using coredata::SlotIndex;
using foundation::Data;
using foundation::Ref;

const coredata::NSEntityDescription& picture() {
  static const Ref<coredata::NSManagedObjectModel> kModel = coredata::modelFromSource(R"({
    "identifiers": ["Pictures 1"],
    "entities": {"Picture": {"attributes": {"title": "text", "pixels": "binary"}}}
  })");
  return *kModel->entity("Picture");
}

SlotIndex slot(const char* name) { return picture().property(name)->slot(); }

std::vector<std::uint8_t> pixels(std::size_t count) { return std::vector<std::uint8_t>(count, 7); }

Ref<Row> pictureOf(std::size_t count, RowBlocks* blocks = nullptr) {
  Ref<Row> row = Row::make(picture(), count, blocks);
  Row::setBytes(row, slot("pixels"), pixels(count));
  return row;
}

const std::uint8_t* placeOf(const Ref<Row>& row) { return row->bytes(slot("pixels")).data(); }

TEST(Row, LendsBytesThatAreMostOfItWhereTheyLie) {
  Ref<Row> row = pictureOf(100'000);
  const std::uint8_t* place = placeOf(row);

  const Data shared = Row::sharedBytes(row, slot("pixels"));
  row = nullptr;

  EXPECT_EQ(shared.bytes().data(), place);
  EXPECT_EQ(shared, Data(pixels(100'000)));
}

TEST(Row, CopiesBytesThatAreLittleOfIt) {
  Ref<Row> row = pictureOf(1'000);
  Row::setText(row, slot("title"), std::string(5'000, 't'));

  const Data shared = Row::sharedBytes(row, slot("pixels"));

  EXPECT_NE(shared.bytes().data(), placeOf(row));
  EXPECT_EQ(shared, Data(pixels(1'000)));
}

TEST(Row, CopiesBytesThatWouldKeepABlockOfRows) {
  RowBlocks blocks;
  const Ref<Row> row = pictureOf(500, &blocks);

  const Data shared = Row::sharedBytes(row, slot("pixels"));

  EXPECT_NE(shared.bytes().data(), placeOf(row));
  EXPECT_EQ(shared, Data(pixels(500)));
}

TEST(Row, HasNoBytesToShareWhereThereAreNone) {
  const Ref<Row> row = Row::make(picture());

  EXPECT_TRUE(Row::sharedBytes(row, slot("pixels")).empty());
}

}  // namespace
