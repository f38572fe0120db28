#include "Tests/Reliability/Disk/Witness.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cerrno>
#include <cstdio>
#include <iterator>

#include "Tests/Reliability/Disk/DiskPoints.h"

namespace reliability {

namespace fs = std::filesystem;

namespace {

constexpr const char* kProblem = "problem: ";

/// The first column of the last row that the statements find.
std::string answerTo(const std::string& sql, const std::string& path) {
  std::string answer;
  sqlite3* database = nullptr;
  int result = sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE, nullptr);
  if (result == SQLITE_OK) {
    const auto keep = [](void* to, int, char** columns, char**) {
      static_cast<std::string*>(to)->assign(columns[0] == nullptr ? "" : columns[0]);
      return 0;
    };
    result = sqlite3_exec(database, sql.c_str(), keep, &answer, nullptr);
  }
  sqlite3_close(database);
  return result == SQLITE_OK ? answer : sqlite3_errstr(result);
}

std::size_t openDescriptors() {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

/// The system's or SQLite's own, on which others rest.
const foundation::Error& innermost(const foundation::Error& error) {
  const foundation::Error* found = &error;
  while (found->underlying() != nullptr) found = found->underlying();
  return *found;
}

bool isOf(const foundation::Error& error, const support::FileTrouble& trouble) {
  if (error.domain() == foundation::kPosixErrorDomain)
    return error.code() == (trouble.room ? ENOSPC : trouble.errorNumber);
  if (error.domain() != foundation::kSQLiteErrorDomain) return false;
  // Shared memory that has no room has a code of its own.
  if (trouble.room) return error.code() == SQLITE_FULL || error.code() == SQLITE_IOERR_SHMSIZE;
  if (trouble.sqliteCode != support::FaultVFS::kCodeOfOperation)
    return error.code() == trouble.sqliteCode;
  const auto kind = error.code() & 0xff;
  return kind == SQLITE_IOERR || kind == SQLITE_CANTOPEN;
}

}  // namespace

Witness::Witness(const fs::path& store, const support::Acknowledgements& parent)
    : parent_(parent),
      neighbour_([path = store.string()](support::Line& line) {
        while (const auto sql = line.hear()) line.say(answerTo(*sql, path));
      }),
      descriptors_(openDescriptors()) {}

void Witness::note(const std::string& what) const { parent_.send(what); }

void Witness::problem(const std::string& what) const { parent_.send(kProblem + what); }

void Witness::expectCause(const foundation::Error& error,
                          const support::FileTrouble& trouble) const {
  const foundation::Error& cause = innermost(error);
  if (isOf(cause, trouble)) return;
  problem("something else is said to be wrong: " + error.description() + " (" + cause.domain() +
          ' ' + std::to_string(cause.code()) + ')');
}

std::string Witness::ask(const std::string& sql) {
  neighbour_.line().say(sql);
  return neighbour_.answer();
}

void Witness::expectUnlocked() {
  if (const std::string error = ask("BEGIN IMMEDIATE; ROLLBACK"); !error.empty()) problem(error);
}

void Witness::expectClosed() const {
  const std::size_t now = openDescriptors();
  if (now != descriptors_) {
    problem(std::to_string(descriptors_) + " descriptors were open, and are " +
            std::to_string(now));
  }
}

void take(const support::ChildOutcome& outcome, std::size_t point, Notes& notes) {
  EXPECT_TRUE(outcome.signal == 0 && outcome.exitStatus == 0 && !outcome.timedOut)
      << repeatedBy(point);
  for (const std::string& line : outcome.acknowledged) {
    EXPECT_FALSE(line.starts_with(kProblem)) << line << ": " << repeatedBy(point);
    ++notes[line];
  }
}

void print(const Notes& notes, std::size_t points, std::size_t of) {
  std::printf("%zu points of %zu", points, of);
  for (const auto& [what, times] : notes) std::printf(", %d %s", times, what.c_str());
  std::printf("\n");
}

}  // namespace reliability
