#include "Foundation/Internal/HashTables.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <new>
#include <random>
#include <string>

#include "Tests/Support/AllocationFaults.h"

namespace {

using foundation::HashMap;
using foundation::HashSet;
using support::AllocationFaults;
using support::Allocator;
using support::Shortage;

using Texts = HashMap<int, std::unique_ptr<std::string>>;

std::unique_ptr<std::string> text(int number) {
  return std::make_unique<std::string>("a text of its own on the heap " + std::to_string(number));
}

void expectTexts(const Texts& texts, int count) {
  EXPECT_EQ(texts.size(), static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) {
    const auto found = texts.find(i);
    ASSERT_TRUE(found != texts.end());
    EXPECT_EQ(*found->second, *text(i));
  }
}

TEST(HashTables, HoldWhatAMapHolds) {
  std::mt19937 random(1);
  HashMap<int, int> table;
  std::map<int, int> expected;
  for (int i = 0; i < 20'000; ++i) {
    const int key = static_cast<int>(random() % 200);
    switch (random() % 5) {
      case 0:
        EXPECT_EQ(table.erase(key), expected.erase(key));
        break;
      case 1:
        table.insert_or_assign(key, i);
        expected.insert_or_assign(key, i);
        break;
      case 2:
        EXPECT_EQ(table.emplace(key, i).second, expected.emplace(key, i).second);
        break;
      case 3:
        table[key] += i;
        expected[key] += i;
        break;
      default:
        if (random() % 400 != 0) break;
        table.clear();
        expected.clear();
    }
    EXPECT_EQ(table.contains(key), expected.contains(key));
  }
  EXPECT_EQ((std::map<int, int>(table.begin(), table.end())), expected);
}

TEST(HashTables, AreAsTheyWereWhenThereIsNoMemoryToGrow) {
  for (int count = 0; count < 200; ++count) {
    Texts texts;
    for (int i = 0; i < count; ++i) texts.emplace(i, text(i));
    {
      auto another = text(count);
      const AllocationFaults faults(Allocator::operatorNew, 1, Shortage::once);
      try {
        texts.emplace(count, std::move(another));
      } catch (const std::bad_alloc&) {
        continue;
      }
    }
    expectTexts(texts, count + 1);
  }
}

TEST(HashTables, GoOnAfterTheyCouldNotGrow) {
  Texts texts;
  int refusals = 0;
  for (int i = 0; i < 200; ++i) {
    bool wasRefused = false;
    auto made = text(i);
    {
      const AllocationFaults faults(Allocator::operatorNew, 1, Shortage::fromThenOn);
      try {
        texts.emplace(i, std::move(made));
      } catch (const std::bad_alloc&) {
        wasRefused = true;
      }
    }
    if (!wasRefused) continue;
    ++refusals;
    expectTexts(texts, i);
    texts.emplace(i, text(i));
  }
  expectTexts(texts, 200);
  EXPECT_GT(refusals, 3);
}

TEST(HashTables, TakeNoMemoryForWhatThereIsRoomFor) {
  HashSet<int> numbers;
  for (int i = 0; i < 50; ++i) numbers.insert(i);
  for (int i = 0; i < 50; i += 2) numbers.erase(i);
  numbers.makeRoomFor(100);

  const AllocationFaults faults(Allocator::operatorNew);
  for (int i = 1000; i < 1100; ++i) numbers.insert(i);
  for (int i = 1000; i < 1100; ++i) numbers.erase(i);

  EXPECT_EQ(faults.count(), 0U);
  EXPECT_EQ(numbers.size(), 25U);
}

}  // namespace
