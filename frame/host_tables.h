/* The tables of the host that the library calls.
 *
 * Every table is an object whose words are function pointers or data; its address is the first argument of each of
 * its functions. A word's position is the interface: it stands at the end of the line, counted from 0 in 8-byte
 * words, and is checked below each table. The library touches no other word, so a host may use the gaps as it likes.
 *
 * Threads: the library starts none and locks nothing. Whatever a host lets several threads do with one interface
 * object, its pool, transcoders and case service must bear.
 *
 * Valid C11 and C++17. */
#ifndef RQUNI_FRAME_HOST_TABLES_H
#define RQUNI_FRAME_HOST_TABLES_H

#include <stdarg.h>

#include "types.h"

RQ_BEGIN_DECLARATIONS

typedef struct RQPool RQPool;
typedef struct RQTranscoder RQTranscoder;
typedef struct RQNlsServices RQNlsServices;
typedef struct RQJournal RQJournal;
typedef struct RQCharsetService RQCharsetService;
typedef struct RQCaseService RQCaseService;
typedef struct RQKernel RQKernel;
typedef struct RQContext RQContext;

/* A memory pool, the owner of every block taken from it.
 *
 * The library takes the interface object (1032 bytes) and working buffers (4 x the input's length) from it; working
 * buffers are given back before the operation returns. Blocks must be aligned to 8 bytes. Words of the interface
 * object that the library does not define keep what the pool left in them: hand out zeroed memory if that matters. */
struct RQPool {
  RQ_GAP(0, 2);
  /* Ends the pool and frees every block taken from it. */
  RQStatus (*destroy)(RQPool* pool); /* 2 */
  /* A block of `bytes` bytes, or null when refused. flags: 0x80000000 for the interface object, else 0. */
  void* (*allocate)(RQPool* pool, uint64_t bytes, uint64_t flags); /* 3 */
  /* Gives back one block of slot 3. */
  void (*release)(RQPool* pool, void* block); /* 4 */
};
RQ_WORD(RQPool, destroy, 2);
RQ_WORD(RQPool, allocate, 3);
RQ_WORD(RQPool, release, 4);

/* A conversion between two encodings, made by slot 14 of the NLS services.
 *
 * Owned by the interface object that asked for it, and destroyed with it. Within one operation the library asks for
 * each character once and remembers the answer, never longer: the answer may depend on nothing but the input. */
struct RQTranscoder {
  RQ_GAP(0, 2);
  /* Ends the transcoder. */
  RQStatus (*destroy)(RQTranscoder* transcoder); /* 2 */
  RQ_GAP(3, 4);
  /* Converts `inputBytes` bytes at `input` to at most `capacityBytes` bytes at `output`, and always stores the number
   * of bytes written in *producedBytes, also on failure. Write whole characters only and never beyond the capacity.
   * flags: always 0. The status goes back to the host unchanged from the UTF transforms and is ignored elsewhere. */
  RQStatus (*convert)(RQTranscoder* transcoder, const void* input, uint64_t inputBytes, void* output,
                      uint64_t capacityBytes, uint64_t* producedBytes, uint64_t flags); /* 4 */
};
RQ_WORD(RQTranscoder, destroy, 2);
RQ_WORD(RQTranscoder, convert, 4);

/* The NLS services of a context. Must outlive every interface object made from it. */
struct RQNlsServices {
  RQ_GAP(0, 14);
  /* A new transcoder, or null. Encoding identifiers are zero-extended 32-bit values; the last two arguments are 0. */
  RQTranscoder* (*createTranscoder)(RQNlsServices* services, uint64_t sourceEncoding, uint64_t targetEncoding,
                                    uint64_t zero1, uint64_t zero2); /* 14 */
  RQ_GAP(15, 78);
  /* Stores the session encoding's identifier and returns 0 or RQ_SESSION_QUERY_DEFAULTED; asked only when the option
   * lookup of the context fails. *encoding starts at -1. */
  RQStatus (*querySession)(RQNlsServices* services, int32_t* encoding); /* 78 */
};
RQ_WORD(RQNlsServices, createTranscoder, 14);
RQ_WORD(RQNlsServices, querySession, 78);

/* A message journal. The library itself logs only failed creations: (4, RQ_NO_MEMORY) through slot 7. The other slots
 * are reached through the exported bridges; their fixed arguments and results are the host's own and pass untouched.
 * The variable-argument list is valid during the call only. */
