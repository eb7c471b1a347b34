// A journal that keeps what is reported.
#ifndef RQUNI_HOST_JOURNAL_H
#define RQUNI_HOST_JOURNAL_H

#include <cstdint>
#include <mutex>
#include <vector>

#include "frame/host_tables.h"
#include "host/guarded.h"

namespace rq::host {

struct JournalEntry {
  enum class Slot { messageToBuf, messageToJnl, statusToBuf, statusToJnl };
  Slot slot;
  std::vector<std::uint64_t> fixed;  // the fixed arguments after the journal; level and status for statusToJnl
};

/// Every slot returns the number of entries so far, except getLocale, which returns the address of locale().
class Journal final : public Guarded<RQJournal, "journal"> {
 public:
  Journal();

  std::vector<JournalEntry> entries() const;
  const char* locale() const { return localeName; }

 private:
  static constexpr char localeName[] = "C.UTF-8";

  static std::uint64_t messageToBufSlot(RQJournal* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                                        std::uint64_t a4, std::uint64_t a5, va_list list) noexcept;
  static std::uint64_t messageToJnlSlot(RQJournal* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                                        va_list list) noexcept;
  static std::uint64_t statusToBufSlot(RQJournal* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                                       std::uint64_t a4, va_list list) noexcept;
  static std::uint64_t statusToJnlSlot(RQJournal* journal, std::uint64_t level, std::uint64_t status,
                                       va_list list) noexcept;
  static std::uint64_t getLocaleSlot(RQJournal* journal, ...) noexcept;

  std::uint64_t keep(JournalEntry entry);

  mutable std::mutex mutex_;
  std::vector<JournalEntry> entries_;
};

}  // namespace rq::host

#endif
