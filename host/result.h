// A value or the error.
#ifndef RQUNI_HOST_RESULT_H
#define RQUNI_HOST_RESULT_H

#include <string>
#include <utility>
#include <variant>

namespace rq::host {

struct Error {
  enum class Kind {
    data,    // the text: invalid bytes, characters that the target lacks
    usage,   // the request: it names what does not exist, or contradicts itself
    memory,  // there is not enough
    system,  // files, the library, the host
  };
  Kind kind;
  std::string text;  // one sentence without a final stop, UTF-8
};

template <class T>
class [[nodiscard]] Result {
 public:
  Result(T value) : content_(std::in_place_index<0>, std::move(value)) {}
  Result(Error error) : content_(std::in_place_index<1>, std::move(error)) {}

  explicit operator bool() const { return content_.index() == 0; }
  T& operator*() { return std::get<0>(content_); }
  const T& operator*() const { return std::get<0>(content_); }
  T* operator->() { return &std::get<0>(content_); }
  const T* operator->() const { return &std::get<0>(content_); }
  Error& error() { return std::get<1>(content_); }
  const Error& error() const { return std::get<1>(content_); }

 private:
  std::variant<T, Error> content_;
};

/// For steps that yield nothing but may fail.
using Done = Result<std::monostate>;
inline Done done() {
  return std::monostate();
}

}  // namespace rq::host

#endif
