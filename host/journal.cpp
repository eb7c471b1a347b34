#include "host/journal.h"

#include <utility>

namespace rq::host {
namespace {

using Slot = JournalEntry::Slot;

Journal* self(RQJournal* journal) {
  return static_cast<Journal*>(journal);
}

}  // namespace

Journal::Journal() {
  forbid<"journal", 0>(gap0);
  forbid<"journal", 8>(gap8);
  messageToBuf = messageToBufSlot;
  messageToJnl = messageToJnlSlot;
  statusToBuf = statusToBufSlot;
  statusToJnl = statusToJnlSlot;
  getLocale = getLocaleSlot;
}

std::vector<JournalEntry> Journal::entries() const {
  const std::lock_guard lock(mutex_);
  return entries_;
}

std::uint64_t Journal::keep(JournalEntry entry) {
  const std::lock_guard lock(mutex_);
  entries_.push_back(std::move(entry));
  return entries_.size();
}

std::uint64_t Journal::messageToBufSlot(RQJournal* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                                        std::uint64_t a4, std::uint64_t a5, va_list) noexcept {
  return self(journal)->keep({Slot::messageToBuf, {a1, a2, a3, a4, a5}});
}

std::uint64_t Journal::messageToJnlSlot(RQJournal* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                                        va_list) noexcept {
  return self(journal)->keep({Slot::messageToJnl, {a1, a2, a3}});
}

std::uint64_t Journal::statusToBufSlot(RQJournal* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                                       std::uint64_t a4, va_list) noexcept {
  return self(journal)->keep({Slot::statusToBuf, {a1, a2, a3, a4}});
}

std::uint64_t Journal::statusToJnlSlot(RQJournal* journal, std::uint64_t level, std::uint64_t status,
                                       va_list) noexcept {
  return self(journal)->keep({Slot::statusToJnl, {level, status}});
}

std::uint64_t Journal::getLocaleSlot(RQJournal* journal, ...) noexcept {
  return reinterpret_cast<std::uintptr_t>(self(journal)->locale());
}

}  // namespace rq::host
