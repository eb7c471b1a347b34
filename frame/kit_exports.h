/* The kit: byte strings, arrays of RQChar, case mapping. Plain exported functions for the library and its hosts.
 *
 * Argument orders are not uniform and are part of the interface: copies take the source first, the all-equal tests
 * take the value first, the scans take it last. T (and the W of skWMemCmp) in a name means units of 4 bytes; counts
 * and indexes are then in units. Buffers may lie at any address. No routine reads beyond its count or
 * writes beyond what it says; a count of 0 touches no memory. A byte argument uses its low 8 bits. Pointers are
 * non-null unless stated. All routines are reentrant; none keeps state.
 *
 * Valid C11 and C++17. */
#ifndef RQUNI_FRAME_KIT_EXPORTS_H
#define RQUNI_FRAME_KIT_EXPORTS_H

#include "types.h"

RQ_BEGIN_DECLARATIONS

struct RQPool;

/* Always RQ_UNSUPPORTED. Fills slots of operations that a flavour does not offer. */
RQ_EXPORT RQStatus skUnsup(void);

/* The number of units before the first zero unit; 0 for null. Only for terminated strings, never for unchecked text:
 * reads at most 255 bytes behind the terminator and 63 before the string, but no other page. */
RQ_EXPORT uint64_t skStrLen(const char* string);
RQ_EXPORT uint64_t skStrTLen(const RQChar* string);
/* Copies a terminated string with its terminator. Does nothing for a null destination, and stores an empty string for
 * a null source. The destination must have room for the whole source, and the two must not overlap. Reads the source
 * as skStrLen does, and writes nothing behind the terminator. */
RQ_EXPORT void skStrCpy(const char* source, char* destination);
RQ_EXPORT void skStrTCpy(const RQChar* source, RQChar* destination);

/* Map the ASCII letters among exactly `count` bytes in place. All other bytes stay, those from 0x80 up too. */
RQ_EXPORT void skStrUp(void* buffer, uint64_t count);
RQ_EXPORT void skStrLow(void* buffer, uint64_t count);

/* 1 when every unit equals `value` (also when count is 0), else 0. */
RQ_EXPORT int32_t skMemNot(uint32_t value, const void* buffer, uint64_t count);
RQ_EXPORT int32_t skMemTNot(RQChar value, const RQChar* buffer, uint64_t count);

/* Store `value` into each of `count` units. */
RQ_EXPORT void skMemSet(void* buffer, uint32_t value, uint64_t count);
RQ_EXPORT void skMemTSet(RQChar* buffer, RQChar value, uint64_t count);

/* -1, 0 or 1 by the first difference. Bytes compare unsigned. Units compare by the sign of a - b modulo 2^32: that is
 * the order of code points, but not of units 2^31 or more apart. */
RQ_EXPORT int32_t skMemCmp(const void* a, const void* b, uint64_t count);
RQ_EXPORT int32_t skWMemCmp(const RQChar* a, const RQChar* b, uint64_t count);

/* Copies strictly forwards: if the destination lies inside the source, the bytes before it repeat through the
 * destination. Returns the destination. */
RQ_EXPORT void* skMemCpy(const void* source, void* destination, uint64_t count);
/* Copies as if through a temporary buffer, however the ranges overlap. */
RQ_EXPORT void skMemSCpy(const void* source, void* destination, uint64_t count);
/* A copy in a block of `count` bytes from the pool (slot 3, flags 0), which owns it. Returns null for a null source
 * or pool without calling the pool, and null when the pool refuses. A count of 0 asks for 0 bytes. */
RQ_EXPORT void* skMemDup(const void* source, uint64_t count, struct RQPool* pool);

/* The index of the first unit that equals (Scan) or differs from (NScan) `value`, or -1 if there is none. A null
 * buffer has none. */
RQ_EXPORT int64_t skMemScan(const void* buffer, uint64_t count, uint32_t value);
RQ_EXPORT int64_t skMemNScan(const void* buffer, uint64_t count, uint32_t value);
RQ_EXPORT int64_t skMemTNScan(const RQChar* buffer, uint64_t count, RQChar value);

/* 1 when one of `count` doubles is a missing value, which is any NaN, else 0. Raises no floating-point exception. */
RQ_EXPORT int32_t skMissArray(const double* array, uint64_t count);

/* Counted strings of RQChar. Lengths are signed; a length of 0 or less is an empty string. */

/* The index of the first `character`, or -1 if there is none. A null string has none. */
RQ_EXPORT int64_t rqzspos(const RQChar* string, int64_t length, RQChar character);
/* Lower and upper case in place. The case service of the registered host maps every unit from U+0080 up, whatever its
 * value; the built-in tables map ASCII, and all units if the host has no case service. */
RQ_EXPORT void rqzstlo(RQChar* string, int64_t length);
RQ_EXPORT void rqzstup(RQChar* string, int64_t length);
/* 1 when the strings have the same length and are equal ignoring case by the built-in tables, else 0. */
RQ_EXPORT int32_t rqzseqn(const RQChar* a, int64_t aLength, const RQChar* b, int64_t bLength);
/* Blank-padded comparison by the built-in tables. -2 and 2: the strings differ. -1 and 1: they differ only in case,
 * and the first such difference decides. 0: they are identical up to trailing blanks. A longer string whose tail is
 * not all blanks is the greater one, whatever the tail holds. Characters compare signed. */
RQ_EXPORT int32_t rqzsncmp(const RQChar* a, int64_t aLength, const RQChar* b, int64_t bLength);
/* Replace every character by the smallest or the largest member of its case class (Unicode 9.0, BMP). */
RQ_EXPORT void rqzstmin(RQChar* string, int64_t length);
RQ_EXPORT void rqzstmax(RQChar* string, int64_t length);

/* The built-in case tables. skz_metatable[c >> 7] is the index at which the block of 128 characters starts in both
 * shift tables, or -1 if nothing in the block changes. An entry of a shift table is the distance to the mapped
 * character, or -128: then the aux list, pairs (from, to) before a zero, holds the mapping. */
RQ_EXPORT extern const int16_t skz_metatable[512];
RQ_EXPORT extern const int8_t skz_upshift[19 * 128];
RQ_EXPORT extern const int8_t skz_downshift[19 * 128];
RQ_EXPORT extern const RQChar skz_upaux[2 * 20 + 1];
RQ_EXPORT extern const RQChar skz_downaux[2 * 19 + 1];

RQ_END_DECLARATIONS

#endif
