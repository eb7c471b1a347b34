// The case service of the kernel and its character-set service "ZQD".
#ifndef RQUNI_HOST_CASE_SERVICE_H
#define RQUNI_HOST_CASE_SERVICE_H

#include <cstdint>

#include "frame/host_tables.h"
#include "host/guarded.h"

namespace rq::host {

/// Upper-cases ASCII letters in place.
class CharsetService final : public Guarded<RQCharsetService, "character-set service"> {
 public:
  CharsetService();

 private:
  static void upperCaseSlot(RQCharsetService* service, void* buffer, std::uint64_t length,
                            std::uint64_t zero) noexcept;
};

/// Single-character case mappings of Unicode, by ICU. Values that are no code points stay as they are.
class CaseService final : public Guarded<RQCaseService, "case service"> {
 public:
  CaseService();

 private:
  static RQChar upperSlot(RQCaseService* service, RQChar character, std::uint64_t one) noexcept;
  static RQChar lowerSlot(RQCaseService* service, RQChar character, std::uint64_t one) noexcept;
  static RQCharsetService* lookUpSlot(RQCaseService* service, const RQChar* name, std::uint64_t length,
                                      RQStatus* status) noexcept;

  CharsetService charset_;
};

}  // namespace rq::host

#endif
