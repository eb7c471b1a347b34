// The bridges to the host's journal.
#include "frame/journal.h"

uint64_t rqlMessageToBuf(RQJournal* journal, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5, ...) {
  va_list list;
  va_start(list, a5);
  const uint64_t result = journal->messageToBuf(journal, a1, a2, a3, a4, a5, list);
  va_end(list);
  return result;
}

uint64_t rqlMessageToJnl(RQJournal* journal, uint64_t a1, uint64_t a2, uint64_t a3, ...) {
  va_list list;
  va_start(list, a3);
  const uint64_t result = journal->messageToJnl(journal, a1, a2, a3, list);
  va_end(list);
  return result;
}

uint64_t rqlStatusToBuf(RQJournal* journal, uint64_t a1, uint64_t a2, uint64_t a3, uint64_t a4, ...) {
  va_list list;
  va_start(list, a4);
  const uint64_t result = journal->statusToBuf(journal, a1, a2, a3, a4, list);
  va_end(list);
  return result;
}

uint64_t rqlStatusToJnl(RQJournal* journal, uint64_t level, uint64_t status, ...) {
  va_list list;
  va_start(list, status);
  const uint64_t result = journal->statusToJnl(journal, level, status, list);
  va_end(list);
  return result;
}

// A jump, not a call: no C++ function can hand on arguments that it does not know.
__attribute__((naked)) uint64_t rqlGetLocale(RQJournal*, ...) {
  __asm__("jmp *96(%rdi)");
}
static_assert(offsetof(RQJournal, getLocale) == 96);
