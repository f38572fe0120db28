#pragma once

namespace habits {

/// Waits for the end of a program that runs until it is told to stop: Ctrl-C, a termination signal,
/// or nobody reading its output any more. From its making on these end nothing by themselves.
///
/// Threading: on the main thread, made when all other threads already block all signals or are yet
/// to be made.
class EndOfWatch {
 public:
  /// Throws `std::system_error` when the system gives no descriptor.
  EndOfWatch();
  EndOfWatch(const EndOfWatch&) = delete;
  EndOfWatch& operator=(const EndOfWatch&) = delete;
  ~EndOfWatch();

  /// Waits for blocks of the main queue, and says false when it is the end instead.
  [[nodiscard]] bool awaitWork(int output) const;
  /// Waits for somebody to read what was written before, and says false when it is the end instead.
  [[nodiscard]] bool awaitReader(int output) const;

 private:
  int signals_;
};

}  // namespace habits
