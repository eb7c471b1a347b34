// Byte order marks: U+FEFF in front of Unicode text.
#ifndef RQUNI_CLI_BYTE_ORDER_H
#define RQUNI_CLI_BYTE_ORDER_H

#include <array>
#include <functional>
#include <string>

#include "frame/interface.h"
#include "host/codec.h"
#include "host/result.h"

namespace rq::cli {

/// The mark as a form writes it.
std::string byteOrderMark(RQForm form);

/// The mark that may stand in front of a file's text.
struct ExpectedMark {
  std::string bytes;          // in big-endian order where it chooses the order; empty: none is looked for
  bool choosesOrder = false;  // the reversed mark says that the file is little-endian
};

/// Reads a file behind its byte order mark. A file that its mark says to be little-endian comes out big-endian.
class MarkedReader {
 public:
  using Read = std::function<host::Result<std::size_t>(host::MutableBytes)>;

  static constexpr std::size_t leastRoom = 8;

  explicit MarkedReader(ExpectedMark mark) : mark_(std::move(mark)) {}

  /// Fills `room`, of leastRoom bytes or more, with the next bytes that `read` gives: at least one, or none at the
  /// end.
  host::Result<std::size_t> read(host::MutableBytes room, const Read& read);
  /// The length of the mark, 0 if there is none. Known after the first read.
  std::size_t markBytes() const { return found_; }
  bool reversed() const { return reversed_; }

 private:
  /// Looks for the mark in the first bytes and removes it. Returns how many of them are left.
  std::size_t takeMark(host::MutableBytes front);
  /// Keeps the bytes of an incomplete unit for the next read, brings the others to big-endian order and returns their
  /// number.
  std::size_t reverseUnits(host::MutableBytes bytes);

  const ExpectedMark mark_;
  std::array<std::byte, 4> held_{};  // read and not handed out
  std::size_t heldBytes_ = 0;
  std::size_t found_ = 0;
  bool looked_ = false, reversed_ = false;
};

/// Turns units of 2 or 4 bytes to the other byte order; an incomplete one at the end stays.
void reverseBytes(host::MutableBytes bytes, std::size_t unit);

}  // namespace rq::cli

#endif
