#include "tests/model/codec_twin.h"

#include <type_traits>

#include "tests/model/kit_twin.h"

namespace rq::test::twin {
namespace {

using u8 = std::uint8_t;
using u32 = std::uint32_t;
using u64 = std::uint64_t;
using i64 = std::int64_t;

RQKernel* kernelHandle = nullptr;
RQCaseService* caseService() {
  return kernelHandle ? kernelHandle->caseService : nullptr;
}

/* The flavours: unit, scratch sizes, digits. */

struct Plain {
  using Unit = u8;
  static u8 escape(const RQInterface* object) { return object->escape; }
  static u8 reference(const RQInterface* object) { return object->reference; }
  static void upperCase(u8* units, u64 count) {
    for (u64 i = 0; i < count; ++i)
      if (units[i] >= 'a' && units[i] <= 'z') units[i] = static_cast<u8>(units[i] - 0x20);
  }
};

struct Served {
  using Unit = u8;
  static u8 escape(const RQInterface*) { return '\\'; }
  static u8 reference(const RQInterface*) { return '#'; }
  static void upperCase(u8* units, u64 count) {
    RQCaseService* service = caseService();
    if (!service) return Plain::upperCase(units, count);
    RQCharsetService* charset = service->charset;
    if (!charset) {
      const RQChar name[] = {'Z', 'Q', 'D'};
      RQStatus status = 0;
      charset = service->lookUp(service, name, 3, &status);
    }
    if (!charset) return Plain::upperCase(units, count);
    charset->upperCase(charset, units, count, 0);
  }
};

struct Wide {
  using Unit = RQChar;
  static RQChar escape(const RQInterface*) { return '\\'; }
  static RQChar reference(const RQInterface*) { return '#'; }
  static void upperCase(RQChar* units, u64 count) {
    RQCaseService* service = caseService();
    for (u64 i = 0; i < count; ++i) {
      if (units[i] >= 'a' && units[i] <= 'z') units[i] -= 0x20;
      // The built-in tables make no hexadecimal digit of anything beyond ASCII, so they can be left out here.
      else if (units[i] >= 0x80 && service)
        units[i] = service->upper(service, units[i], 1);
    }
  }
};

/* The steps that the notations share. */

template <class Unit>
i64 scan(const Unit* units, u64 count, u32 wanted) {
  for (u64 i = 0; i < count; ++i)
    if (units[i] == wanted) return static_cast<i64>(i);
  return -1;
}

u32 letter(u32 unit) {
  return unit & ~u32{0x20};
}
bool isHigh(u32 value) {
  return (value & 0xFFFF) >= 0xD800 && (value & 0xFFFF) <= 0xDBFF;
}
bool isLow(u32 value) {
  return (value & 0xFFFF) >= 0xDC00 && (value & 0xFFFF) <= 0xDFFF;
}
u32 paired(u32 first, u32 second) {
  return ((first & 0x3FF) << 10 | (second & 0x3FF)) + 0x10000;
}

struct Digits {
  u32 value = 0;
  u64 count = 0;
};

int hexadecimal(u32 unit) {
  for (int i = 0; i < 16; ++i)
    if (unit == static_cast<u8>("0123456789ABCDEF"[i])) return i;
  return -1;
}

template <class F>
Digits readHexadecimal(const typename F::Unit* units, u64 count) {
  typename F::Unit scratch[8] = {};
  for (u64 i = 0; i < count; ++i) scratch[i] = units[i];
  F::upperCase(scratch, count);
  Digits digits;
  while (digits.count < count && hexadecimal(scratch[digits.count]) >= 0) {
    digits.value = digits.value * 16 + static_cast<u32>(hexadecimal(scratch[digits.count]));
    ++digits.count;
  }
  return digits;
}

template <class Unit>
Digits readDecimal(const Unit* units, u64 count) {
  Digits digits;
  while (digits.count < count && units[digits.count] >= '0' && units[digits.count] <= '9') {
    digits.value = digits.value * 10 + (units[digits.count] - '0');
    ++digits.count;
  }
  return digits;
}

RQTranscoder* outbound(const RQInterface* object) {
  return object->transcoders[RQ_FORM_UTF32_NATIVE].toSession;
}
RQTranscoder* inbound(const RQInterface* object) {
  return object->transcoders[RQ_FORM_UTF32_NATIVE].fromSession;
}

u64 least(u64 a, u64 b) {
  return a < b ? a : b;
}

/// A code point as session text.
template <class Unit>
struct Written {
  Unit units[20] = {};
  u64 count = 0;
  bool survives = false;
};

template <class Unit>
Written<Unit> roundTrip(const RQInterface* object, u32 value, u64 capacityBytes) {
  Written<Unit> written;
  u64 produced = capacityBytes;
  outbound(object)->convert(outbound(object), &value, 4, written.units, capacityBytes, &produced, 0);
  if (produced > capacityBytes) return written;
  u32 back = 0;
  u64 backProduced = 0;
  inbound(object)->convert(inbound(object), written.units, produced, &back, 4, &backProduced, 0);
  written.survives = back == value;
  written.count = produced / sizeof(Unit);
  return written;
}

/// The encoders' working buffer: 1024 local bytes or a block of the pool, given back at the end.
class WorkBuffer {
 public:
  WorkBuffer(const RQInterface* object, u64 units, bool large) : pool_(object->pool) {
    if (!large) return;
    if (units <= u64{1} << 61) block_ = static_cast<u32*>(pool_->allocate(pool_, 4 * units, 0));
    failed = !block_;
    capacity = 4 * units;
  }
  ~WorkBuffer() {
    if (block_) pool_->release(pool_, block_);
  }
  WorkBuffer(const WorkBuffer&) = delete;
  WorkBuffer& operator=(const WorkBuffer&) = delete;

