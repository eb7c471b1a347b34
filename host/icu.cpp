#include "host/icu.h"

namespace rq::host {
namespace {

/// ICU's own stop callback drops invisible characters that the target lacks (soft hyphens, joiners). This one leaves
/// the error standing, so they are reported like any other.
void stopAtEverything(const void*, UConverterFromUnicodeArgs*, const UChar*, std::int32_t, UChar32,
                      UConverterCallbackReason, UErrorCode*) {}

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

}  // namespace rq::host
