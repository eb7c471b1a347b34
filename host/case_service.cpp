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

RQChar answer(Instruments& instruments, Service service, RQCaseService* table, UChar32 (*map)(UChar32),
              RQChar character) {
  if (!instruments.active()) return mapped(map, character);
  const std::optional<Fault> fault = instruments.enter(service);
  // A case service has no way to fail but to leave the character alone.
  const RQChar result = !fault                                  ? mapped(map, character)
                        : fault->action == Fault::Action::value ? static_cast<RQChar>(fault->value)
                                                                : character;
  instruments.leave({service, table, {character}, result});
  return result;
}

}  // namespace

CharsetService::CharsetService(Instruments& instruments) : instruments_(instruments) {
  forbid<"character-set service", 0>(gap0);
  upperCase = upperCaseSlot;
}

void CharsetService::upperCaseSlot(RQCharsetService* service, void* buffer, std::uint64_t length,
                                   std::uint64_t) noexcept {
  Instruments& instruments = static_cast<CharsetService*>(service)->instruments_;
  if (instruments.active()) {
    const bool refused = instruments.enter(Service::upperCase).has_value();
    instruments.leave({Service::upperCase, service, {number(buffer), length}, 0});
    if (refused) return;
  }
  for (char& c : std::span(static_cast<char*>(buffer), length)) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
}

CaseService::CaseService(Instruments& instruments, bool atHand) : instruments_(instruments), charset_(instruments) {
  forbid<"case service", 0>(gap0);
  forbid<"case service", 33>(gap33);
  forbid<"case service", 150>(gap150);
  upper = upperSlot;
  lower = lowerSlot;
  charset = atHand ? &charset_ : nullptr;
  lookUp = lookUpSlot;
}

RQChar CaseService::upperSlot(RQCaseService* service, RQChar character, std::uint64_t) noexcept {
  return answer(static_cast<CaseService*>(service)->instruments_, Service::upper, service, u_toupper, character);
}

RQChar CaseService::lowerSlot(RQCaseService* service, RQChar character, std::uint64_t) noexcept {
  return answer(static_cast<CaseService*>(service)->instruments_, Service::lower, service, u_tolower, character);
}

RQCharsetService* CaseService::lookUpSlot(RQCaseService* service, const RQChar* name, std::uint64_t length,
                                          RQStatus* status) noexcept {
  auto* self = static_cast<CaseService*>(service);
  RQCharsetService* found = nullptr;
  *status = unknownService;
  if (std::ranges::equal(std::span(name, length), std::u32string_view(U"ZQD"))) {
    found = &self->charset_;
    *status = 0;
  }
  if (self->instruments_.active()) {
    if (const std::optional<Fault> fault = self->instruments_.enter(Service::lookUpCharset)) {
      if (fault->action == Fault::Action::status) {
        *status = static_cast<RQStatus>(fault->value);
      } else {
        found = nullptr;
        *status = fault->action == Fault::Action::fail ? faultStatus : 0;
      }
    }
    self->instruments_.leave({Service::lookUpCharset, service, {number(name), length}, number(found)});
  }
  return found;
}

}  // namespace rq::host
