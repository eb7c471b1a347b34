// Multibyte and stateful encodings through ICU. Each thread has its own pair of converters per encoding: calls take
// no lock, and cost a reset and the conversion.
#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <vector>

#include "host/codec.h"
#include "host/icu.h"

namespace rq::host {
namespace {

/// The longest piece that ICU takes at once.
constexpr std::size_t longestPiece = 0x40000000;

struct ThreadConverters {
  Converter decoder, encoder;
  char16_t pendingLead = 0;  // the first half of a pair, when a piece ended between the halves
};

/// Indexed by a codec's number. Each thread opens what it uses, and closes it when the thread ends.
thread_local std::vector<ThreadConverters> threadConverters;
std::atomic<std::size_t> codecsMade = 0;

Outcome outcomeOfReading(UErrorCode error) {
  return error == U_TRUNCATED_CHAR_FOUND ? Outcome::truncated : Outcome::malformed;
}

std::size_t invalidLength(const UConverter* converter) {
  std::array<char, 32> bytes;
  auto length = static_cast<std::int8_t>(bytes.size());
  UErrorCode error = U_ZERO_ERROR;
  ucnv_getInvalidChars(converter, bytes.data(), &length, &error);
  return U_SUCCESS(error) && length > 0 ? static_cast<std::size_t>(length) : 1;
}

class IcuCodec final : public Codec {
 public:
  explicit IcuCodec(std::string name) : name_(std::move(name)), number_(codecsMade++) {}

  /// Opens this thread's converters; false when ICU refuses.
  bool open() {
    const ThreadConverters* mine = converters();
    if (!mine) return false;
    switch (ucnv_getType(mine->decoder.get())) {
      case UCNV_SBCS:
      case UCNV_DBCS:
      case UCNV_MBCS:
      case UCNV_LATIN_1:
      case UCNV_US_ASCII:
      case UCNV_UTF8:
      case UCNV_CESU8:
      case UCNV_UTF16_BigEndian:
      case UCNV_UTF16_LittleEndian:
      case UCNV_UTF32_BigEndian:
      case UCNV_UTF32_LittleEndian:
        stateful_ = false;
        break;
      default:
        stateful_ = true;
    }
    return true;
  }

  Step decode(Bytes input, std::span<char32_t> output, bool first) const override {
    ThreadConverters* mine = converters();
    if (!mine) return {0, 0, Outcome::unavailable};
    if (first) restart(*mine);

    std::array<UChar, pieceCharacters> units;
    UChar* unitsEnd = units.data();
    const UChar* unitsLimit = units.data() + std::min(output.size(), units.size());
    const auto* begin = reinterpret_cast<const char*>(input.data());
    const char* from = begin;
    const std::size_t piece = std::min(input.size(), longestPiece);
    UErrorCode error = U_ZERO_ERROR;
    ucnv_toUnicode(mine->decoder.get(), &unitsEnd, unitsLimit, &from, begin + piece, nullptr,
                   static_cast<UBool>(piece == input.size()), &error);

    Step step{static_cast<std::size_t>(from - begin), 0, Outcome::done};
    const bool whole = pair({units.data(), unitsEnd}, output, *mine, step.produced);
    if (!whole) {
      step.outcome = Outcome::malformed;
      step.badBytes = 1;
    } else if (error == U_BUFFER_OVERFLOW_ERROR || (U_SUCCESS(error) && piece != input.size())) {
      step.outcome = Outcome::outputFull;
    } else if (U_FAILURE(error)) {
      step.outcome = outcomeOfReading(error);
      step.badBytes = std::min(invalidLength(mine->decoder.get()), step.consumed);
      step.consumed -= step.badBytes;
    } else if (mine->pendingLead != 0) {
      step.outcome = Outcome::malformed;
    }
    return step;
  }

