#include "host/text_work.h"

#include <algorithm>

#include "host/transcoder.h"

namespace rq::host {
namespace {

/// The longest notation of a character, "\\U0001F600", with a unit to spare.
constexpr std::uint64_t longestNotation = 11;
/// The library's smallest working buffer has room for so many characters, however short the text.
constexpr std::uint64_t fewestCharacters = 256;

const Error notSupported = {Error::Kind::system, "the operation is not supported by this library"};
const Error falseLength = {Error::Kind::system, "the host says that it wrote more than it had room for"};

RQCodec decoderOf(const RQOperations& operations, Notation notation) {
  switch (notation) {
    case Notation::ncr:
      return operations.getNCR;
    case Notation::uesc:
      return operations.getUEsc;
    case Notation::uparen:
      return operations.getUParen;
    case Notation::uparenAscii:
      break;
  }
  return operations.getUParenP;
}

RQCodec encoderOf(const RQOperations& operations, Notation notation) {
  if (notation == Notation::ncr) return operations.putNCR;
  return notation == Notation::uesc ? operations.putUEsc : operations.putUParen;
}

/// The bytes of a form's shortest character.
std::size_t shortestCharacter(RQForm form) {
  if (form == RQ_FORM_UTF8) return 1;
  return form == RQ_FORM_UTF16_BIG || form == RQ_FORM_UTF16_LITTLE ? 2 : 4;
}

/// The most bytes of a form for each byte of session text: a byte is at most one character, of the Basic Multilingual
/// Plane where it stands alone.
std::size_t growth(RQForm form) {
  return form == RQ_FORM_UTF8 ? 3 : shortestCharacter(form);
}

}  // namespace

const Encoding& encodingOf(RQForm form) {
  return *findEncoding(formEncodings[form]);
}

Error noNotations(const Encoding& encoding) {
  return {Error::Kind::usage, "the notations are ASCII text, and in " + encoding.name +
                                  " ASCII characters are not single bytes of their own"};
}

Error TextWork::failure(RQStatus status, Bytes text, Position start, const Encoding& source,
                        const Encoding& target) const {
  if (status == RQ_UNSUPPORTED) return notSupported;
  if (status == RQ_NO_MEMORY) return {Error::Kind::memory, atBeginning(start, "not enough memory")};
  const Codec& from = *codecOf(source.identifier);
  const Codec& to = *codecOf(target.identifier);
  if (const auto problem = findProblem(from, to, text, start)) {
    return {Error::Kind::data, describe(*problem, source, target)};
  }
  if (status == outputFullStatus) {
    return {Error::Kind::data, atBeginning(start, "the text does not fit into the field")};
  }
  const std::string_view meaning = describe(status);
  return {Error::Kind::system, atBeginning(start, "the operation failed with status " + hexadecimal(status) +
                                                      (meaning.empty() ? "" : " (" + std::string(meaning) + ")"))};
}

Done TextWork::needWholeUnits(Bytes text, Position start) const {
  if (text.size() % unit() == 0) return done();
  return failure(truncatedStatus, text, start, encoding_, encoding_);
}

bool TextWork::wantsRoom(RQStatus status, std::uint64_t capacity, Bytes text) const {
  if (ownHost_) return status == outputFullStatus;
  // Another's statuses are its own: each may mean that the output is full.
  constexpr std::uint64_t mostGrowth = 16;
  return capacity <= mostGrowth * text.size() + 1024;
}

Done TextWork::needReadByHost(Bytes text, Position start) {
  if (ownHost_) return done();
  std::uint64_t count = 0;
  readCharacters(codec_, text, [&count](std::span<const char32_t> piece) { count += piece.size(); });
  const MutableBytes room = characters_.atLeast((count + 1) * sizeof(RQChar));
  RQTranscoder* const inbound = object_->transcoders[RQ_FORM_UTF32_NATIVE].fromSession;
  std::uint64_t produced = 0;
  const RQStatus status =
      inbound->convert(inbound, text.data(), text.size(), room.data(), (count + 1) * sizeof(RQChar), &produced, 0);
  if (status == RQ_SUCCESS && produced == count * sizeof(RQChar)) return done();
  return Error{Error::Kind::system,
               atBeginning(start, "the host reads " + std::to_string(produced / sizeof(RQChar)) + " of the text's " +
                                      std::to_string(count) + " characters, with status " + hexadecimal(status))};
}

Result<Bytes> TextWork::fromForm(RQForm form, Bytes text, Position start) {
  const RQTransform transform = form == RQ_FORM_UTF8           ? operations_.getUTF8
                                : form == RQ_FORM_UTF16_BIG    ? operations_.getUTF16B
                                : form == RQ_FORM_UTF16_LITTLE ? operations_.getUTF16L
                                : form == RQ_FORM_UTF32_BIG    ? operations_.getUTF32B
                                                               : operations_.getUTF32L;
  // Most encodings have no character of more than 4 bytes. Room that stays unused costs no memory.
  const std::uint64_t characters = text.size() / shortestCharacter(form) + 1;
  for (std::uint64_t capacity = characters * (4 / unit()) + 64;; capacity *= 2) {
    const MutableBytes room = output_.atLeast(capacity * unit() + RQ_OUTPUT_SLACK_BYTES);
    std::uint64_t written = 0;
    const RQStatus status = transform(object_, text.data(), text.size(), room.data(), capacity, &written);
    if (written > capacity) return falseLength;
    if (status == RQ_SUCCESS) return Bytes(room.first(written * unit()));
    if (!wantsRoom(status, capacity, text)) return failure(status, text, start, encodingOf(form), encoding_);
  }
}

Result<Bytes> TextWork::toForm(RQForm form, Bytes text, Position start, std::optional<std::uint64_t> padBytes) {
  if (Done whole = needWholeUnits(text, start); !whole) return whole.error();
  const RQPaddedTransform padded = form == RQ_FORM_UTF16_BIG      ? operations_.putUTF16B
                                   : form == RQ_FORM_UTF16_LITTLE ? operations_.putUTF16L
                                   : form == RQ_FORM_UTF32_BIG    ? operations_.putUTF32B
                                                                  : operations_.putUTF32L;
  const std::uint64_t units = text.size() / unit();
  for (std::uint64_t capacity = padBytes ? *padBytes / unit() : units * std::max(growth(form), unit()) / unit() + 64;;
       capacity *= 2) {
    const MutableBytes room = output_.atLeast(capacity * unit() + RQ_OUTPUT_SLACK_BYTES);
    std::uint64_t written = 0;  // of a wide operation too this counts bytes, but for padded fields
    const RQStatus status =
        form == RQ_FORM_UTF8 ? operations_.putUTF8(object_, text.data(), units, room.data(), capacity, &written)
                             : padded(object_, text.data(), units, room.data(), capacity, &written, padBytes ? 1 : 0);
    const std::uint64_t writtenBytes = padBytes ? written * unit() : written;
    if (writtenBytes > room.size()) return falseLength;
    if (status == RQ_SUCCESS) return Bytes(room.first(writtenBytes));
    if (padBytes || !wantsRoom(status, capacity, text)) {
      return failure(status, text, start, encoding_, encodingOf(form));
    }
  }
}

Result<Bytes> TextWork::decode(Notation notation, Bytes text, Position start) {
  if (Done whole = needWholeUnits(text, start); !whole) return whole.error();
  const RQCodec decoder = decoderOf(operations_, notation);
  const std::uint64_t units = text.size() / unit();
  // A decoder stops silently at a full output: only spare room shows that it reached the end.
  for (std::uint64_t capacity = units + 64;; capacity *= 2) {
    const MutableBytes room = output_.atLeast(capacity * unit() + RQ_OUTPUT_SLACK_BYTES);
    std::uint64_t written = 0;
    const RQStatus status = decoder(object_, text.data(), units, room.data(), capacity, &written);
    if (written > room.size() / unit()) return falseLength;  // a doubled marker may pass the capacity itself
    if (status == RQ_SUCCESS && written < capacity) return Bytes(room.first(written * unit()));
    const bool tooSmall =
        status == RQ_SUCCESS || status == RQ_OUTPUT_TOO_SMALL || status == RQ_REPLACEMENT_DOES_NOT_FIT;
    if (!tooSmall || capacity > 64 * units + 4096) return failure(status, text, start, encoding_, encoding_);
  }
}

Done TextWork::needValid(const ConversionWatch& watch, Bytes text, Position start) const {
  if (!watch.outcome()) {
    const bool valid = readCharacters(codec_, text, [](std::span<const char32_t>) {});
    return valid ? done() : failure(malformedStatus, text, start, encoding_, encoding_);
  }
  if (watch.outcome() == Outcome::done) return done();
  if (watch.outcome() != Outcome::outputFull) {
    return failure(statusOf(*watch.outcome()), text, start, encoding_, encoding_);
  }
  // The library's working buffer has room for one character per unit.
  return Error{Error::Kind::data,
               atBeginning(start, "the text has more characters than bytes, which the library cannot encode")};
}

Bytes TextWork::joined(Bytes text, const Around& around) {
  const std::size_t size = around.before.size() + text.size() + around.behind.size();
  const MutableBytes all = joined_.atLeast(size).first(size);
  auto end = std::ranges::copy(around.before, all.begin()).out;
  end = std::ranges::copy(text, end).out;
  std::ranges::copy(around.behind, end);
  return all;
}

Result<Bytes> TextWork::encode(Notation notation, Bytes text, Position start, const Around& around) {
  if (Done whole = needWholeUnits(text, start); !whole) return whole.error();
  const RQCodec encoder = encoderOf(operations_, notation);
  const bool alone = around.before.empty() && around.behind.empty();
  const Bytes input = alone ? text : joined(text, around);
  const std::uint64_t units = input.size() / unit();
  // An encoder silently drops what does not fit, so give room for the longest notation of every character.
  const std::uint64_t capacity = longestNotation * std::max(units, fewestCharacters) + 64;
  const MutableBytes room = output_.atLeast(capacity * unit() + RQ_OUTPUT_SLACK_BYTES);
  std::uint64_t written = 0;
  const ConversionWatch watch(input);
  const RQStatus status = encoder(object_, input.data(), units, room.data(), capacity, &written);
  if (status != RQ_SUCCESS) return failure(status, text, start, encoding_, encoding_);
  if (Done valid = needValid(watch, text, start); !valid) return valid.error();
  if (Done read = needReadByHost(text, start); !read) return read.error();
  if (written > capacity || written < around.encodedBefore + around.encodedBehind) return falseLength;
  const std::uint64_t result = written - around.encodedBefore - around.encodedBehind;
  return Bytes(room.subspan(around.encodedBefore * unit(), result * unit()));
}

Result<std::int64_t> TextWork::measure(Measure measure, Bytes text, Position start) {
  if (Done whole = needWholeUnits(text, start); !whole) return whole.error();
  const RQMeasure slot = measure == Measure::length ? operations_.getUnicodeLength : operations_.getUnicodeWidth;
  const std::uint64_t units = text.size() / unit();
  const ConversionWatch watch(text);
  const std::int64_t count = slot(object_, text.data(), units);
  if (count < 0) return failure(RQ_NO_MEMORY, text, start, encoding_, encoding_);
  // No text has more than two columns per unit: a larger count is the status of a missing operation.
  if (count == RQ_UNSUPPORTED && static_cast<std::uint64_t>(count) > 2 * units) return notSupported;
  if (Done valid = needValid(watch, text, start); !valid) return valid.error();
  if (Done read = needReadByHost(text, start); !read) return read.error();
  return count;
}

}  // namespace rq::host
