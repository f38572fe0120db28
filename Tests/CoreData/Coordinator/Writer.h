#pragma once

#include <sys/types.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "Foundation/Values/URL.h"

namespace garden {

/// Another process that has the store open and saves to it when it is told to. It ends with this.
class Writer {
 public:
  enum class History : std::uint8_t { tracked, untracked };

  /// Returns when it has the store open. Throws when it cannot be started.
  explicit Writer(const foundation::URL& store, History history = History::tracked);
  ~Writer();
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  /// Returns after the save, with the number of the newest transaction.
  std::int64_t save();
  /// Has it save once more and be killed after the commit, before it tells anybody. Returns when it
  /// is dead; false when it ended in another way.
  [[nodiscard]] bool saveAndDie();

 private:
  struct Close {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
  };
  using Stream = std::unique_ptr<std::FILE, Close>;

  void tell(std::string_view line) const;
  [[nodiscard]] std::string answer() const;
  int awaitEnd() noexcept;

  Stream commands_;
  Stream answers_;
  pid_t process_ = -1;
};

}  // namespace garden
