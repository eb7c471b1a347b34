// Character counts and display widths beside the C library, utf8proc, ICU and libunistring.
#include <unicode/uchar.h>
#include <uniwidth.h>
#include <utf8proc.h>

#include <cstdlib>
#include <cwchar>
#include <memory>
#include <vector>

#include "bench/families.h"
#include "bench/support/cell.h"
#include "bench/support/host.h"
#include "bench/support/texts.h"

namespace rq::bench {
namespace {

using Measure = RQMeasure RQOperations::*;

/// ours and host of one measure on one text, given in the session's encoding.
void measured(const std::string& row, std::uint32_t session, RQOperations RQInterface::*flavour, Measure slot,
              std::size_t unitBytes, const std::string& text, std::int64_t expected) {
  RQInterface* const object = bench::object(session);
  const RQMeasure function = object ? (object->*flavour).*slot : nullptr;
  const auto input = std::make_shared<std::string>(text);
  auto call = [=] { return function(object, input->data(), input->size() / unitBytes); };
  Cell ours{row + "/ours", static_cast<double>(text.size())};
  ours.refusal = [=]() -> const char* {
    if (!function) return "not built";
    const std::int64_t answer = call();
    if (static_cast<RQStatus>(answer) == RQ_UNSUPPORTED) return "not built";
    return answer == expected ? nullptr : "wrong answer";
  };
  timed(ours, call);
  const auto calls = std::make_shared<std::vector<Conversion>>();
  Cell host{row + "/host", static_cast<double>(text.size())};
  host.refusal = [=]() -> const char* {
    if (!function) return "not built";
    record();
    call();
    *calls = recorded();
    return nullptr;
  };
  timed(host, [=] { return replay(*calls); });
}

template <class Call>
void peer(const std::string& name, std::size_t bytes, std::int64_t expected, Call call) {
  Cell cell{name, static_cast<double>(bytes)};
  cell.refusal = [=]() -> const char* { return call() == expected ? nullptr : "not for this text"; };
  timed(cell, call);
}

std::int64_t icuWidth(const std::u32string& text) {
  std::int64_t width = 0;
  for (char32_t c : text) {
    const int kind = u_getIntPropertyValue(static_cast<UChar32>(c), UCHAR_EAST_ASIAN_WIDTH);
    width += kind == U_EA_WIDE || kind == U_EA_FULLWIDTH ? 2 : 1;
  }
  return width;
}

std::int64_t utf8procWidth(const std::u32string& text) {
  std::int64_t width = 0;
  for (char32_t c : text) width += utf8proc_charwidth(static_cast<utf8proc_int32_t>(c));
  return width;
}

}  // namespace

void registerMetrics() {
  for (const auto& [name, script] : {std::pair{"ascii", Script::ascii},
                                     {"cyrillic", Script::cyrillic},
                                     {"cjk", Script::cjk},
                                     {"mixed", Script::mixed}}) {
    for (std::size_t count : {std::size_t{64}, std::size_t{4096}}) {
      const auto words = std::make_shared<std::u32string>(text(script, count));
      std::int64_t width = 0;
      for (char32_t c : *words) width += c >= 0x3000 ? 2 : 1;  // the only wide ones here are ideographs
      const auto length = static_cast<std::int64_t>(count);
      const std::string size = std::string(" ") + name + "/" + std::to_string(count);
      const std::string wide(reinterpret_cast<const char*>(words->data()), 4 * count);

      const std::string wideRow = "metrics/T_ulGetUnicodeWidth" + size;
      measured(wideRow, RQ_ENCODING_UTF32_LITTLE, &RQInterface::wide, &RQOperations::getUnicodeWidth, 4, wide, width);
      peer(wideRow + "/wcswidth", 4 * count, width,
           [=] { return std::int64_t{wcswidth(reinterpret_cast<const wchar_t*>(words->data()), words->size())}; });
      peer(wideRow + "/utf8proc", 4 * count, width, [=] { return utf8procWidth(*words); });
      peer(wideRow + "/icu", 4 * count, width, [=] { return icuWidth(*words); });
      peer(wideRow + "/libunistring", 4 * count, width, [=] {
        return std::int64_t{u32_width(reinterpret_cast<const std::uint32_t*>(words->data()), words->size(), "UTF-8")};
      });

      const auto bytes = std::make_shared<std::string>(utf8(*words));
      auto wcs = [=](bool asWidth) {
        static std::vector<wchar_t> buffer(8192);
        const char* from = bytes->data();
        std::mbstate_t state{};
        const std::size_t made = mbsnrtowcs(buffer.data(), &from, bytes->size(), buffer.size(), &state);
        return asWidth ? std::int64_t{wcswidth(buffer.data(), made)} : static_cast<std::int64_t>(made);
      };
      const std::string widthRow = "metrics/ulGetUnicodeWidth" + size;
      measured(widthRow, RQ_ENCODING_UTF8, &RQInterface::plain, &RQOperations::getUnicodeWidth, 1, *bytes, width);
      peer(widthRow + "/mbsnrtowcs+wcswidth", bytes->size(), width, [=] { return wcs(true); });
      const std::string lengthRow = "metrics/ulGetUnicodeLength" + size;
      measured(lengthRow, RQ_ENCODING_UTF8, &RQInterface::plain, &RQOperations::getUnicodeLength, 1, *bytes, length);
      peer(lengthRow + "/mbsnrtowcs", bytes->size(), length, [=] { return wcs(false); });
    }
  }
}

}  // namespace rq::bench
