#include "host/icu.h"

#include <unicode/ucnv_cb.h>

#include <algorithm>
#include <array>

namespace rq::host {
namespace {

/// ICU's own stop callback drops invisible characters that the target lacks (soft hyphens, joiners). This one leaves
/// the error standing, so they are reported like any other.
void stopAtEverything(const void*, UConverterFromUnicodeArgs*, const UChar*, std::int32_t, UChar32,
                      UConverterCallbackReason, UErrorCode*) {}

/// Writes the substitution character for invisible characters too, which ICU's own callback drops.
void substitute(const void*, UConverterFromUnicodeArgs* arguments, const UChar*, std::int32_t, UChar32,
                UConverterCallbackReason reason, UErrorCode* error) {
  if (reason != UCNV_UNASSIGNED) return;
  *error = U_ZERO_ERROR;
  ucnv_cbFromUWriteSub(arguments, 0, error);
}

/// Writes the character's decimal reference. An encoding without its ASCII characters stops there.
void keepAsReference(const void*, UConverterFromUnicodeArgs* arguments, const UChar*, std::int32_t, UChar32 character,
                     UConverterCallbackReason reason, UErrorCode* error) {
  if (reason != UCNV_UNASSIGNED) return;
  const std::string reference = "&#" + std::to_string(character) + ";";
  std::array<UChar, 16> units;
  std::ranges::copy(reference, units.begin());
  UErrorCode ignored = U_ZERO_ERROR;
  ucnv_setFromUCallBack(arguments->converter, stopAtEverything, nullptr, nullptr, nullptr, &ignored);
  *error = U_ZERO_ERROR;
  const UChar* from = units.data();
  ucnv_cbFromUWriteUChars(arguments, &from, from + reference.size(), 0, error);
  ucnv_setFromUCallBack(arguments->converter, keepAsReference, nullptr, nullptr, nullptr, &ignored);
}

}  // namespace

Converter openConverter(const std::string& icuName) {
  UErrorCode error = U_ZERO_ERROR;
  Converter converter(ucnv_open(icuName.c_str(), &error));
  if (U_FAILURE(error)) return nullptr;
  ucnv_setFromUCallBack(converter.get(), stopAtEverything, nullptr, nullptr, nullptr, &error);
  ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
  if (U_FAILURE(error)) return nullptr;
  return converter;
}

Converter openConverter(const std::string& icuName, Unmappable unmappable) {
  Converter converter = openConverter(icuName);
  if (!converter || unmappable == Unmappable::error) return converter;
  UErrorCode error = U_ZERO_ERROR;
  ucnv_setFromUCallBack(converter.get(), unmappable == Unmappable::keep ? keepAsReference : substitute, nullptr,
                        nullptr, nullptr, &error);
  return U_SUCCESS(error) ? std::move(converter) : nullptr;
}

}  // namespace rq::host
