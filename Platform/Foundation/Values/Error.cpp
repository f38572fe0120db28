#include "Foundation/Values/Error.h"

#include <utility>

#include "Foundation/Values/Internal/QuotedText.h"

namespace foundation {

struct Error::Content {
  std::string domain;
  std::int64_t code;
  std::string message;
  ValueDictionary userInfo;
  std::shared_ptr<const Error> underlying;
};

Error::Error(std::string domain, std::int64_t code, std::string message, ValueDictionary userInfo,
             std::shared_ptr<const Error> underlying)
    : content_(std::make_shared<const Content>(std::move(domain), code, std::move(message),
                                               std::move(userInfo), std::move(underlying))) {}

const std::string& Error::domain() const noexcept { return content_->domain; }
std::int64_t Error::code() const noexcept { return content_->code; }
const std::string& Error::message() const noexcept { return content_->message; }
const ValueDictionary& Error::userInfo() const noexcept { return content_->userInfo; }
const Error* Error::underlying() const noexcept { return content_->underlying.get(); }

std::string Error::description() const {
  std::string text = "Error Domain=" + domain() + " Code=" + std::to_string(code()) + " ";
  appendQuoted(text, message());
  if (!userInfo().empty()) text += " UserInfo=" + Value(userInfo()).description();
  if (underlying() != nullptr) text += " Underlying=(" + underlying()->description() + ")";
  return text;
}

const char* Error::what() const noexcept { return content_->message.c_str(); }

std::shared_ptr<const Error> Error::clone() const { return std::make_shared<const Error>(*this); }

void Error::raise() const { throw *this; }

}  // namespace foundation
