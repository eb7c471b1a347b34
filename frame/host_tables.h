/* The tables of the host that the library calls.
 *
 * A table is an object whose words are function pointers or data. Its address is the first argument of each of its
 * functions. The position of a word is the interface: the number at the end of the line counts 8-byte words from 0,
 * and the lines below each table check it. The library touches no other word: a host may use the gaps for itself.
 *
 * Threads: the library starts none and takes no locks. When several threads use one interface object, its pool, its
 * transcoders and the case service must allow it.
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
 * The library takes the interface object (1032 bytes) and working buffers (4 x the input's length) from it. It gives
 * a working buffer back before the operation returns. Blocks must be aligned to 8 bytes. The gaps of the interface
 * object keep the bytes that the pool's block held: return zeroed memory if that matters. */
struct RQPool {
  RQ_GAP(0, 2);
  /* Ends the pool and frees every block taken from it. */
  RQStatus (*destroy)(RQPool* pool); /* 2 */
  /* Returns a block of `bytes` bytes, or null. flags: 0x80000000 for the interface object, otherwise 0. */
  void* (*allocate)(RQPool* pool, uint64_t bytes, uint64_t flags); /* 3 */
  /* Gives back one block of slot 3. */
  void (*release)(RQPool* pool, void* block); /* 4 */
};
RQ_WORD(RQPool, destroy, 2);
RQ_WORD(RQPool, allocate, 3);
RQ_WORD(RQPool, release, 4);

/* A conversion between two encodings, made by slot 14 of the NLS services.
 *
 * The interface object that asked for it owns it and destroys it. The output may depend on nothing but the input:
 * within one operation the library may remember the answer for a character instead of asking again. */
struct RQTranscoder {
  RQ_GAP(0, 2);
  /* Ends the transcoder. */
  RQStatus (*destroy)(RQTranscoder* transcoder); /* 2 */
  RQ_GAP(3, 4);
  /* Converts `inputBytes` bytes at `input` to at most `capacityBytes` bytes at `output`. Always stores the number of
   * bytes written in *producedBytes, also on failure. Writes whole characters only, never beyond the capacity. flags
   * is 0. The UTF transforms return the status unchanged; all other operations ignore it. */
  RQStatus (*convert)(RQTranscoder* transcoder, const void* input, uint64_t inputBytes, void* output,
                      uint64_t capacityBytes, uint64_t* producedBytes, uint64_t flags); /* 4 */
};
RQ_WORD(RQTranscoder, destroy, 2);
RQ_WORD(RQTranscoder, convert, 4);

/* The NLS services of a context. They must outlive every interface object made with them. */
struct RQNlsServices {
  RQ_GAP(0, 14);
  /* Returns a new transcoder, or null. Encoding identifiers are zero-extended 32-bit values. The last two arguments
   * are 0. */
  RQTranscoder* (*createTranscoder)(RQNlsServices* services, uint64_t sourceEncoding, uint64_t targetEncoding,
                                    uint64_t zero1, uint64_t zero2); /* 14 */
  RQ_GAP(15, 78);
  /* Stores the session encoding's identifier and returns 0 or RQ_SESSION_QUERY_DEFAULTED. Called only when the option
   * lookup of the context fails. *encoding starts at -1. */
  RQStatus (*querySession)(RQNlsServices* services, int32_t* encoding); /* 78 */
};
RQ_WORD(RQNlsServices, createTranscoder, 14);
RQ_WORD(RQNlsServices, querySession, 78);

/* A message journal. The library itself logs only failed creations: (4, RQ_NO_MEMORY) through slot 7. The exported
 * bridges call the other slots; the host defines their fixed arguments and results, which pass unchanged. The
 * variable-argument list is valid during the call only. */
