// How the flavours of a codec differ: the unit of text, the escape characters, and who upper-cases digits.
#ifndef RQUNI_CODECS_FLAVOUR_H
#define RQUNI_CODECS_FLAVOUR_H

#include <concepts>
#include <cstdint>

#include "codecs/digit_words.h"
#include "codecs/digits.h"
#include "codecs/units.h"
#include "frame/interface.h"
#include "frame/internal/kernel_handle.h"
#include "frame/internal/wide_literal.h"
#include "frame/kit_exports.h"
#include "kit/kit.h"
#include "kit/work_buffer.h"

namespace rq {

/// Room for digits to upper-case. Longer than any run of digits, because the host's service might write behind it.
constexpr std::uint64_t scratchUnits = 64;

/// Bytes. The escape characters are those of the object.
struct Plain {
  using Unit = std::uint8_t;
  static Unit escape(const RQInterface* object) { return object->escape; }
  static Unit reference(const RQInterface* object) { return object->reference; }
  static constexpr bool hasServedDigits = false;
  static Digits readHex(const Unit* field, std::uint64_t count) { return readHexDigits(field, count); }
  /// The digits at `field`, already read without the host, as readHex reads as many of them.
  static Digits asServed(Digits own, const Unit*) { return own; }
  static void upperCase(Unit* digits, std::uint64_t count) { kit::upperAscii(digits, count); }
};

/// Bytes. The escape characters are fixed; the host's service "ZQD", if there is one, upper-cases digits.
struct Served {
  using Unit = std::uint8_t;
  static Unit escape(const RQInterface*) { return '\\'; }
  static Unit reference(const RQInterface*) { return '#'; }

  static constexpr bool hasServedDigits = true;
  static Digits readHex(const Unit* field, std::uint64_t count) {
    RQCharsetService* const service = charsetService();
    if (!service || count == 0) return Plain::readHex(field, count);
    RQ_UNINITIALIZED Unit scratch[scratchUnits];
    copyUnits(scratch, field, count);
    service->upperCase(service, scratch, count, 0);
    return readRun(fourUpperHexDigits, scratch, count);
  }
  static Digits asServed(Digits own, const Unit* field) { return readHex(field, own.count); }
  static void upperCase(Unit* digits, std::uint64_t count) {
    RQCharsetService* const service = charsetService();
    if (!service) return Plain::upperCase(digits, count);
    service->upperCase(service, digits, count, 0);
  }

 private:
  static constexpr auto serviceName = wideLiteral("ZQD");

  /// The service, or null when there is none. Read at each use, because a host may replace it.
  static RQCharsetService* charsetService() {
    const RQKernel* const kernel = kernelHandle();
    RQCaseService* const cases = kernel ? kernel->caseService : nullptr;
    if (!cases) return nullptr;
    if (cases->charset) return cases->charset;
    RQStatus status = RQ_SUCCESS;
    // cppcheck-suppress returnDanglingLifetime; the service does not point to the status
    return cases->lookUp(cases, serviceName.text, serviceName.length, &status);
  }
};

/// RQChar units. The escape characters are fixed; rqzstup upper-cases digits.
struct Wide {
  using Unit = RQChar;
  static Unit escape(const RQInterface*) { return '\\'; }
  static Unit reference(const RQInterface*) { return '#'; }

  static constexpr bool hasServedDigits = false;
  /// Skips rqzstup where ASCII ends the digits: it never asks the host's case service about ASCII.
  static Digits readHex(const Unit* field, std::uint64_t count) {
    const Digits digits = readHexDigits(field, count);
    const bool stoppedByAscii = digits.count == count || load(field + digits.count) < 0x80;
    if (stoppedByAscii) return digits;
    Unit scratch[maxDigits];
    copyUnits(scratch, field, count);
    upperCase(scratch, count);
    return readDigits<16, upperHexDigit>(scratch, count);
  }
  static Digits asServed(Digits own, const Unit*) { return own; }
  static void upperCase(Unit* digits, std::uint64_t count) { rqzstup(digits, static_cast<std::int64_t>(count)); }
};

/// What a codec needs of a flavour.
template <class F>
concept Flavour = requires(const RQInterface* object, const typename F::Unit* field, typename F::Unit* digits,
                           std::uint64_t count) {
  { F::escape(object) } -> std::same_as<typename F::Unit>;
  { F::reference(object) } -> std::same_as<typename F::Unit>;
  { F::hasServedDigits } -> std::convertible_to<bool>;
  { F::readHex(field, count) } -> std::same_as<Digits>;
  { F::asServed(Digits{}, field) } -> std::same_as<Digits>;
  F::upperCase(digits, count);
};

/// Defines the exported function `name` as `body` in one flavour.
#define RQ_CODEC(name, body, Flavour)                                                                              \
  RQStatus name(RQInterface* object, const void* input, std::uint64_t units, void* output, std::uint64_t capacity, \
                std::uint64_t* written) {                                                                          \
    using Unit = rq::Flavour::Unit;                                                                                \
    return rq::body<rq::Flavour>(object, static_cast<const Unit*>(input), units, static_cast<Unit*>(output),       \
                                 capacity, written);                                                               \
  }

}  // namespace rq

#endif