  Step decodeOne(Bytes input, char32_t& output, bool first) const override {
    ThreadConverters* mine = converters();
    if (!mine) return {0, 0, Outcome::unavailable};
    if (first) restart(*mine);
    const auto* begin = reinterpret_cast<const char*>(input.data());
    const char* from = begin;
    UErrorCode error = U_ZERO_ERROR;
    const UChar32 c =
        ucnv_getNextUChar(mine->decoder.get(), &from, begin + std::min(input.size(), longestPiece), &error);
    const auto consumed = static_cast<std::size_t>(from - begin);
    if (error == U_INDEX_OUTOFBOUNDS_ERROR) {
      // Nothing but switches of state may be read without a character. Of some single-byte encodings with longer
      // sequences ICU says so of a bad byte.
      if (consumed != 0 && !stateful_) return {0, 0, Outcome::malformed, consumed};
      return {consumed, 0, Outcome::done};
    }
    if (U_FAILURE(error)) {
      const std::size_t bad = std::min(invalidLength(mine->decoder.get()), consumed);
      return {consumed - bad, 0, outcomeOfReading(error), bad};
    }
    if (c >= 0xD800 && c <= 0xDFFF) return {0, 0, Outcome::malformed, consumed};
    output = static_cast<char32_t>(c);
    return {consumed, 1, Outcome::outputFull};
  }

  Step encode(std::span<const char32_t> input, MutableBytes output, bool first, bool last) const override {
    ThreadConverters* mine = converters();
    if (!mine) return {0, 0, Outcome::unavailable};
    if (first) ucnv_resetFromUnicode(mine->encoder.get());

    std::array<UChar, 2 * pieceCharacters> units;
    std::size_t count = 0;
    for (const char32_t c : input) {
      if (c > 0xFFFF) units[count++] = static_cast<UChar>(0xD7C0 + (c >> 10));
      units[count++] = static_cast<UChar>(c > 0xFFFF ? 0xDC00 | (c & 0x3FF) : c);
    }
    const UChar* from = units.data();
    auto* begin = reinterpret_cast<char*>(output.data());
    char* to = begin;
    UErrorCode error = U_ZERO_ERROR;
    ucnv_fromUnicode(mine->encoder.get(), &to, begin + std::min(output.size(), longestPiece), &from,
                     units.data() + count, nullptr, static_cast<UBool>(last), &error);

    const auto consumed = static_cast<std::size_t>(
        std::count_if(units.data(), units.data() + (from - units.data()), [](UChar u) { return !U16_IS_TRAIL(u); }));
    const auto produced = static_cast<std::size_t>(to - begin);
    if (U_SUCCESS(error)) return {consumed, produced, Outcome::done};
    return {consumed, produced, error == U_BUFFER_OVERFLOW_ERROR ? Outcome::outputFull : Outcome::unmappable};
  }

  bool stateful() const override { return stateful_; }
  bool cutsCleanly() const override { return false; }

 private:
  ThreadConverters* converters() const {
    if (number_ >= threadConverters.size()) threadConverters.resize(number_ + 1);
    ThreadConverters& mine = threadConverters[number_];
    if (mine.decoder && mine.encoder) return &mine;
    mine.decoder = openConverter(name_);
    mine.encoder = openConverter(name_);
    return mine.decoder && mine.encoder ? &mine : nullptr;
  }

  static void restart(ThreadConverters& mine) {
    mine.pendingLead = 0;
    ucnv_resetToUnicode(mine.decoder.get());
  }

  /// Joins surrogate pairs; a lead at the end waits for the next piece. False for a lone surrogate.
  static bool pair(std::span<const UChar> units, std::span<char32_t> output, ThreadConverters& mine,
                   std::size_t& produced) {
    for (const UChar unit : units) {
      if (mine.pendingLead != 0) {
        if (!U16_IS_TRAIL(unit)) return false;
        output[produced++] = static_cast<char32_t>(U16_GET_SUPPLEMENTARY(mine.pendingLead, unit));
        mine.pendingLead = 0;
      } else if (U16_IS_LEAD(unit)) {
        mine.pendingLead = unit;
      } else if (U16_IS_TRAIL(unit)) {
        return false;
      } else {
        output[produced++] = unit;
      }
    }
    return true;
  }

  const std::string name_;
  const std::size_t number_;
  bool stateful_ = true;
};

}  // namespace

std::unique_ptr<Codec> makeIcuCodec(const std::string& icuName) {
  auto codec = std::make_unique<IcuCodec>(icuName);
  if (!codec->open()) return nullptr;
  return codec;
}

}  // namespace rq::host
