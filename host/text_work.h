// Runs whole texts through the operations of an interface object. It cares for the buffers' slack and the units of
// lengths; results are complete, or an error says why not.
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
#include "host/transcoder.h"

namespace rq::host {

/// The host's encoding of a form.
const Encoding& encodingOf(RQForm form);

/// The error for a session encoding that cannot carry the notations.
Error noNotations(const Encoding& encoding);

/// The operations of one flavour. The next call overwrites a result, so each thread needs its own TextWork. `start`
/// is where the text begins in a larger one; errors count from there.
class TextWork {
 public:
  enum class Measure { length, width };

  /// `encoding` is the object's session encoding, and must have a codec. `wide`: the operations take units of 4
  /// bytes. `ownHost`: the object's host is that of this library; another's transcoders are not believed.
  TextWork(RQInterface* object, const RQOperations& operations, const Encoding& encoding, bool wide,
           bool ownHost = true)
      : object_(object),
        operations_(operations),
        encoding_(encoding),
        codec_(*codecOf(encoding.identifier)),
        wide_(wide),
        ownHost_(ownHost) {}

  /// Converts between a Unicode form and the session encoding. `padBytes` makes the result a field of that size.
  Result<Bytes> fromForm(RQForm form, Bytes text, Position start = {});
  Result<Bytes> toForm(RQForm form, Bytes text, Position start = {}, std::optional<std::uint64_t> padBytes = {});
  Result<Bytes> decode(Notation notation, Bytes text, Position start = {});
  /// What stands around a text in the call, and is no part of the result: ASCII, in the units of the operations.
  struct Around {
    Bytes before, behind;
    std::uint64_t encodedBefore = 0, encodedBehind = 0;  // units
  };
  /// Notation::uparenAscii means Notation::uparen here.
  Result<Bytes> encode(Notation notation, Bytes text, Position start, const Around& around);
  Result<Bytes> encode(Notation notation, Bytes text, Position start = {}) {
    return encode(notation, text, start, {});
  }
  /// Characters or columns, without blanks at the end.
  Result<std::int64_t> measure(Measure measure, Bytes text, Position start = {});

 private:
  std::size_t unit() const { return wide_ ? sizeof(RQChar) : 1; }
  /// The error behind a status: the text's first problem on its way from `source` to `target`, if there is one.
  Error failure(RQStatus status, Bytes text, Position start, const Encoding& source, const Encoding& target) const;
  /// Checks that a text is valid in the session encoding, by the conversion that was watched if the library made one.
  Done needValid(const ConversionWatch& watch, Bytes text, Position start) const;
  Bytes joined(Bytes text, const Around& around);
  Done needWholeUnits(Bytes text, Position start) const;
  /// True when a transform that failed may succeed with more room than it had.
  bool wantsRoom(RQStatus status, std::uint64_t capacity, Bytes text) const;
  /// Another's host must read all characters of the text: the library goes on with those that it gets.
  Done needReadByHost(Bytes text, Position start);

  RQInterface* object_;
  const RQOperations& operations_;
  const Encoding& encoding_;
  const Codec& codec_;
  const bool wide_;
  const bool ownHost_;
  Buffer output_, joined_, characters_;
};

}  // namespace rq::host

#endif
