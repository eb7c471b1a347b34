// The SQL functions.
//
// A server's error jumps over the frames between: objects with destructors may not live in these functions.
#include "engines/notations.h"
#include "engines/postgresql/host.h"

namespace rq::postgresql {
namespace {

using engines::Failure;
using engines::Notation;

/// The longest value of type text or bytea.
constexpr std::uint64_t longestValue = MaxAllocSize - VARHDRSZ;

/// Room beyond the longest value. What is cut there is seen to be too long: an encoder stops only where less than the
/// longest notation fits.
constexpr std::uint64_t capped(std::uint64_t capacity) {
  return capacity < longestValue ? capacity : longestValue + engines::longestNotation;
}

/// A counted text or byte string of an argument.
struct Bytes {
  const char* data;
  std::uint64_t length;
  std::string_view view() const { return {data, length}; }
};

Bytes argument(FunctionCallInfo fcinfo, int number) {
  const varlena* const value = PG_GETARG_VARLENA_PP(number);
  return {VARDATA_ANY(value), VARSIZE_ANY_EXHDR(value)};
}

[[noreturn]] void failTooLong() {
  ereport(ERROR, errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED), errmsg("result is longer than 1 GB"));
  pg_unreachable();
}

[[noreturn]] void failWithoutMemory(std::uint64_t bytes) {
  ereport(ERROR, errcode(ERRCODE_OUT_OF_MEMORY), errmsg("out of memory"),
          errdetail("Failed on a text of %llu bytes.", static_cast<unsigned long long>(bytes)));
  pg_unreachable();
}

[[noreturn]] void failOnStatus(RQStatus status) {
  ereport(ERROR, errcode(ERRCODE_INTERNAL_ERROR), errmsg("unexpected status 0x%08x", status));
  pg_unreachable();
}

[[noreturn]] void failOnName(const char* what, Bytes name, const char* known) {
  ereport(ERROR, errcode(ERRCODE_INVALID_PARAMETER_VALUE),
          errmsg("unknown %s \"%s\"", what, pnstrdup(name.data, name.length < 64 ? name.length : 64)),
          errhint("Known are %s.", known));
  pg_unreachable();
}

/// The characters of the text from where it could not be read.
[[noreturn]] void failOnUnreadable(Bytes text, std::uint64_t at) {
  report_untranslatable_char(GetDatabaseEncoding(), PG_UTF8, text.data + at, static_cast<int>(text.length - at));
  pg_unreachable();
}

/// Room for a result: on the stack when it is short.
struct Room {
  char* bytes;
  std::uint64_t capacity;
  varlena* block;  // null: on the stack
  char local[4096 + RQ_OUTPUT_SLACK_BYTES];
};

/// Declares a local Room, which need not be cleared.
#define RQ_ROOM(name) __attribute__((uninitialized)) Room name

void reserve(Room* room, std::uint64_t capacity) {
  room->capacity = capacity;
  room->block = nullptr;
  room->bytes = room->local;
  const std::uint64_t needed = capacity + RQ_OUTPUT_SLACK_BYTES;
  if (needed <= sizeof room->local) return;
  room->block = static_cast<varlena*>(palloc_extended(VARHDRSZ + needed, MCXT_ALLOC_HUGE | MCXT_ALLOC_NO_OOM));
  if (!room->block) failWithoutMemory(needed);
  room->bytes = VARDATA(room->block);
}

/// The first `length` bytes as a value.
Datum give(Room* room, std::uint64_t length) {
  CHECK_FOR_INTERRUPTS();
  if (length > longestValue) failTooLong();
  varlena* value = room->block;
  if (!value) {
    value = static_cast<varlena*>(palloc(VARHDRSZ + length));
    std::memcpy(VARDATA(value), room->local, length);
  } else if (length < room->capacity / 2) {
    value = static_cast<varlena*>(repalloc(value, VARHDRSZ + length));
  }
  SET_VARSIZE(value, VARHDRSZ + length);
  return PointerGetDatum(value);
}

Datum decode(Bytes text, Bytes name) {
  const Notation* const notation = engines::findNotation(name.view());
  if (!notation) failOnName("notation", name, engines::decoderNames);
  const Host host = enter();
  RQ_ROOM(room);
  reserve(&room, text.length);  // decoded text is never longer than its source
  std::uint64_t written = 0;
  const RQStatus status = (host.object->plain.*notation->decode)(host.object, text.data, text.length, room.bytes,
                                                                 room.capacity, &written);
  raiseWhatWasCaught();
  if (status != RQ_SUCCESS || written > room.capacity) failOnStatus(status);
  return give(&room, written);
}

Datum encode(Bytes text, Bytes name) {
  const Notation* const notation = engines::findNotation(name.view());
  if (!notation || !notation->encode) failOnName("notation", name, engines::encoderNames);
  const Host host = enter();
  RQ_ROOM(room);
  reserve(&room, engines::encodedCapacity(*notation, text.length, longestValue));
  std::uint64_t written = 0;
  const RQStatus status = (host.object->plain.*notation->encode)(host.object, text.data, text.length, room.bytes,
                                                                 room.capacity, &written);
  raiseWhatWasCaught();
  if (status == RQ_NO_MEMORY) failWithoutMemory(text.length);
  const engines::Moved& failed = host.session->firstFailure;
  if (failed.failure == Failure::unreadable) failOnUnreadable(text, failed.read);
  if (status == RQ_OUTPUT_TOO_SMALL) failTooLong();
  if (status != RQ_SUCCESS) failOnStatus(status);
  if (written <= longestValue && std::memchr(room.bytes, 0, written)) {
    ereport(ERROR, errcode(ERRCODE_PROGRAM_LIMIT_EXCEEDED),
            errmsg("a character from U+F4240 up has no reference without a zero byte"),
            errhint("The other notations have one."));
  }
  return give(&room, written);
}

std::int64_t measure(Bytes text, RQMeasure RQOperations::*operation) {
  const Host host = enter();
  const std::int64_t measured = (host.object->plain.*operation)(host.object, text.data, text.length);
  raiseWhatWasCaught();
  if (measured < 0) failWithoutMemory(text.length);
  const engines::Moved& failed = host.session->firstFailure;
  if (failed.failure == Failure::unreadable) failOnUnreadable(text, failed.read);
  CHECK_FOR_INTERRUPTS();
  return measured;
}

/// An encoding form by its name.
struct NamedForm {
  const char* name;
  RQTransform RQOperations::*toSession;
  RQPaddedTransform RQOperations::*fromSession;  // null for UTF-8, whose operation has no padding
  std::uint64_t unit;                            // bytes of a code unit
  std::uint64_t growth;                          // the most bytes that a byte of the session becomes
};
constexpr NamedForm namedForms[] = {
    {"utf8", &RQOperations::getUTF8, nullptr, 1, 3},
    {"utf16le", &RQOperations::getUTF16L, &RQOperations::putUTF16L, 2, 2},
    {"utf16be", &RQOperations::getUTF16B, &RQOperations::putUTF16B, 2, 2},
    {"utf32le", &RQOperations::getUTF32L, &RQOperations::putUTF32L, 4, 4},
    {"utf32be", &RQOperations::getUTF32B, &RQOperations::putUTF32B, 4, 4},
};

/// The most bytes of session text that a byte of any form becomes: four bytes of EUC_TW stand for two of UTF-16.
constexpr std::uint64_t sessionGrowth = 2;

const NamedForm& formOf(Bytes name) {
  for (const NamedForm& form : namedForms)
    if (name.view() == form.name) return form;
  failOnName("form", name, "utf8, utf16le, utf16be, utf32le, utf32be");
}

Datum to(Bytes text, Bytes name) {
  const NamedForm& form = formOf(name);
  const Host host = enter();
  const RQOperations& operations = host.object->plain;
  RQ_ROOM(room);
  reserve(&room, capped(form.growth * text.length));
  std::uint64_t written = 0;
  const RQStatus status =
      form.fromSession ? (operations.*form.fromSession)(host.object, text.data, text.length, room.bytes,
                                                        room.capacity, &written, 0)
                       : operations.putUTF8(host.object, text.data, text.length, room.bytes, room.capacity, &written);
  raiseWhatWasCaught();
  const engines::Moved& failed = host.session->firstFailure;
  if (failed.failure == Failure::unreadable) failOnUnreadable(text, failed.read);
  if (failed.failure == Failure::outputFull) failTooLong();
  if (status != RQ_SUCCESS) failOnStatus(status);
  return give(&room, written);
}

/// Where the first unit of zero stands, or the length.
std::uint64_t zeroUnitAt(Bytes text, std::uint64_t unit) {
  constexpr char zero[4] = {};
  std::uint64_t at = 0;
  while (at + unit <= text.length && std::memcmp(text.data + at, zero, unit) != 0) at += unit;
  return at + unit <= text.length ? at : text.length;
}

[[noreturn]] void failOnForm(const NamedForm& form, Bytes text, std::uint64_t at) {
  const std::uint64_t shown = text.length - at < 4 ? text.length - at : 4;
  char digits[2 * 4 + 1] = "";
  hex_encode(text.data + at, shown, digits);
  ereport(ERROR, errcode(ERRCODE_CHARACTER_NOT_IN_REPERTOIRE),
          errmsg("bytes 0x%s at offset %llu of the %s are no character of a text", digits,
                 static_cast<unsigned long long>(at), form.name));
  pg_unreachable();
}

[[noreturn]] void failOnLacking(const NamedForm& form, std::uint64_t at) {
  ereport(ERROR, errcode(ERRCODE_UNTRANSLATABLE_CHARACTER),
          errmsg("the character at offset %llu of the %s has no equivalent in encoding \"%s\"",
                 static_cast<unsigned long long>(at), form.name, GetDatabaseEncodingName()));
  pg_unreachable();
}

Datum from(Bytes bytes, Bytes name) {
  const NamedForm& form = formOf(name);
  const std::uint64_t zero = zeroUnitAt(bytes, form.unit);
  if (zero != bytes.length) failOnForm(form, bytes, zero);
  const Host host = enter();
  RQ_ROOM(room);
  reserve(&room, capped(sessionGrowth * bytes.length));
  std::uint64_t written = 0;
  const RQStatus status = (host.object->plain.*form.toSession)(host.object, bytes.data, bytes.length, room.bytes,
                                                               room.capacity, &written);
  raiseWhatWasCaught();
  const engines::Moved& failed = host.session->firstFailure;
  if (failed.failure == Failure::unreadable) failOnForm(form, bytes, failed.read);
  if (failed.failure == Failure::lacking) failOnLacking(form, failed.read);
  if (failed.failure == Failure::outputFull) failTooLong();
  if (status != RQ_SUCCESS) failOnStatus(status);
  return give(&room, written);
}

}  // namespace
}  // namespace rq::postgresql

