/* The operations: what they take, what they return, how far they may write.
 *
 * A host calls them through the slots of the interface object (interface.h) and passes the object back as the first
 * argument. Each exists in three flavours with the same arguments:
 *
 *   plain  (ul...)    text is bytes in the session encoding; lengths and capacities count bytes
 *   served (S_ul...)  the same; hexadecimal digits are upper-cased by the host's character-set service "ZQD"
 *   wide   (T_ul...)  session-side text is RQChar; its lengths and capacities count RQChar units of 4 bytes
 *
 * THE ONE RULE FOR OUTPUT BUFFERS: allocate 8 bytes more than the capacity that you pass, start *written at 0, and
 * take a length above the capacity for "too small". A few operations may write a little beyond the capacity, always
 * within these 8 bytes; how far stands with each shape below. Nothing else is written beyond *written units.
 *
 * Text is counted and may hold zero units; nothing is read beyond its length and nothing is terminated. Input and
 * output must not overlap. All operations are reentrant; the object is only read. */
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
 *   putNCR      characters above U+0080 to &#233;. Cuts silently when the output is full. RQ_NO_MEMORY.
 *   getUEsc     \u00E9 and \U0001F600 to characters. RQ_REPLACEMENT_DOES_NOT_FIT. May write 1 unit past the capacity.
 *   putUEsc     characters from U+007F up to \u00E9. RQ_OUTPUT_TOO_SMALL, RQ_NO_MEMORY. May write 2 units past the
 *               capacity.
 *   getUParen   <U00E9> to characters. RQ_REPLACEMENT_DOES_NOT_FIT.
 *   getUParenP  the same for characters below U+0080 only; others stay as they stand.
 *   putUParen   every character to <u00E9>. RQ_OUTPUT_TOO_SMALL, RQ_NO_MEMORY. May write 4 bytes past the capacity
 *               (plain and served flavours only).
 *
 * *written is stored also on failure, with two exceptions: RQ_NO_MEMORY, and RQ_REPLACEMENT_DOES_NOT_FIT from
 * getUParen and getUParenP, leave it as it was. It exceeds the capacity by as much as was written past it.
 * Status 0 does not say that all input was used: a decoder stops with 0 when the output is exactly full.
 * The Put operations take a working buffer of 4 bytes for each input unit from the object's pool unless the text is
 * short (below 256 units; up to 256 in putUEsc), and give it back before they return. */
typedef RQStatus (*RQCodec)(struct RQInterface* object, const void* input, uint64_t units, void* output,
                            uint64_t capacity, uint64_t* written);

/* UTF transforms without padding. (object, input, length, output, capacity, written) -> the transcoder's status.
 *
 * Get turns a Unicode encoding form into session text, Put session text into that form; the host's transcoder does
 * the work and its status is returned unchanged. *written is always stored. Nothing is written past the capacity as
 * far as the transcoder keeps to it.
 *
 * Lengths count bytes in the plain and served flavours. The wide flavour scales unevenly, and hosts count on it:
 *   Get  length in bytes of Unicode text, capacity in RQChar, *written in RQChar (bytes / 4, rounded down)
 *   Put  length in RQChar, capacity in units of 4 bytes, *written in BYTES
 * so a wide Put may fill 4 x capacity bytes: pass the buffer's bytes / 4. */
typedef RQStatus (*RQTransform)(struct RQInterface* object, const void* input, uint64_t length, void* output,
                                uint64_t capacity, uint64_t* written);

/* The UTF-16 and UTF-32 Puts, with a pad flag. As RQTransform while pad is 0.
 *
 * With pad the output is first filled with blanks (U+0020 in the target form), also when the conversion then fails,
 * and *written is the capacity as it was given. In the plain and served flavours the fill writes whole blanks: up to
 * 1 byte past an odd capacity (UTF-16), up to 3 bytes past one that 4 does not divide (UTF-32). In the wide flavour
 * it fills 4 x capacity bytes, and *written is the capacity in units of 4 bytes. */
typedef RQStatus (*RQPaddedTransform)(struct RQInterface* object, const void* input, uint64_t length, void* output,
                                      uint64_t capacity, uint64_t* written, int32_t pad);

/* Measures. (object, input, units) -> count, not counting blanks (U+0020) at the end.
 *
 *   getUnicodeLength  characters
 *   getUnicodeWidth   columns on a fixed-pitch display: 2 for East Asian wide characters, 1 for all others
 *
 * 0 for a null input; -1 when the pool refuses the working buffer that texts of more than 256 units need. The text is
 * converted to UTF-32 by the host's transcoder, whatever that makes of invalid input is counted. */
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
