#pragma once

// The library's header leaves it to others to declare size_t and FILE.
#include <cstdio>

#include <jpeglib.h>

// Which messages there are depends on what the library can do.
#include <jerror.h>

#include <array>
#include <csetjmp>
#include <string>
#include <string_view>

#include "Foundation/Values/FunctionRef.h"
#include "UIKit/ImageError.h"

namespace uikit {

/// How the library tells that it gives up. Its frames know no exceptions, so it jumps back to where
/// a step was begun; hence a step's block must have nothing to destroy.
class JPEGFailures {
 public:
  JPEGFailures() noexcept : manager_() {
    jpeg_std_error(&manager_);
    manager_.error_exit = [](j_common_ptr codec) { tell(*codec); };
    manager_.emit_message = [](j_common_ptr codec, int level) {
      if (level < 0 && losesPixels(codec->err->msg_code)) tell(*codec);
    };
  }

  [[nodiscard]] jpeg_error_mgr* manager() noexcept { return &manager_; }
  /// Whether the step got to its end.
  [[nodiscard]] bool survives(foundation::FunctionRef<void()> step) {
    if (setjmp(resume_) != 0) return false;
    step();
    return true;
  }
  [[nodiscard]] foundation::Error error() const {
    return imageError(ImageErrorCode::damaged,
                      "The JPEG image is damaged: " + std::string(message_.data()) + ".");
  }
  /// Ends the step that the codec is in. To be called from the library's callbacks.
  [[noreturn]] static void giveUp(jpeg_common_struct& codec, std::string_view message) {
    JPEGFailures& self = of(codec);
    self.message_[message.copy(self.message_.data(), self.message_.size() - 1)] = 0;
    std::longjmp(self.resume_, 1);
  }

 private:
  /// Warnings after which the library goes on with pixels of its own making.
  static bool losesPixels(int code) noexcept {
    return code == JWRN_HIT_MARKER || code == JWRN_HUFF_BAD_CODE || code == JWRN_ARITH_BAD_CODE ||
           code == JWRN_JPEG_EOF || code == JWRN_MUST_RESYNC;
  }
  [[noreturn]] static void tell(jpeg_common_struct& codec) {
    std::array<char, JMSG_LENGTH_MAX> message{};
    codec.err->format_message(&codec, message.data());
    giveUp(codec, message.data());
  }
  /// The library knows the first member, which lies where the whole does.
  static JPEGFailures& of(jpeg_common_struct& codec) noexcept {
    return *reinterpret_cast<JPEGFailures*>(codec.err);
  }

  jpeg_error_mgr manager_;
  std::jmp_buf resume_{};
  std::array<char, JMSG_LENGTH_MAX> message_{};
};

}  // namespace uikit
