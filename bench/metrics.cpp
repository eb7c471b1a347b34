// Character counts and display widths beside the C library, utf8proc, ICU and libunistring.
#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include <unistr.h>
#include <uniwidth.h>
#include <utf8proc.h>

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <string_view>
#include <vector>

#include "bench/families.h"
#include "bench/peers/loops.h"
#include "bench/support/cell.h"
#include "bench/support/exchange.h"
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

int icuColumns(UChar32 c) {
  const int kind = u_getIntPropertyValue(c, UCHAR_EAST_ASIAN_WIDTH);
  return kind == U_EA_WIDE || kind == U_EA_FULLWIDTH ? 2 : 1;
}

/// Sums over the characters of a UTF-8 text, taken by ICU and by utf8proc.
#pragma GCC diagnostic push  // ICU's macro converts without casts
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wsign-conversion"
template <class Value>
std::int64_t icuSum(std::string_view text, Value value) {
  std::int64_t sum = 0;
  const auto length = static_cast<std::int32_t>(text.size());
  for (std::int32_t i = 0; i < length;) {
    UChar32 c;
    U8_NEXT(text.data(), i, length, c);
    sum += value(c);
  }
  return sum;
}
#pragma GCC diagnostic pop
template <class Value>
std::int64_t utf8procSum(std::string_view text, Value value) {
  std::int64_t sum = 0;
  const auto* p = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  for (auto left = static_cast<utf8proc_ssize_t>(text.size()); left > 0;) {
    utf8proc_int32_t c;
    const utf8proc_ssize_t taken = utf8proc_iterate(p, left, &c);
    if (taken <= 0) return -1;
    sum += value(c);
    p += taken;
    left -= taken;
  }
  return sum;
}

using Words = std::shared_ptr<std::u32string>;
using Bytes = std::shared_ptr<std::string>;

const std::uint8_t* octets(const std::string& text) {
  return reinterpret_cast<const std::uint8_t*>(text.data());
}

void widthsOfWords(const std::string& row, const Words& words, std::int64_t width) {
  const std::size_t bytes = 4 * words->size();
  peer(row + "/wcswidth", bytes, width,
       [=] { return std::int64_t{wcswidth(reinterpret_cast<const wchar_t*>(words->data()), words->size())}; });
  peer(row + "/utf8proc", bytes, width, [=] {
    std::int64_t sum = 0;
    for (char32_t c : *words) sum += utf8proc_charwidth(static_cast<utf8proc_int32_t>(c));
    return sum;
  });
  peer(row + "/icu", bytes, width, [=] {
    std::int64_t sum = 0;
    for (char32_t c : *words) sum += icuColumns(static_cast<UChar32>(c));
    return sum;
  });
  peer(row + "/libunistring", bytes, width, [=] {
    return std::int64_t{u32_width(reinterpret_cast<const std::uint32_t*>(words->data()), words->size(), "UTF-8")};
  });
}

/// Length or width by the C library: the text made wide first.
std::int64_t byWideCharacters(const std::string& text, bool asWidth) {
  static std::vector<wchar_t> buffer;
  buffer.resize(std::max(buffer.size(), text.size()));
  const char* from = text.data();
  std::mbstate_t state{};
  const std::size_t made = mbsnrtowcs(buffer.data(), &from, text.size(), buffer.size(), &state);
  return asWidth ? std::int64_t{wcswidth(buffer.data(), made)} : static_cast<std::int64_t>(made);
}

void widthsOfBytes(const std::string& row, const Bytes& text, std::int64_t width) {
  peer(row + "/mbsnrtowcs+wcswidth", text->size(), width, [=] { return byWideCharacters(*text, true); });
  peer(row + "/icu", text->size(), width, [=] { return icuSum(*text, icuColumns); });
  peer(row + "/utf8proc", text->size(), width,
       [=] { return utf8procSum(*text, [](utf8proc_int32_t c) { return utf8proc_charwidth(c); }); });
  peer(row + "/libunistring", text->size(), width,
       [=] { return std::int64_t{u8_width(octets(*text), text->size(), "UTF-8")}; });
}

void lengthsOfBytes(const std::string& row, const Bytes& text, std::int64_t length) {
  peer(row + "/mbsnrtowcs", text->size(), length, [=] { return byWideCharacters(*text, false); });
  peer(row + "/icu", text->size(), length, [=] { return icuSum(*text, [](UChar32) { return 1; }); });
  peer(row + "/utf8proc", text->size(), length,
       [=] { return utf8procSum(*text, [](utf8proc_int32_t) { return 1; }); });
  peer(row + "/libunistring", text->size(), length,
       [=] { return static_cast<std::int64_t>(u8_mbsnlen(octets(*text), text->size())); });
  peer(row + "/lead-bytes", text->size(), length,
       [=] { return loopsNative.countLeads(octets(*text), text->size()); });
}

}  // namespace

void registerMetrics() {
  for (const auto& [name, script] : {std::pair{"ascii", Script::ascii},
                                     {"cyrillic", Script::cyrillic},
                                     {"cjk", Script::cjk},
                                     {"mixed", Script::mixed}}) {
    const bool finer = script == Script::cyrillic || script == Script::cjk;
    for (std::size_t count : finer ? std::vector<std::size_t>{16, 64, 256, 1024, 4096, 65536, 1 << 20}
                                   : std::vector<std::size_t>{64, 4096}) {
      const auto words = std::make_shared<std::u32string>(text(script, count));
      std::int64_t width = 0;
      for (char32_t c : *words) width += c >= 0x3000 ? 2 : 1;  // the only wide ones here are ideographs
      const std::string size = std::to_string(count);
      const std::string wide(reinterpret_cast<const char*>(words->data()), 4 * count);
      const auto bytes = std::make_shared<std::string>(utf8(*words));

      const std::string wideRow = std::string("metrics/T_ulGetUnicodeWidth ") + name;
      measured(wideRow + "/" + size, RQ_ENCODING_UTF32_LITTLE, &RQInterface::wide, &RQOperations::getUnicodeWidth, 4,
               wide, width);
      widthsOfWords(wideRow + "/" + size, words, width);
      if (count == 4096) exchange(wideRow, size, *bytes, std::to_string(width));

      const std::string widthRow = std::string("metrics/ulGetUnicodeWidth ") + name + "/" + size;
      measured(widthRow, RQ_ENCODING_UTF8, &RQInterface::plain, &RQOperations::getUnicodeWidth, 1, *bytes, width);
      widthsOfBytes(widthRow, bytes, width);
      const std::string lengthRow = std::string("metrics/ulGetUnicodeLength ") + name + "/" + size;
      measured(lengthRow, RQ_ENCODING_UTF8, &RQInterface::plain, &RQOperations::getUnicodeLength, 1, *bytes,
               static_cast<std::int64_t>(count));
      lengthsOfBytes(lengthRow, bytes, static_cast<std::int64_t>(count));
    }
  }
}

}  // namespace rq::bench
