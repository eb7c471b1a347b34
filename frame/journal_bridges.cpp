// The bridges to the host's journal.
#include "frame/journal_bridges.h"

#include <cstdint>

std::uint64_t rqlMessageToBuf(RQJournal* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                              std::uint64_t a4, std::uint64_t a5, ...) {
  va_list list;
  va_start(list, a5);
  const std::uint64_t result = journal->messageToBuf(journal, a1, a2, a3, a4, a5, list);
  va_end(list);
  return result;
}

std::uint64_t rqlMessageToJnl(RQJournal* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3, ...) {
  va_list list;
  va_start(list, a3);
  const std::uint64_t result = journal->messageToJnl(journal, a1, a2, a3, list);
  va_end(list);
  return result;
}

std::uint64_t rqlStatusToBuf(RQJournal* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                             std::uint64_t a4, ...) {
  va_list list;
  va_start(list, a4);
  const std::uint64_t result = journal->statusToBuf(journal, a1, a2, a3, a4, list);
  va_end(list);
  return result;
}

std::uint64_t rqlStatusToJnl(RQJournal* journal, std::uint64_t level, std::uint64_t status, ...) {
  va_list list;
  va_start(list, status);
  const std::uint64_t result = journal->statusToJnl(journal, level, status, list);
  va_end(list);
  return result;
}

// A jump, not a call: no C++ function can pass on arguments that it does not know.
__attribute__((naked)) std::uint64_t rqlGetLocale(RQJournal*, ...) {
  __asm__("jmp *96(%rdi)");
}
static_assert(offsetof(RQJournal, getLocale) == 96);