struct RQJournal {
  RQ_GAP(0, 4);
  uint64_t (*messageToBuf)(RQJournal* journal, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5,
                           va_list list);                                                            /* 4 */
  uint64_t (*messageToJnl)(RQJournal* journal, uint64_t a1, uint64_t a2, uint64_t a3, va_list list); /* 5 */
  uint64_t (*statusToBuf)(RQJournal* journal, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4,
                          va_list list);                                                      /* 6 */
  uint64_t (*statusToJnl)(RQJournal* journal, uint64_t level, uint64_t status, va_list list); /* 7 */
  RQ_GAP(8, 12);
  /* Reached by a jump: gets exactly the arguments, in registers and on the stack, that rqlGetLocale was given. */
  uint64_t (*getLocale)(RQJournal* journal, ...); /* 12 */
};
RQ_WORD(RQJournal, messageToBuf, 4);
RQ_WORD(RQJournal, messageToJnl, 5);
RQ_WORD(RQJournal, statusToBuf, 6);
RQ_WORD(RQJournal, statusToJnl, 7);
RQ_WORD(RQJournal, getLocale, 12);

/* The character-set service "ZQD". */
struct RQCharsetService {
  RQ_GAP(0, 54);
  /* Upper-cases `length` bytes in place; the library passes at most 8, and 0 as the last argument. Change no byte
   * beyond them and do not change the length. */
  void (*upperCase)(RQCharsetService* service, void* buffer, uint64_t length, uint64_t zero); /* 54 */
};
RQ_WORD(RQCharsetService, upperCase, 54);

/* The case service. Offering one (kernel word 27) hands it every character from U+0080 up that rqzstlo and rqzstup
 * meet: any 32-bit value may come, it is text that nobody has checked. */
struct RQCaseService {
  RQ_GAP(0, 31);
  /* The upper case of one character; the last argument is always 1. */
  RQChar (*upper)(RQCaseService* service, RQChar character, uint64_t one); /* 31 */
  /* The lower case of one character; the last argument is always 1. */
  RQChar (*lower)(RQCaseService* service, RQChar character, uint64_t one); /* 32 */
  RQ_GAP(33, 149);
  /* The service "ZQD" where the host has it at hand, or null: then the library looks it up at each use. */
  RQCharsetService* charset; /* 149 */
  RQ_GAP(150, 153);
  /* Finds a service by its name of `length` characters. The library asks for "ZQD" with length 3, takes the result
   * as the service whatever is stored in *status, and does without the service when the result is null. */
  RQCharsetService* (*lookUp)(RQCaseService* service, const RQChar* name, uint64_t length,
                              RQStatus* status); /* 153 */
};
RQ_WORD(RQCaseService, upper, 31);
RQ_WORD(RQCaseService, lower, 32);
RQ_WORD(RQCaseService, charset, 149);
RQ_WORD(RQCaseService, lookUp, 153);

/* The parameter block of a new pool; the library asks for no more than the host's default. */
typedef struct RQPoolParameters {
  uint64_t zero[3];
} RQPoolParameters;
RQ_STATIC_ASSERT(sizeof(RQPoolParameters) == 24, "the pool parameter block has 24 bytes");

/* The kernel handle, given at registration. Must stay valid for as long as the library is called. */
struct RQKernel {
  RQ_GAP(0, 6);
  /* A new pool, or null. The parameter block is all zero and valid during the call only; the description is the
   * zero-terminated byte string "RQUNI Extension", owned by the library. */
  RQPool* (*createPool)(RQKernel* kernel, RQPoolParameters* parameters, RQJournal* journal,
                        const char* description); /* 6 */
  RQ_GAP(7, 27);
  /* The case service, or null: then the library's own tables serve. Read afresh at each use. */
  RQCaseService* caseService; /* 27 */
};
RQ_WORD(RQKernel, createPool, 6);
RQ_WORD(RQKernel, caseService, 27);

/* The caller's context, the first argument of rquni. Read during that call only. */
struct RQContext {
  RQ_GAP(0, 14);
  /* Looks an option up by its name of `length` characters and returns 0 when found. The library asks for
   * "RQNLS.ZMX_SESSION_CEI" (21 characters), the fourth argument being 3, with *value -1 and *valueBytes 8. */
  RQStatus (*lookUpOption)(RQContext* context, const RQChar* name, uint64_t length, uint64_t three, int64_t* value,
                           uint64_t* valueBytes); /* 14 */
  RQ_GAP(15, 26);
  /* The journal for interface objects that are made without one, or null. */
  RQJournal* journal; /* 26 */
  /* The NLS services, or null: then no interface object can be made. */
  RQNlsServices* nls; /* 27 */
};
RQ_WORD(RQContext, lookUpOption, 14);
RQ_WORD(RQContext, journal, 26);
RQ_WORD(RQContext, nls, 27);

RQ_END_DECLARATIONS

#endif
