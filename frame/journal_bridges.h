/* Bridges to the host's journal: they turn variadic calls into calls with a variable-argument list.
 *
 * The fixed arguments are 8-byte values. They and the result pass unchanged; the journal defines their meaning.
 * Nothing is formatted, buffered or translated. Never pass text from outside as a format. All are reentrant.
 *
 * Valid C11 and C++17. */
#ifndef RQUNI_FRAME_JOURNAL_BRIDGES_H
#define RQUNI_FRAME_JOURNAL_BRIDGES_H

#include "host_tables.h"

RQ_BEGIN_DECLARATIONS

/* Journal slot 4: (journal, a1 to a5, list). */
RQ_EXPORT uint64_t rqlMessageToBuf(RQJournal* journal, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4,
                                   uint64_t a5, ...) RQ_NONNULL(1);
/* Journal slot 5: (journal, a1 to a3, list). */
RQ_EXPORT uint64_t rqlMessageToJnl(RQJournal* journal, uint64_t a1, uint64_t a2, uint64_t a3, ...) RQ_NONNULL(1);
/* Journal slot 6: (journal, a1 to a4, list). */
RQ_EXPORT uint64_t rqlStatusToBuf(RQJournal* journal, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, ...)
    RQ_NONNULL(1);
/* Journal slot 7: (journal, level, status, list). The library reports its own failures at level 4. */
RQ_EXPORT uint64_t rqlStatusToJnl(RQJournal* journal, uint64_t level, uint64_t status, ...) RQ_NONNULL(1);
/* Journal slot 12, by a jump. All arguments arrive unchanged, in registers, vector registers and on the stack, and
 * the slot returns to the caller. */
RQ_EXPORT uint64_t rqlGetLocale(RQJournal* journal, ...);

RQ_END_DECLARATIONS

#endif
