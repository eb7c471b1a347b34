/* The interface object: the block of 129 words that rquni returns. A host calls the operations through its slots.
 *
 * Valid C11 and C++17. */
#ifndef RQUNI_FRAME_INTERFACE_H
#define RQUNI_FRAME_INTERFACE_H

#include "host_tables.h"
#include "operations.h"

RQ_BEGIN_DECLARATIONS

typedef struct RQInterface RQInterface;

/* The Unicode encoding forms with a pair of transcoders in the object, in the order of their words. */
typedef enum RQForm {
  RQ_FORM_UTF8,
  RQ_FORM_UTF16_NATIVE, /* created and destroyed, used by no operation */
  RQ_FORM_UTF16_BIG,
  RQ_FORM_UTF16_LITTLE,
  RQ_FORM_UTF32_NATIVE, /* used by codecs and measures */
  RQ_FORM_UTF32_BIG,
  RQ_FORM_UTF32_LITTLE,
  RQ_FORMS
} RQForm;

/* The two transcoders between the session encoding and one Unicode encoding form. One is null when its creation
 * failed. Operations do not check: a host must not use an object with a null transcoder. */
typedef struct RQTranscoderPair {
  RQTranscoder* toSession;
  RQTranscoder* fromSession;
} RQTranscoderPair;

/* Made by rquni, read-only until its destroy slot ends it. The gaps are never written: they hold what the pool's
 * block held. */
struct RQInterface {
  char eyeCatcher[4]; /* 0: "nevo", not terminated */
  char unused0[4];
  RQ_GAP(1, 3);
  /* Store the host interface version that the library needs (9, 1, 1) and its own version (1, 0, 0). Return 0. They
   * do not read the object. */
  uint64_t (*getReqVersion)(RQInterface* object, uint64_t* major, uint64_t* minor, uint64_t* patch); /* 3 */
  uint64_t (*getVersion)(RQInterface* object, uint64_t* major, uint64_t* minor, uint64_t* patch);    /* 4 */
  RQ_GAP(5, 6);
  /* Ends the object, its transcoders and its pool. Returns 0. No other thread may use the object meanwhile. */
  uint64_t (*destroy)(RQInterface* object); /* 6 */
  RQ_GAP(7, 9);
  RQPool* pool;            /* 9: owns the object's memory */
  RQJournal* journal;      /* 10: rquni's argument, or the context's journal */
  RQNlsServices* nls;      /* 11 */
  int64_t sessionEncoding; /* 12: the host's identifier, fixed at creation */
  RQ_GAP(13, 45);
  RQTranscoderPair transcoders[RQ_FORMS]; /* 45 to 58: to and from the session, form by form */
  uint8_t escape;                         /* 59, first byte: the backslash; read by the plain getUEsc */
  uint8_t reference;                      /* 59, second byte: the number sign; read by the plain getNCR and putNCR */
  uint8_t unused59[6];
  RQOperations plain;  /* 60 to 82 */
  RQOperations served; /* 83 to 105 */
  RQOperations wide;   /* 106 to 128 */
};
RQ_WORD(RQInterface, eyeCatcher, 0);
RQ_WORD(RQInterface, getReqVersion, 3);
RQ_WORD(RQInterface, getVersion, 4);
RQ_WORD(RQInterface, destroy, 6);
RQ_WORD(RQInterface, pool, 9);
RQ_WORD(RQInterface, journal, 10);
RQ_WORD(RQInterface, nls, 11);
RQ_WORD(RQInterface, sessionEncoding, 12);
RQ_WORD(RQInterface, transcoders[RQ_FORM_UTF8], 45);
RQ_WORD(RQInterface, transcoders[RQ_FORM_UTF16_NATIVE], 47);
RQ_WORD(RQInterface, transcoders[RQ_FORM_UTF16_BIG], 49);
RQ_WORD(RQInterface, transcoders[RQ_FORM_UTF16_LITTLE], 51);
RQ_WORD(RQInterface, transcoders[RQ_FORM_UTF32_NATIVE], 53);
RQ_WORD(RQInterface, transcoders[RQ_FORM_UTF32_BIG], 55);
RQ_WORD(RQInterface, transcoders[RQ_FORM_UTF32_LITTLE], 57);
RQ_WORD(RQInterface, escape, 59);
RQ_WORD(RQInterface, plain, 60);
RQ_WORD(RQInterface, served, 83);
RQ_WORD(RQInterface, wide, 106);
RQ_STATIC_ASSERT(offsetof(RQInterface, reference) == UINT64_C(8) * 59 + 1,
                 "the reference character is the second byte");
RQ_STATIC_ASSERT(sizeof(RQInterface) == UINT64_C(8) * 129, "the interface object has 129 words");

/* Makes a new interface object with its own pool and fourteen transcoders. Register first (registration.h).
 *
 * A null journal means the context's. Returns null without logging when there is no journal or no NLS services.
 * Returns null and logs RQ_NO_MEMORY at level 4 when the host refuses the pool or the memory. The object keeps
 * journal and NLS services, which must outlive it, but not the context. End it with its destroy slot. */
RQ_EXPORT RQInterface* rquni(RQContext* context, RQJournal* journal) RQ_NONNULL(1);

/* The functions behind the header slots. */
RQ_EXPORT uint64_t ulDestroy(RQInterface* object) RQ_NONNULL(1);
RQ_EXPORT uint64_t ulGetVersion(RQInterface* object, uint64_t* major, uint64_t* minor, uint64_t* patch)
    RQ_NONNULL(2, 3, 4);
RQ_EXPORT uint64_t ulGetReqVersion(RQInterface* object, uint64_t* major, uint64_t* minor, uint64_t* patch)
    RQ_NONNULL(2, 3, 4);

RQ_END_DECLARATIONS

#endif
