// The UTF transforms. The host's transcoders convert; this file scales lengths and fills fields with blanks.
#include "frame/interface.h"
#include "frame/internal/same_as.h"
#include "frame/internal/transcode.h"
#include "unicode/blanks.h"

namespace rq {
namespace {

// Bytes in a unit of session text: one in the plain and served flavours, four in the wide one.
constexpr std::uint64_t byteUnits = 1;
constexpr std::uint64_t wideUnits = sizeof(RQChar);

template <RQForm form, std::uint64_t unit>
RQStatus get(RQInterface* object, const void* input, std::uint64_t length, void* output, std::uint64_t capacity,
             std::uint64_t* written) {
  std::uint64_t produced = 0;
  const RQStatus status =
      transcode(object->transcoders[form].toSession, input, length, output, capacity * unit, &produced);
  *written = produced / unit;
  return status;
}

/// *written counts bytes in every flavour. Kept: hosts depend on it.
template <RQForm form, std::uint64_t unit>
RQStatus put(RQInterface* object, const void* input, std::uint64_t length, void* output, std::uint64_t capacity,
             std::uint64_t* written) {
  std::uint64_t produced = 0;
  const RQStatus status =
      transcode(object->transcoders[form].fromSession, input, length * unit, output, capacity * unit, &produced);
  *written = produced;
  return status;
}

/// With `pad`, *written is the capacity as the caller gave it, whatever the conversion produced.
template <RQForm form, std::uint64_t unit>
RQStatus putPadded(RQInterface* object, const void* input, std::uint64_t length, void* output, std::uint64_t capacity,
                   std::uint64_t* written, std::int32_t pad) {
  if (pad == 0) return put<form, unit>(object, input, length, output, capacity, written);
  fillBlanks(output, capacity * unit, blankOf(form));
  const RQStatus status = put<form, unit>(object, input, length, output, capacity, written);
  *written = capacity;
  return status;
}

}  // namespace
}  // namespace rq

#define RQ_TRANSFORM(name, routine, form)                                                         \
  RQStatus ul##name(RQInterface* object, const void* input, std::uint64_t length, void* output,   \
                    std::uint64_t capacity, std::uint64_t* written) {                             \
    return rq::routine<form, rq::byteUnits>(object, input, length, output, capacity, written);    \
  }                                                                                               \
  RQStatus T_ul##name(RQInterface* object, const void* input, std::uint64_t length, void* output, \
                      std::uint64_t capacity, std::uint64_t* written) {                           \
    return rq::routine<form, rq::wideUnits>(object, input, length, output, capacity, written);    \
  }                                                                                               \
  RQ_SAME_AS(S_ul##name, ul##name)

#define RQ_PADDED_TRANSFORM(name, form)                                                               \
  RQStatus ul##name(RQInterface* object, const void* input, std::uint64_t length, void* output,       \
                    std::uint64_t capacity, std::uint64_t* written, std::int32_t pad) {               \
    return rq::putPadded<form, rq::byteUnits>(object, input, length, output, capacity, written, pad); \
  }                                                                                                   \
  RQStatus T_ul##name(RQInterface* object, const void* input, std::uint64_t length, void* output,     \
                      std::uint64_t capacity, std::uint64_t* written, std::int32_t pad) {             \
    return rq::putPadded<form, rq::wideUnits>(object, input, length, output, capacity, written, pad); \
  }                                                                                                   \
  RQ_SAME_AS(S_ul##name, ul##name)

extern "C" {
RQ_TRANSFORM(GetUTF8, get, RQ_FORM_UTF8)
RQ_TRANSFORM(PutUTF8, put, RQ_FORM_UTF8)
RQ_TRANSFORM(GetUTF16B, get, RQ_FORM_UTF16_BIG)
RQ_PADDED_TRANSFORM(PutUTF16B, RQ_FORM_UTF16_BIG)
RQ_TRANSFORM(GetUTF16L, get, RQ_FORM_UTF16_LITTLE)
RQ_PADDED_TRANSFORM(PutUTF16L, RQ_FORM_UTF16_LITTLE)
RQ_TRANSFORM(GetUTF32B, get, RQ_FORM_UTF32_BIG)
RQ_PADDED_TRANSFORM(PutUTF32B, RQ_FORM_UTF32_BIG)
RQ_TRANSFORM(GetUTF32L, get, RQ_FORM_UTF32_LITTLE)
RQ_PADDED_TRANSFORM(PutUTF32L, RQ_FORM_UTF32_LITTLE)
}
