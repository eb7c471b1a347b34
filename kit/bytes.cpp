// The exported routines over bytes and terminated strings, and those over RQChar of the same kind. They know what the
// kernels do not: null pointers, empty buffers and the order of the arguments.
#include <cstdint>

#include "frame/kit_exports.h"

#include "kit/kit.h"

namespace {

using Byte = std::uint8_t;

const Byte* bytesOf(const void* p) {
  return static_cast<const Byte*>(p);
}
Byte* bytesOf(void* p) {
  return static_cast<Byte*>(p);
}

/// An empty string where there is no source.
template <class U>
void copyString(const U* source, U* destination) {
  if (!destination) return;
  if (!source) return rq::kit::fill(destination, 0, 1);
  rq::kit::copyTerminated(source, destination);
}

}  // namespace

extern "C" {

RQStatus skUnsup() {
  return RQ_UNSUPPORTED;
}

std::uint64_t skStrLen(const char* string) {
  return string ? rq::kit::length(reinterpret_cast<const Byte*>(string)) : 0;
}
std::uint64_t skStrTLen(const RQChar* string) {
  return string ? rq::kit::length(string) : 0;
}

void skStrCpy(const char* source, char* destination) {
  copyString(reinterpret_cast<const Byte*>(source), reinterpret_cast<Byte*>(destination));
}
void skStrTCpy(const RQChar* source, RQChar* destination) {
  copyString(source, destination);
}

void skStrUp(void* buffer, std::uint64_t count) {
  rq::kit::upperAscii(bytesOf(buffer), count);
}
void skStrLow(void* buffer, std::uint64_t count) {
  rq::kit::lowerAscii(bytesOf(buffer), count);
}

std::int32_t skMemNot(std::uint32_t value, const void* buffer, std::uint64_t count) {
  return rq::kit::allEqual(value, bytesOf(buffer), count);
}
std::int32_t skMemTNot(RQChar value, const RQChar* buffer, std::uint64_t count) {
  return rq::kit::allEqual(value, buffer, count);
}

void skMemSet(void* buffer, std::uint32_t value, std::uint64_t count) {
  rq::kit::fill(bytesOf(buffer), static_cast<Byte>(value), count);
}
void skMemTSet(RQChar* buffer, RQChar value, std::uint64_t count) {
  rq::kit::fill(buffer, value, count);
}

std::int32_t skMemCmp(const void* a, const void* b, std::uint64_t count) {
  return rq::kit::compare(bytesOf(a), bytesOf(b), count);
}
std::int32_t skWMemCmp(const RQChar* a, const RQChar* b, std::uint64_t count) {
  return rq::kit::compare(a, b, count);
}

void* skMemCpy(const void* source, void* destination, std::uint64_t count) {
  return rq::kit::copyForward(source, destination, count);
}
void skMemSCpy(const void* source, void* destination, std::uint64_t count) {
  rq::kit::copySafe(source, destination, count);
}

std::int64_t skMemScan(const void* buffer, std::uint64_t count, std::uint32_t value) {
  return buffer ? rq::kit::findFirst(bytesOf(buffer), count, value) : -1;
}
std::int64_t skMemNScan(const void* buffer, std::uint64_t count, std::uint32_t value) {
  return buffer ? rq::kit::findNot(bytesOf(buffer), count, value) : -1;
}
std::int64_t skMemTNScan(const RQChar* buffer, std::uint64_t count, RQChar value) {
  return buffer ? rq::kit::findNot(buffer, count, value) : -1;
}

std::int32_t skMissArray(const double* array, std::uint64_t count) {
  return rq::kit::anyNaN(reinterpret_cast<const std::uint64_t*>(array), count);
}

}  // extern "C"
