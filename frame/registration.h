/* Registration with the host, and the record of version and build.
 *
 * Valid C11 and C++17. */
#ifndef RQUNI_FRAME_REGISTRATION_H
#define RQUNI_FRAME_REGISTRATION_H

#include "host_tables.h"

RQ_BEGIN_DECLARATIONS

/* The kernel handle given at registration; null before. Any code in the process can write it: leave it alone.
 * An executable that is linked to the library holds this variable itself. As with every exported variable, two copies
 * of the library in one process share it when the first one was loaded with RTLD_GLOBAL. */
RQ_EXPORT extern RQKernel* Exported_RQHandle;

/* Stores the extension interface version, 9 and 1, and registers the kernel. Returns 0. Call this or rqextent once,
 * before anything else. A second call replaces the handle. */
RQ_EXPORT RQStatus rqextver(RQKernel* kernel, uint64_t* major, uint64_t* minor) RQ_NONNULL(2, 3);
/* Registers the kernel handle. Returns 0. */
RQ_EXPORT RQStatus rqextent(RQKernel* kernel);

/* The version and build record: 26 words. The library owns the zero-terminated strings. */
typedef struct RQVersionRecord {
  const char* version;          /* 0: "V.01.00M0P" and the build's date as month, day, year */
  const char* stream;           /* 1: build stream label, such as "rqu/lib-rb01000" */
  const char* empty2;           /* 2: "" */
  int64_t buildTime;            /* 3: seconds since 1970-01-01 00:00 UTC */
  const char* prefix;           /* 4: "rq" */
  const char* component;        /* 5: component code, five letters */
  const char* group;            /* 6: "rqfnc" */
  const char* buildId;          /* 7: twelve characters, "-", seven characters */
  const char* empty8;           /* 8: "" */
  const char* versionLabel;     /* 9: "version" */
  const char* separator;        /* 10: "::" */
  const char* empty11;          /* 11: "" */
  const char* hotFix;           /* 12: "QRB_VERSION_HOTFIX_NUMBER=" and 39 blanks, in 96 bytes */
  const char* secondBuildId;    /* 13: three characters, ".", eleven characters */
  const char* imageDescription; /* 14: "VERCON_IMAGE_DESCRIPTION=" and 40 blanks, in 96 bytes */
  const char* machine;          /* 15: name of the build machine, five letters, the same for every build */
  const char* buildDate;        /* 16: the instant of word 3 as the date command prints it, in UTC */
  uint64_t zero[9];             /* 17 to 25 */
} RQVersionRecord;
RQ_WORD(RQVersionRecord, buildTime, 3);
RQ_WORD(RQVersionRecord, hotFix, 12);
RQ_WORD(RQVersionRecord, buildDate, 16);
RQ_STATIC_ASSERT(sizeof(RQVersionRecord) == 208, "the version record has 208 bytes");

/* Copies the record, always 208 bytes, to `destination`. May be called before registration. */
RQ_EXPORT void rqvercn1(RQVersionRecord* destination) RQ_NONNULL(1);

RQ_END_DECLARATIONS

#endif
