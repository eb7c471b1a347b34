#include "host/case_service.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <span>
#include <string_view>

namespace rq::host {
namespace {

constexpr RQStatus unknownService = 0x80410011;

RQChar mapped(UChar32 (*map)(UChar32), RQChar character) {
  return character <= 0x10FFFF ? static_cast<RQChar>(map(static_cast<UChar32>(character))) : character;
}

}  // namespace

CharsetService::CharsetService() {
  forbid<"character-set service", 0>(gap0);
  upperCase = upperCaseSlot;
}

void CharsetService::upperCaseSlot(RQCharsetService*, void* buffer, std::uint64_t length, std::uint64_t) noexcept {
  for (char& c : std::span(static_cast<char*>(buffer), length)) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
}

CaseService::CaseService() {
  forbid<"case service", 0>(gap0);
  forbid<"case service", 33>(gap33);
  forbid<"case service", 150>(gap150);
  upper = upperSlot;
  lower = lowerSlot;
  charset = &charset_;
  lookUp = lookUpSlot;
}

RQChar CaseService::upperSlot(RQCaseService*, RQChar character, std::uint64_t) noexcept {
  return mapped(u_toupper, character);
}

RQChar CaseService::lowerSlot(RQCaseService*, RQChar character, std::uint64_t) noexcept {
  return mapped(u_tolower, character);
}

RQCharsetService* CaseService::lookUpSlot(RQCaseService* service, const RQChar* name, std::uint64_t length,
                                          RQStatus* status) noexcept {
  const bool known = std::ranges::equal(std::span(name, length), std::u32string_view(U"ZQD"));
  *status = known ? 0 : unknownService;
  return known ? &static_cast<CaseService*>(service)->charset_ : nullptr;
}

}  // namespace rq::host
