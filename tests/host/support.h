// What the tests of the host share.
#ifndef RQUNI_TESTS_HOST_SUPPORT_H
#define RQUNI_TESTS_HOST_SUPPORT_H

#include <gtest/gtest.h>

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

#include "host/encodings.h"
#include "host/host.h"
#include "host/transcoder.h"

namespace rq::test {

inline host::Bytes bytesOf(std::string_view text) {
  return std::as_bytes(std::span(text));
}

inline const host::Encoding& encodingNamed(std::string_view name) {
  const auto encoding = host::findEncoding(name);
  if (!encoding) throw std::runtime_error(encoding.error().text);
  return **encoding;
}

inline std::uint32_t identifierOf(std::string_view name) {
  return encodingNamed(name).identifier;
}

inline const host::Codec& codecNamed(std::string_view name) {
  const host::Codec* codec = host::codecOf(identifierOf(name));
  if (!codec) throw std::runtime_error("no codec: " + std::string(name));
  return *codec;
}

struct Converted {
  std::string bytes;
  host::Outcome outcome;
};

/// One conversion with a capacity; fails the test when it writes beyond.
inline Converted convert(std::string_view source, std::string_view target, std::string_view text,
                         std::size_t capacity = 4096) {
  constexpr char canary = '\x5A';
  std::string output(capacity + 16, canary);
  const host::Conversion conversion = host::convert(codecNamed(source), codecNamed(target), bytesOf(text),
                                                    std::as_writable_bytes(std::span(output)).first(capacity));
  EXPECT_LE(conversion.produced, capacity);
  EXPECT_EQ(output.substr(capacity), std::string(16, canary)) << "written beyond the capacity";
  output.resize(conversion.produced);
  return {output, conversion.outcome};
}

inline host::Library loadLibrary() {
  host::Result<host::Library> library = host::Library::open(RQ_LIBRARY_PATH);
  if (!library) throw std::runtime_error(library.error().text);
  return std::move(*library);
}

}  // namespace rq::test

#endif