// What the server looks for in the module.
#pragma GCC visibility push(default)
extern "C" {
PG_MODULE_MAGIC;
PG_FUNCTION_INFO_V1(rq_decode);
PG_FUNCTION_INFO_V1(rq_encode);
PG_FUNCTION_INFO_V1(rq_length);
PG_FUNCTION_INFO_V1(rq_width);
PG_FUNCTION_INFO_V1(rq_to);
PG_FUNCTION_INFO_V1(rq_from);
}
#pragma GCC visibility pop

using rq::postgresql::argument;

Datum rq_decode(PG_FUNCTION_ARGS) {
  return rq::postgresql::decode(argument(fcinfo, 0), argument(fcinfo, 1));
}

Datum rq_encode(PG_FUNCTION_ARGS) {
  return rq::postgresql::encode(argument(fcinfo, 0), argument(fcinfo, 1));
}

Datum rq_length(PG_FUNCTION_ARGS) {
  return Int64GetDatum(rq::postgresql::measure(argument(fcinfo, 0), &RQOperations::getUnicodeLength));
}

Datum rq_width(PG_FUNCTION_ARGS) {
  return Int64GetDatum(rq::postgresql::measure(argument(fcinfo, 0), &RQOperations::getUnicodeWidth));
}

Datum rq_to(PG_FUNCTION_ARGS) {
  return rq::postgresql::to(argument(fcinfo, 0), argument(fcinfo, 1));
}

Datum rq_from(PG_FUNCTION_ARGS) {
  return rq::postgresql::from(argument(fcinfo, 0), argument(fcinfo, 1));
}
