// What `CheckinProgram.cpp` does, by hand.

#include <cstdio>
#include <exception>
#include <string>

#include "Benchmarks/HandWrittenStore.h"

namespace {

using benchmarks::HandWrittenStore;
using benchmarks::secondsNow;

void checkIn(const std::string& path, std::int64_t secondsSince1970) {
  HandWrittenStore store(path, benchmarks::Durability::full, benchmarks::LogFile::kept);
  benchmarks::CheckinRecord record;
  record.activity = store.firstActivity();
  record.count = 1;
  record.date = benchmarks::dayOf(secondsSince1970);
  record.createdDate = secondsNow();
  record.modifiedDate = secondsNow();
  store.begin();
  const std::int64_t key = store.insertCheckin(record);
  store.recordTransaction(secondsNow());
  store.recordChange(key, HandWrittenStore::Change::insert, 0);
  store.commit();
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) return 2;
  try {
    checkIn(arguments[1], std::stoll(arguments[2]));
    std::puts("1");
    return 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
}
