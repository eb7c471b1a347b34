// Whole texts run through the operations of an interface object: buffers with the slack that the library asks for,
// lengths in the right unit, results complete or an error that says why.
#ifndef RQUNI_HOST_TEXT_WORK_H
#define RQUNI_HOST_TEXT_WORK_H

#include <cstdint>
#include <optional>

#include "frame/interface.h"
#include "host/buffer.h"
#include "host/encodings.h"
#include "host/notation.h"
#include "host/result.h"
#include "host/text.h"

namespace rq::host {

/// The host's encoding of a form.
const Encoding& encodingOf(RQForm form);

/// Why a session encoding cannot carry the notations, of one that does not.
Error noNotations(const Encoding& encoding);

/// The operations of one flavour. Results lie in a buffer that the next call reuses, so each thread needs its own.
/// `start` is where a text begins in something larger; errors count from there.
class TextWork {
 public:
  enum class Measure { length, width };

  /// `encoding` is the object's session encoding, and must have a codec. `wide`: the operations take units of 4
  /// bytes.
  TextWork(RQInterface* object, const RQOperations& operations, const Encoding& encoding, bool wide)
      : object_(object),
        operations_(operations),
        encoding_(encoding),
        codec_(*codecOf(encoding.identifier)),
        wide_(wide) {}

  /// A text between a Unicode form and the session encoding. With `padBytes` it becomes a field of that size.
  Result<Bytes> fromForm(RQForm form, Bytes text, Position start = {});
  Result<Bytes> toForm(RQForm form, Bytes text, Position start = {}, std::optional<std::uint64_t> padBytes = {});
  Result<Bytes> decode(Notation notation, Bytes text, Position start = {});
  /// Encoding to Notation::uparenAscii is that to Notation::uparen.
  /// What stands around a text in the call, and is no part of the result: ASCII, in the units of the operations.
  struct Around {
    Bytes before, behind;
    std::uint64_t encodedBefore = 0, encodedBehind = 0;  // units
  };
  Result<Bytes> encode(Notation notation, Bytes text, Position start, const Around& around);
  Result<Bytes> encode(Notation notation, Bytes text, Position start = {}) {
    return encode(notation, text, start, {});
  }
  /// Characters or columns, without blanks at the end.
  Result<std::int64_t> measure(Measure measure, Bytes text, Position start = {});

 private:
  std::size_t unit() const { return wide_ ? sizeof(RQChar) : 1; }
  /// What the status of an operation means, the text's first problem on the way to `target` if it has one.
  Error failure(RQStatus status, Bytes text, Position start, const Encoding& source, const Encoding& target) const;
  /// Checks that a text is valid in the session encoding and returns how large its longest encoded form can be, in
  /// units.
  Result<std::uint64_t> encodedBound(Bytes text, Position start) const;
  Bytes joined(Bytes text, const Around& around);
  Done needWholeUnits(Bytes text, Position start) const;

  RQInterface* object_;
  const RQOperations& operations_;
  const Encoding& encoding_;
  const Codec& codec_;
  const bool wide_;
  Buffer output_, joined_;
};

}  // namespace rq::host

#endif
