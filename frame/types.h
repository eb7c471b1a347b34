/* The units and the status codes that host and library share.
 *
 * Valid C11 and C++17. Everything here is part of the binary interface. */
#ifndef RQUNI_FRAME_TYPES_H
#define RQUNI_FRAME_TYPES_H

#include <stddef.h>
#include <stdint.h>

/* One UTF-32 code unit in native (little-endian) byte order. A buffer of RQChar may start at any address. */
typedef uint32_t RQChar;

/* A value of the host's 32-bit status space; 0 is success. */
typedef uint32_t RQStatus;

/* The status codes that the library returns or recognises. All others are the host's and pass unchanged. */
#define RQ_SUCCESS UINT32_C(0)
#define RQ_OUTPUT_TOO_SMALL UINT32_C(0x803fe807)
#define RQ_NO_MEMORY UINT32_C(0x803fc002)
#define RQ_UNSUPPORTED UINT32_C(0x803fc004)
/* All bits set: the Unicode-escape and U-paren decoders report so that the output is too small. */
#define RQ_REPLACEMENT_DOES_NOT_FIT UINT32_C(0xFFFFFFFF)
/* A host's session query may return this. It counts as success. */
#define RQ_SESSION_QUERY_DEFAULTED UINT32_C(0x803fe830)

/* Host encoding identifiers that the library asks for. Native order is little-endian. */
#define RQ_ENCODING_UTF8 UINT32_C(20)
#define RQ_ENCODING_UTF16_BIG UINT32_C(24)
#define RQ_ENCODING_UTF16_LITTLE UINT32_C(25)
#define RQ_ENCODING_UTF32_BIG UINT32_C(26)
#define RQ_ENCODING_UTF32_LITTLE UINT32_C(27)

#ifdef __cplusplus
#define RQ_STATIC_ASSERT(condition, text) static_assert(condition, text)
#define RQ_BEGIN_DECLARATIONS extern "C" {
#define RQ_END_DECLARATIONS }
#else
#define RQ_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#define RQ_BEGIN_DECLARATIONS
#define RQ_END_DECLARATIONS
#endif

/* Marks what the library exports. Everything else in it is hidden. */
#define RQ_EXPORT __attribute__((visibility("default")))
/* Arguments (counted from 1) that must not be null. */
#define RQ_NONNULL(...) __attribute__((nonnull(__VA_ARGS__)))

/* The words from `from` to `to` - 1 of a table. The library never touches them. */
#define RQ_GAP(from, to) void* gap##from[(to) - (from)]
/* Checks the position of a member: 8-byte word `word` of the table, counted from 0. */
#define RQ_WORD(Table, member, word) \
  RQ_STATIC_ASSERT(offsetof(Table, member) == UINT64_C(8) * (word), #Table "::" #member " must be word " #word)

#endif
