#pragma once

namespace habits {

/// While it lives, a wish to end the program (Ctrl-C, a termination signal) is only remembered, so
/// that what is under way can stop at a good place. A second one ends the program at once. One at a
/// time.
class Interruption {
 public:
  Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;
  ~Interruption();

  /// Whether somebody wants the program to end.
  [[nodiscard]] static bool isWanted() noexcept;
  /// Throws `Refusal` if so.
  static void stopIfWanted();
};

}  // namespace habits