struct RQJournal {
  RQ_GAP(0, 4);
  uint64_t (*messageToBuf)(RQJournal* journal, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5,
                           va_list list);                                                            /* 4 */
  uint64_t (*messageToJnl)(RQJournal* journal, uint64_t a1, uint64_t a2, uint64_t a3, va_list list); /* 5 */
  uint64_t (*statusToBuf)(RQJournal* journal, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4,
                          va_list list);                                                      /* 6 */
  uint64_t (*statusToJnl)(RQJournal* journal, uint64_t level, uint64_t status, va_list list); /* 7 */
  RQ_GAP(8, 12);
  /* Reached by a jump: the arguments of rqlGetLocale arrive unchanged, in registers and on the stack. */
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
  /* Upper-cases `length` bytes in place, at most 8. Must not change any byte behind them. The last argument is 0. */
  void (*upperCase)(RQCharsetService* service, void* buffer, uint64_t length, uint64_t zero); /* 54 */
};
RQ_WORD(RQCharsetService, upperCase, 54);

/* The case service. When a host offers one (kernel word 27), rqzstlo and rqzstup call it for every character from
 * U+0080 up. Expect any 32-bit value: the text is unchecked. */
struct RQCaseService {
  RQ_GAP(0, 31);
  /* Returns the upper case of one character. The last argument is 1. */
  RQChar (*upper)(RQCaseService* service, RQChar character, uint64_t one); /* 31 */
  /* Returns the lower case of one character. The last argument is 1. */
  RQChar (*lower)(RQCaseService* service, RQChar character, uint64_t one); /* 32 */
  RQ_GAP(33, 149);
  /* The service "ZQD", or null: then the library looks it up at each use. */
  RQCharsetService* charset; /* 149 */
  RQ_GAP(150, 153);
  /* Returns the service with a name of `length` characters, or null when there is none. The library asks for "ZQD"
   * with length 3 and ignores *status. */
  RQCharsetService* (*lookUp)(RQCaseService* service, const RQChar* name, uint64_t length,
                              RQStatus* status); /* 153 */
};
RQ_WORD(RQCaseService, upper, 31);
RQ_WORD(RQCaseService, lower, 32);
RQ_WORD(RQCaseService, charset, 149);
RQ_WORD(RQCaseService, lookUp, 153);

/* The parameters of a new pool. All zero: the library asks for the host's defaults. */
typedef struct RQPoolParameters {
  uint64_t zero[3];
} RQPoolParameters;
RQ_STATIC_ASSERT(sizeof(RQPoolParameters) == 24, "the pool parameter block has 24 bytes");

/* The kernel handle, given at registration. Must stay valid while the library is used. */
struct RQKernel {
  RQ_GAP(0, 6);
  /* Returns a new pool, or null. The parameter block is valid during the call only. The description is the
   * zero-terminated byte string "RQUNI Extension", which the library owns. */
  RQPool* (*createPool)(RQKernel* kernel, RQPoolParameters* parameters, RQJournal* journal,
                        const char* description); /* 6 */
  RQ_GAP(7, 27);
  /* The case service, or null: then the library uses its own tables. Read at each use. */
  RQCaseService* caseService; /* 27 */
};
RQ_WORD(RQKernel, createPool, 6);
RQ_WORD(RQKernel, caseService, 27);

/* The caller's context, the first argument of rquni. Read during that call only. */
struct RQContext {
  RQ_GAP(0, 14);
  /* Looks up an option by its name of `length` characters. Returns 0 when found. The library asks for
   * "RQNLS.ZMX_SESSION_CEI" (21 characters). The fourth argument is 3; *value starts at -1 and *valueBytes at 8. */
  RQStatus (*lookUpOption)(RQContext* context, const RQChar* name, uint64_t length, uint64_t three, int64_t* value,
                           uint64_t* valueBytes); /* 14 */
  RQ_GAP(15, 26);
  /* The journal for interface objects made without one, or null. */
  RQJournal* journal; /* 26 */
  /* The NLS services, or null: then rquni fails. */
  RQNlsServices* nls; /* 27 */
};
RQ_WORD(RQContext, lookUpOption, 14);
RQ_WORD(RQContext, journal, 26);
RQ_WORD(RQContext, nls, 27);

RQ_END_DECLARATIONS

#endif
