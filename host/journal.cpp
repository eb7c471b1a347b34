#include "host/journal.h"

#include <algorithm>

namespace rq::host {
namespace {

Journal* self(RQJournal* journal) {
  return static_cast<Journal*>(journal);
}

}  // namespace

Journal::Journal(Instruments& instruments) : instruments_(instruments) {
  forbid<"journal", 0>(gap0);
  forbid<"journal", 8>(gap8);
  messageToBuf = messageToBufSlot;
  messageToJnl = messageToJnlSlot;
  statusToBuf = statusToBufSlot;
  statusToJnl = statusToJnlSlot;
  getLocale = getLocaleSlot;
}

void Journal::readVariables(std::size_t count) {
  const std::lock_guard lock(mutex_);
  variables_ = count;
}

std::vector<JournalEntry> Journal::entries() const {
  const std::lock_guard lock(mutex_);
  return entries_;
}

std::uint64_t Journal::keep(Service slot, std::vector<std::uint64_t> fixed, va_list list) {
  const std::lock_guard lock(mutex_);
  JournalEntry entry{slot, std::move(fixed), {}};
  for (std::size_t i = 0; i < variables_; ++i) entry.variables.push_back(va_arg(list, std::uint64_t));
  entries_.push_back(entry);
  std::uint64_t result = entries_.size();
  if (instruments_.active()) {
    const std::optional<Fault> fault = instruments_.enter(slot);
    if (fault) result = fault->action == Fault::Action::fail ? faultStatus : fault->value;
    Call call{slot, static_cast<RQJournal*>(this), {}, result};
    std::copy_n(entry.fixed.begin(), std::min(entry.fixed.size(), call.arguments.size()), call.arguments.begin());
    instruments_.leave(call);
  }
  return result;
}

std::uint64_t Journal::messageToBufSlot(RQJournal* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                                        std::uint64_t a4, std::uint64_t a5, va_list list) noexcept {
  return self(journal)->keep(Service::messageToBuf, {a1, a2, a3, a4, a5}, list);
}

std::uint64_t Journal::messageToJnlSlot(RQJournal* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                                        va_list list) noexcept {
  return self(journal)->keep(Service::messageToJnl, {a1, a2, a3}, list);
}

std::uint64_t Journal::statusToBufSlot(RQJournal* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                                       std::uint64_t a4, va_list list) noexcept {
  return self(journal)->keep(Service::statusToBuf, {a1, a2, a3, a4}, list);
}

std::uint64_t Journal::statusToJnlSlot(RQJournal* journal, std::uint64_t level, std::uint64_t status,
                                       va_list list) noexcept {
  return self(journal)->keep(Service::statusToJnl, {level, status}, list);
}

std::uint64_t Journal::getLocaleSlot(RQJournal* journal, ...) noexcept {
  std::uint64_t result = number(self(journal)->locale());
  Instruments& instruments = self(journal)->instruments_;
  if (instruments.active()) {
    if (const std::optional<Fault> fault = instruments.enter(Service::getLocale)) result = fault->value;
    instruments.leave({Service::getLocale, journal, {}, result});
  }
  return result;
}

}  // namespace rq::host
