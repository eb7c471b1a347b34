/* The operations: their arguments, their results, and how far they may write.
 *
 * A host calls them through the slots of the interface object (interface.h) and passes the object as the first
 * argument. Each exists in three flavours with the same arguments:
 *
 *   plain  (ul...)    text is bytes in the session encoding; lengths and capacities count bytes
 *   served (S_ul...)  the same; the host's character-set service "ZQD" upper-cases hexadecimal digits
 *   wide   (T_ul...)  session text is RQChar; its lengths and capacities count RQChar units of 4 bytes
 *
 * THE ONE RULE FOR OUTPUT BUFFERS: allocate 8 bytes more than the capacity that you pass, start *written at 0, and
 * treat a length above the capacity as "too small". Some operations may write beyond the capacity, always within
 * these 8 bytes; each shape below says how far. Apart from that, nothing is written beyond *written units.
 *
 * Text is counted and may hold zero units. Nothing is read beyond its length, and no terminator is written. Input and
 * output must not overlap. All operations are reentrant and only read the object. */
#ifndef RQUNI_FRAME_OPERATIONS_H
#define RQUNI_FRAME_OPERATIONS_H

#include "types.h"

RQ_BEGIN_DECLARATIONS

struct RQInterface;

/* The room, in bytes, that every output buffer must have beyond its capacity. */
#define RQ_OUTPUT_SLACK_BYTES 8

/* Escape codecs. (object, input, units, output, capacity in units, units written) -> status.
 *
 * Input and output are bytes, or RQChar in the wide flavour. Get decodes escapes into session text, Put encodes.
 *
 *   getNCR      &#233; and &#xE9; to characters. RQ_OUTPUT_TOO_SMALL when a reference does not fit.
 *   putNCR      characters above U+0080 to &#233;. Stops with status 0 when the output is full. RQ_NO_MEMORY.
 *   getUEsc     \u00E9 and \U0001F600 to characters. RQ_REPLACEMENT_DOES_NOT_FIT. May write 1 unit past the capacity.
 *   putUEsc     characters from U+007F up to \u00E9. RQ_OUTPUT_TOO_SMALL, RQ_NO_MEMORY. May write 2 units past the
 *               capacity.
 *   getUParen   <U00E9> to characters. RQ_REPLACEMENT_DOES_NOT_FIT.
 *   getUParenP  the same for characters below U+0080; all other notations stay.
 *   putUParen   every character to <u00E9>. RQ_OUTPUT_TOO_SMALL, RQ_NO_MEMORY. May write 4 bytes past the capacity
 *               (plain and served flavours only).
 *
 * *written is stored also on failure, with two exceptions: RQ_NO_MEMORY, and RQ_REPLACEMENT_DOES_NOT_FIT from
 * getUParen and getUParenP, leave it unchanged. It counts what was written past the capacity.
 * Status 0 does not mean that all input was used: a decoder stops with 0 when the output is exactly full.
 * For texts of 256 units or more (putUEsc: more than 256) the Put operations take a working buffer of 4 bytes a unit
 * from the object's pool and give it back before they return. */
typedef RQStatus (*RQCodec)(struct RQInterface* object, const void* input, uint64_t units, void* output,
                            uint64_t capacity, uint64_t* written);

/* UTF transforms without padding. (object, input, length, output, capacity, written) -> the transcoder's status.
 *
 * Get converts a Unicode encoding form to session text, Put converts session text to that form. The host's transcoder
 * converts, and its status is returned unchanged. *written is always stored. Only a transcoder that exceeds its
 * capacity writes past it.
 *
 * Lengths count bytes in the plain and served flavours. The wide flavour scales unevenly; hosts depend on it:
 *   Get  length in bytes of Unicode text, capacity in RQChar, *written in RQChar (bytes / 4, rounded down)
 *   Put  length in RQChar, capacity in units of 4 bytes, *written in BYTES
 * A wide Put may fill 4 x capacity bytes: pass the buffer's bytes / 4. */
typedef RQStatus (*RQTransform)(struct RQInterface* object, const void* input, uint64_t length, void* output,
                                uint64_t capacity, uint64_t* written);

/* The Put operations to UTF-16 and UTF-32, with a pad flag. They do what RQTransform does when pad is 0.
 *
 * Otherwise they fill the output with blanks (U+0020 in the target form) before the conversion, and *written is the
 * capacity as given, also when the conversion fails. The fill writes whole blanks: in the plain and served flavours
 * up to 1 byte past an odd capacity (UTF-16), and up to 3 bytes past a capacity that is not a multiple of 4 (UTF-32).
 * In the wide flavour it fills 4 x capacity bytes. */
typedef RQStatus (*RQPaddedTransform)(struct RQInterface* object, const void* input, uint64_t length, void* output,
                                      uint64_t capacity, uint64_t* written, int32_t pad);

/* Measures. (object, input, units) -> count, without the blanks (U+0020) at the end.
 *
 *   getUnicodeLength  characters
 *   getUnicodeWidth   columns on a fixed-pitch display: 2 for East Asian wide characters, 1 for all others
 *
 * 0 for a null input; -1 when the pool refuses the working buffer that texts of more than 256 units need. The host's
 * transcoder converts the text to UTF-32; the count covers what it makes of invalid input. */
typedef int64_t (*RQMeasure)(struct RQInterface* object, const void* input, uint64_t units);

/* The slots of one flavour. */
typedef struct RQOperations {
#define OPERATION(position, slot, function, shape) RQ##shape slot;
#include "operations.def"
#undef OPERATION
} RQOperations;
#define OPERATION(position, slot, function, shape) RQ_WORD(RQOperations, slot, (position)-1);
#include "operations.def"
#undef OPERATION

/* The functions behind the slots. They are exported as well, but hosts call them through the slots. */
#define RQ_DECLARE_Codec(name)                                                                         \
  RQ_EXPORT RQStatus name(struct RQInterface* object, const void* input, uint64_t units, void* output, \
                          uint64_t capacity, uint64_t* written) RQ_NONNULL(1, 6);
#define RQ_DECLARE_Transform(name)                                                                      \
  RQ_EXPORT RQStatus name(struct RQInterface* object, const void* input, uint64_t length, void* output, \
                          uint64_t capacity, uint64_t* written) RQ_NONNULL(1, 6);
#define RQ_DECLARE_PaddedTransform(name)                                                                \
  RQ_EXPORT RQStatus name(struct RQInterface* object, const void* input, uint64_t length, void* output, \
                          uint64_t capacity, uint64_t* written, int32_t pad) RQ_NONNULL(1, 6);
#define RQ_DECLARE_Measure(name) \
  RQ_EXPORT int64_t name(struct RQInterface* object, const void* input, uint64_t units) RQ_NONNULL(1);
#define OPERATION(position, slot, function, shape) \
  RQ_DECLARE_##shape(ul##function) RQ_DECLARE_##shape(S_ul##function) RQ_DECLARE_##shape(T_ul##function)
#include "operations.def"
#undef OPERATION

RQ_END_DECLARATIONS

#endif