  u32* characters() { return block_ ? block_ : local_; }
  bool failed = false;
  u64 capacity = 1024;

 private:
  RQPool* pool_;
  u32* block_ = nullptr;
  u32 local_[256] = {};
};

/// Widens the input into the buffer; the number of characters.
template <class Unit, class IsAscii>
u64 widen(const RQInterface* object, const Unit* in, u64 units, WorkBuffer& buffer, IsAscii isAscii) {
  u64 i = 0;
  for (; i < units && isAscii(in[i]); ++i) buffer.characters()[i] = in[i];
  if (i == units) return units;
  u64 produced = 0;
  inbound(object)->convert(inbound(object), in, units * sizeof(Unit), buffer.characters(), buffer.capacity, &produced,
                           0);
  return least(produced, buffer.capacity) / 4;
}

/* Numeric character references. */

// `at` is the unit after the reference character, `semicolon` the index of the first ';' from there.
template <class F>
Digits parseReference(const typename F::Unit* at, u64 semicolon) {
  Digits digits =
      at[0] == 'x' ? readHexadecimal<F>(at + 1, least(semicolon - 1, 8)) : readDecimal(at, least(semicolon, 8));
  if (digits.count < 2) digits.value = 0;
  return digits;
}

template <class F, class Unit = typename F::Unit>
RQStatus getNCR(RQInterface* object, const void* input, u64 remaining, void* output, u64 capacity, u64* stored) {
  auto* in = static_cast<const Unit*>(input);
  auto* out = static_cast<Unit*>(output);
  if (remaining == 0) return *stored = 0, RQ_SUCCESS;
  const u32 second = F::reference(object);
  u64 written = 0;
  while (written < capacity) {
    i64 semicolon = -1;
    if (in[0] == '&' && remaining >= 2 && in[1] == second) semicolon = scan(in + 2, remaining - 2, ';');
    if (semicolon < 0) {
      out[written++] = *in++;
      if (--remaining == 0) break;
      continue;
    }
    const Digits first = parseReference<F>(in + 2, static_cast<u64>(semicolon));
    u32 value = first.value;
    u64 consumed = static_cast<u64>(semicolon) + 3;
    if (first.count >= 4 && isHigh(value) && remaining - consumed >= 5 && in[consumed] == '&' &&
        in[consumed + 1] == second) {
      const i64 next = scan(in + consumed + 2, remaining - consumed - 2, ';');
      if (next >= 0) {
        const Digits low = parseReference<F>(in + consumed + 2, static_cast<u64>(next));
        if (low.count >= 4 && isLow(low.value)) {
          value = paired(value, low.value);
          consumed += static_cast<u64>(next) + 3;
        } else {
          value &= 0xFFFF;
        }
      }
    }
    const auto character = roundTrip<Unit>(object, value, 20 * sizeof(Unit));
    const Unit* from = character.survives ? character.units : in;
    const u64 length = character.survives ? character.count : consumed;
    if (written + length > capacity) return *stored = written, RQ_OUTPUT_TOO_SMALL;
    for (u64 i = 0; i < length; ++i) out[written + i] = from[i];
    written += length;
    in += consumed;
    remaining -= consumed;
    if (remaining == 0) break;
  }
  return *stored = written, RQ_SUCCESS;
}

// The four digits at units 2 to 5 of the text; what is no digit, or missing, counts -1.
template <class F, class Unit = typename F::Unit>
u32 uparenValue(const Unit* text, u64 units) {
  Unit scratch[4] = {};
  const u64 there = units <= 2 ? 0 : least(units - 2, 4);
  for (u64 i = 0; i < there; ++i) scratch[i] = text[2 + i];
  F::upperCase(scratch, there);
  u32 value = 0;
  for (u64 i = 0; i < 4; ++i) value = value * 16 + static_cast<u32>(i < there ? hexadecimal(scratch[i]) : -1);
  return value;
}

template <class F, class Unit = typename F::Unit>
RQStatus putNCR(RQInterface* object, const void* input, u64 units, void* output, u64 capacity, u64* stored) {
  constexpr u64 size = sizeof(Unit);
  constexpr u64 scratchBytes = size == 4 ? 40 : 10;
  constexpr u64 referenceUnits = size == 4 ? 40 : 10;
  auto* in = static_cast<const Unit*>(input);
  auto* out = static_cast<Unit*>(output);
  WorkBuffer buffer(object, units, units >= 256);
  if (buffer.failed) return RQ_NO_MEMORY;
  const u64 count = widen(object, in, units, buffer, [](Unit unit) { return unit <= 127; });
  const u32* text = buffer.characters();
  u64 written = 0;
  for (u64 i = 0; i < count && written < capacity;) {
    u32 c = text[i];
    u64 used = 1;
    Unit scratch[40] = {};
    u64 length = 0;
    if (c == '<' && count - i >= 7 && letter(text[i + 1]) == 'U' && text[i + 6] == '>') {
      u64 produced = 0;
      outbound(object)->convert(outbound(object), text + i, 28, scratch, scratchBytes, &produced, 0);
      if (produced == 7 * size) {
        c = uparenValue<F>(in, units);
        used = 7;
      }
    }
    if (c > 0x80) {
      scratch[length++] = '&';
      scratch[length++] = static_cast<Unit>(F::reference(object));
      bool begun = false;
      u32 rest = c;
      for (u32 divisor = 100000; divisor != 0 && length < referenceUnits; divisor /= 10) {
        const u32 quotient = rest / divisor;
        if (quotient == 0 && !begun) continue;
        begun = true;
        scratch[length++] = static_cast<Unit>(quotient < 10 ? '0' + quotient : 0);
        rest %= divisor;
      }
      scratch[length++] = ';';
    } else {
      u64 produced = 0;
      outbound(object)->convert(outbound(object), &c, 4, scratch, scratchBytes, &produced, 0);
      length = least(produced, scratchBytes) / size;
    }
    if (written + length > capacity) break;
    for (u64 k = 0; k < length; ++k) out[written + k] = scratch[k];
    written += length;
    i += used;
  }
  return *stored = written, RQ_SUCCESS;
}

/* Unicode escapes. */

template <class F>
Digits readEscapeDigits(const typename F::Unit* at, u64 available, u64 limit) {
  return readHexadecimal<F>(at, least(limit, available));
}

template <class F, class Unit = typename F::Unit>
RQStatus getUEsc(RQInterface* object, const void* input, u64 remaining, void* output, u64 capacity, u64* stored) {
  auto* in = static_cast<const Unit*>(input);
  auto* out = static_cast<Unit*>(output);
  if (remaining == 0 || capacity == 0) return *stored = 0, RQ_SUCCESS;
  const u32 escape = F::escape(object);
  u64 written = 0;
  do {
    if (!(remaining > 2 && in[0] == escape && letter(in[1]) == 'U')) {
      out[written++] = *in++;
      --remaining;
      continue;
    }
    if (letter(in[2]) == 'U') {
      out[written++] = in[0];
      out[written++] = in[1];
      in += 3;
      remaining -= 3;
      continue;
    }
    Digits digits = readEscapeDigits<F>(in + 2, remaining - 2, 8);
    if (digits.count < 4) {
      digits.value = 0;
    } else if (digits.value != 0) {
      if (digits.count >= 5 && digits.count <= 7) digits = readEscapeDigits<F>(in + 2, remaining - 2, 4);
      const u32 plane = digits.value >> 16;
      if (!(plane <= 2 || (plane >= 14 && plane <= 16))) digits = readEscapeDigits<F>(in + 2, remaining - 2, 4);
    }
    u32 value = digits.value;
    u64 consumed = digits.count + 2;
    if (digits.count == 4 && isHigh(value) && remaining - consumed > 2 && in[consumed] == escape &&
        letter(in[consumed + 1]) == 'U') {
      const Digits low = readEscapeDigits<F>(in + consumed + 2, remaining - consumed - 2, 4);
      if (low.count == 4 && isLow(low.value)) {
        value = paired(value, low.value);
        consumed += 6;
      } else {
        value &= 0xFFFF;
      }
    }
    const auto character = roundTrip<Unit>(object, value, 20 * sizeof(Unit));
    const bool decoded = character.survives && digits.count >= 4;
    const Unit* from = decoded ? character.units : in;
    const u64 length = decoded ? character.count : consumed;
    if (written + length > capacity) return *stored = written, RQ_REPLACEMENT_DOES_NOT_FIT;
    for (u64 i = 0; i < length; ++i) out[written + i] = from[i];
    written += length;
    in += consumed;
    remaining -= consumed;
  } while (remaining != 0 && written < capacity);
  return *stored = written, RQ_SUCCESS;
}

template <class Unit>
u64 writeHexadecimal(Unit* out, u32 value, unsigned digits) {
  for (unsigned i = 0; i < digits; ++i)
    out[i] = static_cast<Unit>("0123456789ABCDEF"[value >> (4 * (digits - 1 - i)) & 15]);
  return digits;
}

template <class F, class Unit = typename F::Unit>
RQStatus putUEsc(RQInterface* object, const void* input, u64 units, void* output, u64 capacity, u64* stored) {
  auto* in = static_cast<const Unit*>(input);
  auto* out = static_cast<Unit*>(output);
  WorkBuffer buffer(object, units, units > 256);
  if (buffer.failed) return RQ_NO_MEMORY;
  const u64 count = widen(object, in, units, buffer, [](Unit unit) { return unit <= 127; });
  if (count == 0 || capacity == 0) return *stored = 0, RQ_SUCCESS;
  const u32* text = buffer.characters();
  RQStatus status = RQ_SUCCESS;
  u64 written = 0;
  for (u64 i = 0; i < count && written < capacity && status == RQ_SUCCESS;) {
    const u32 c = text[i];
    if (c == '\\') {
      out[written++] = '\\';
      if (count - i < 6 || letter(text[i + 1]) != 'U') {
        i += 1;
      } else {
        out[written++] = static_cast<Unit>(text[i + 1]);
        out[written++] = static_cast<Unit>(text[i + 1]);
        i += 2;
      }
    } else if (c < 0x7F) {
      out[written++] = static_cast<Unit>(c);
      i += 1;
    } else if (written + 6 <= capacity) {
      if (c > 0xFFFF && capacity - written < 10) {
        status = RQ_OUTPUT_TOO_SMALL;
        continue;
      }
      out[written++] = '\\';
      out[written++] = 'u';
      written += writeHexadecimal(out + written, c, c > 0xFFFF ? 8 : 4);
      i += 1;
    } else {
      status = RQ_OUTPUT_TOO_SMALL;
    }
  }
  return *stored = written, status;
}

/* The U-paren notation. */

template <class F, bool asciiOnly, class Unit = typename F::Unit>
RQStatus getUParen(RQInterface* object, const void* input, u64 remaining, void* output, u64 capacity, u64* stored) {
  auto* in = static_cast<const Unit*>(input);
  auto* out = static_cast<Unit*>(output);
  if (remaining == 0) return *stored = 0, RQ_SUCCESS;
  u64 written = 0;
  while (written < capacity) {
    i64 close = -1;
    if (in[0] == '<' && remaining >= 2 && letter(in[1]) == 'U') close = scan(in + 2, remaining - 2, '>');
    if (close < 0) {
      out[written++] = *in++;
      if (--remaining == 0) break;
      continue;
    }
    const auto field = static_cast<u64>(close);
    Digits digits = readHexadecimal<F>(in + 2, least(field, 8));
    if (digits.count < 4) digits.value = 0;
    const Unit* from = in;
    u64 length = field + 3;
    Written<Unit> character;
    if (!(asciiOnly && digits.count >= 4 && digits.value >= 0x80)) {
      character = roundTrip<Unit>(object, digits.value, 12 * sizeof(Unit));
      if (character.survives) {
        from = character.units;
        length = character.count;
      }
    }
    if (written + length > capacity) return RQ_REPLACEMENT_DOES_NOT_FIT;
    for (u64 i = 0; i < length; ++i) out[written + i] = from[i];
    written += length;
    in += field + 3;
    remaining -= field + 3;
    if (remaining == 0) break;
  }
  return *stored = written, RQ_SUCCESS;
}

template <class F, class Unit = typename F::Unit>
RQStatus putUParen(RQInterface* object, const void* input, u64 units, void* output, u64 capacity, u64* stored) {
  using Signed = std::conditional_t<sizeof(Unit) == 4, std::int32_t, int>;
  auto* in = static_cast<const Unit*>(input);
  auto* out = static_cast<Unit*>(output);
  WorkBuffer buffer(object, units, units >= 256);
  if (buffer.failed) return RQ_NO_MEMORY;
  const u64 count = widen(object, in, units, buffer, [](Unit unit) { return static_cast<Signed>(unit) <= 0x7F; });
  if (count == 0) return *stored = 0, RQ_SUCCESS;
  const u32* text = buffer.characters();
  RQStatus status = RQ_SUCCESS;
  u64 written = 0;
  for (u64 i = 0; i < count && written < capacity;) {
    if (capacity - written < 7) {
      status = RQ_OUTPUT_TOO_SMALL;
      break;
    }
    const u32 c = text[i];
    u64 shape = 0;
    if (c == '<' && i + 7 < count && letter(text[i + 1]) == 'U') {
      if (text[i + 6] == '>')
        shape = 7;
      else if (i + 11 < count && text[i + 10] == '>')
        shape = 11;
    }
    if (shape) {
      u64 produced = 0;
      outbound(object)->convert(outbound(object), text + i, 4 * shape, out + written, shape, &produced, 0);
      if (produced / sizeof(Unit) == shape) {
        written += shape;
        i += shape;
        continue;
      }
    }
    if (c >= 0x10000 && capacity - written < 11) {
      status = RQ_OUTPUT_TOO_SMALL;
      break;
    }
    out[written++] = '<';
    out[written++] = 'u';
    written += writeHexadecimal(out + written, c, c < 0x10000 ? 4 : 8);
    out[written++] = '>';
    i += 1;
  }
  return *stored = written, status;
}

/* Measures. */

template <class F, bool width, class Unit = typename F::Unit>
i64 measure(RQInterface* object, const void* input, u64 units) {
  if (!input || units == 0) return 0;
  WorkBuffer buffer(object, units, units > 256);
  if (buffer.failed) return -1;
  u64 produced = buffer.capacity;
  inbound(object)->convert(inbound(object), input, units * sizeof(Unit), buffer.characters(), buffer.capacity,
                           &produced, 0);
  const u32* text = buffer.characters();
  u64 n = least(produced, buffer.capacity) / 4;
  while (n > 0 && text[n - 1] == ' ') --n;
  if (!width) return static_cast<i64>(n);
  i64 sum = 0;
  for (u64 i = 0; i < n; ++i) sum += isWide(text[i]) ? 2 : 1;
  return sum;
}

template <class F>
constexpr RQOperations table() {
  RQOperations operations{};
  operations.getNCR = getNCR<F>;
  operations.putNCR = putNCR<F>;
  operations.getUEsc = getUEsc<F>;
  operations.putUEsc = putUEsc<F>;
  operations.getUParen = getUParen<F, false>;
  operations.getUParenP = getUParen<F, true>;
  operations.putUParen = putUParen<F>;
  operations.getUnicodeLength = measure<F, false>;
  operations.getUnicodeWidth = measure<F, true>;
  return operations;
}
constexpr RQOperations tables[] = {table<Plain>(), table<Served>(), table<Wide>()};

}  // namespace

void setKernel(RQKernel* kernel) {
  kernelHandle = kernel;
}
const RQOperations& operations(Flavour flavour) {
  return tables[static_cast<unsigned>(flavour)];
}

}  // namespace rq::test::twin
