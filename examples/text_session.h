// Sessions with strings in and strings out, over the development host: buffers with the slack that the library asks
// for, lengths in the right unit, errors as values.
#ifndef RQUNI_EXAMPLES_TEXT_SESSION_H
#define RQUNI_EXAMPLES_TEXT_SESSION_H

#include <memory>
#include <string>
#include <string_view>

#include "host/encodings.h"
#include "host/host.h"

namespace rq::example {

using host::Error;
using host::Result;

class TextSession {
 public:
  /// Loads the library at `path` and opens a session in the encoding of that name, as ICU knows it.
  static Result<TextSession> open(const std::string &path, std::string_view encoding) {
    const auto found = host::findEncoding(encoding);
    if (!found) return found.error();
    auto library = host::Library::open(path);
    if (!library) return library.error();
    host::HostOptions options;
    options.session = static_cast<int32_t>((*found)->identifier);
    auto own = std::make_unique<host::Host>(options);
    auto session = host::Session::open(*library, *own);
    if (!session) return session.error();
    return TextSession(std::move(*library), std::move(own), std::move(*session));
  }

  /// Runs a codec of the plain or served flavour on session text. An encoded byte takes 11 bytes at most.
  Result<std::string> run(RQCodec RQOperations::*slot, std::string_view text) const {
    return run<std::string>(session_->plain.*slot, text);
  }
  /// Runs a codec of the wide flavour; the session encoding should be UTF-32LE.
  Result<std::u32string> run(RQCodec RQOperations::*slot, std::u32string_view text) const {
    return run<std::u32string>(session_->wide.*slot, text);
  }

  int64_t width(std::string_view text) const {
    return session_->plain.getUnicodeWidth(session_.object(), text.data(), text.size());
  }

 private:
  TextSession(host::Library library, std::unique_ptr<host::Host> own, host::Session session)
      : library_(std::move(library)), host_(std::move(own)), session_(std::move(session)) {}

  template <class String>
  Result<String> run(RQCodec codec, std::basic_string_view<typename String::value_type> text) const {
    constexpr uint64_t mostUnits = 11;
    constexpr uint64_t slack = RQ_OUTPUT_SLACK_BYTES / sizeof(typename String::value_type);
    const uint64_t capacity = mostUnits * text.size();
    String output(capacity + slack, 0);
    uint64_t written = 0;
    const RQStatus status = codec(session_.object(), text.data(), text.size(), output.data(), capacity, &written);
    if (status != RQ_SUCCESS) return Error{Error::Kind::data, "status " + std::to_string(status)};
    if (written > capacity) return Error{Error::Kind::system, "the output does not fit"};
    output.resize(written);
    return output;
  }

  host::Library library_;  // outlives the session, as the host does
  std::unique_ptr<host::Host> host_;
  host::Session session_;
};

}  // namespace rq::example

#endif
