#include "host/encodings.h"

#include <unicode/ucnv.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <mutex>

#include "host/spelling.h"

namespace rq::host {
namespace {

struct UnicodeName {
  std::string_view icuName;
  std::uint32_t identifier;
};

/// ICU's names of the Unicode forms. The first name of an identifier is the one that this host uses; behind them
/// stand ICU's converters that differ by byte-order marks or by a name alone.
constexpr std::array<UnicodeName, 15> unicodeNames = {{{"UTF-8", RQ_ENCODING_UTF8},
                                                       {"UTF-16BE", RQ_ENCODING_UTF16_BIG},
                                                       {"UTF-16LE", RQ_ENCODING_UTF16_LITTLE},
                                                       {"UTF-32BE", RQ_ENCODING_UTF32_BIG},
                                                       {"UTF-32LE", RQ_ENCODING_UTF32_LITTLE},
                                                       {"UTF-16", RQ_ENCODING_UTF16_BIG},
                                                       {"UTF-32", RQ_ENCODING_UTF32_BIG},
                                                       {"UTF16_PlatformEndian", RQ_ENCODING_UTF16_LITTLE},
                                                       {"UTF16_OppositeEndian", RQ_ENCODING_UTF16_BIG},
                                                       {"UTF32_PlatformEndian", RQ_ENCODING_UTF32_LITTLE},
                                                       {"UTF32_OppositeEndian", RQ_ENCODING_UTF32_BIG},
                                                       {"UTF-16BE,version=1", RQ_ENCODING_UTF16_BIG},
                                                       {"UTF-16LE,version=1", RQ_ENCODING_UTF16_LITTLE},
                                                       {"UTF-16,version=1", RQ_ENCODING_UTF16_LITTLE},
                                                       {"UTF-16,version=2", RQ_ENCODING_UTF16_BIG}}};

/// ICU drops characters that this encoding lacks and reports nothing: a host that offered it would lose text.
constexpr std::string_view losingName = "x11-compound-text";

/// FNV-1a, brought into 2^24 .. 2^31 - 1: positive for a signed reader and far from the fixed identifiers.
std::uint32_t hashedIdentifier(std::string_view name) {
  std::uint32_t hash = 2166136261U;
  for (const char c : name) hash = (hash ^ static_cast<std::uint8_t>(c)) * 16777619U;
  return hash % (0x7FFFFFFF - 0x01000000) + 0x01000000;
}

/// The identifier and this host's name of what ICU calls `icuName`.
UnicodeName ownName(std::string_view icuName) {
  const auto known = std::ranges::find(unicodeNames, icuName, &UnicodeName::icuName);
  if (known == unicodeNames.end()) return {icuName, hashedIdentifier(icuName)};
  return *std::ranges::find(unicodeNames, known->identifier, &UnicodeName::identifier);
}

void addAliases(Encoding& encoding, const char* icuName) {
  const auto add = [&encoding](std::string_view alias) {
    if (alias != encoding.name && std::ranges::find(encoding.aliases, alias) == encoding.aliases.end()) {
      encoding.aliases.emplace_back(alias);
    }
  };
  UErrorCode error = U_ZERO_ERROR;
  for (const char* standard : {"MIME", "IANA"}) {
    const char* preferred = ucnv_getStandardName(icuName, standard, &error);
    if (U_SUCCESS(error) && preferred) add(preferred);
    error = U_ZERO_ERROR;
  }
  const std::uint16_t count = ucnv_countAliases(icuName, &error);
  for (std::uint16_t i = 0; U_SUCCESS(error) && i < count; ++i) {
    const char* alias = ucnv_getAlias(icuName, i, &error);
    if (U_SUCCESS(error)) add(alias);
  }
}

std::vector<Encoding> listEncodings() {
  std::map<std::string, Encoding> byName;
  for (std::int32_t i = 0; i < ucnv_countAvailable(); ++i) {
    const char* icuName = ucnv_getAvailableName(i);
    if (icuName == losingName) continue;
    const auto [name, identifier] = ownName(icuName);
    Encoding& encoding = byName[std::string(name)];
    encoding.identifier = identifier;
    encoding.name = name;
    addAliases(encoding, icuName);
  }
  std::vector<Encoding> list;
  list.reserve(byName.size());
  for (auto& [name, encoding] : byName) list.push_back(std::move(encoding));
  return list;
}

/// A name without what does not count in comparisons.
std::string folded(std::string_view name) {
  std::string letters;
  for (const char c : name) {
    if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
      letters += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
  }
  return letters;
}

/// Up to four names that somebody may have meant, nearest first, one per encoding.
std::string nearNames(std::string_view name) {
  const std::string wanted = folded(name.substr(0, 64));
  std::vector<std::pair<std::size_t, std::string_view>> near;
  for (const Encoding& encoding : encodings()) {
    std::pair<std::size_t, std::string_view> best(stepsBetween(wanted, folded(encoding.name)), encoding.name);
    for (const std::string& alias : encoding.aliases)
      best = std::min(best, {stepsBetween(wanted, folded(alias)), alias});
    if (best.first <= 1 + wanted.size() / 4) near.push_back(best);
  }
  std::ranges::sort(near);
  near.erase(std::unique(near.begin(), near.end()), near.end());  // encodings share names
  std::string text;
  for (std::size_t i = 0; i < std::min<std::size_t>(near.size(), 4); ++i) {
    text += (i == 0 ? "" : ", ") + std::string(near[i].second);
  }
  return text;
}

}  // namespace

const std::vector<Encoding>& encodings() {
  static const std::vector<Encoding> list = listEncodings();
  return list;
}

const Encoding* findEncoding(std::uint32_t identifier) {
  const auto found = std::ranges::find(encodings(), identifier, &Encoding::identifier);
  return found == encodings().end() ? nullptr : &*found;
}

Result<const Encoding*> findEncoding(std::string_view name) {
  UErrorCode error = U_ZERO_ERROR;
  const char* icuName = ucnv_getAlias(std::string(name).c_str(), 0, &error);
  if (U_SUCCESS(error) && icuName) {
    const auto found = std::ranges::find(encodings(), ownName(icuName).icuName, &Encoding::name);
    if (found != encodings().end()) return &*found;
  }
  constexpr std::size_t longestShown = 64;
  std::string text = "encoding '" + std::string(name.substr(0, longestShown)) +
                     (name.size() > longestShown ? "...' is unknown" : "' is unknown");
  if (const std::string near = nearNames(name); !near.empty()) text += "; similar names: " + near;
  return Error{Error::Kind::usage, std::move(text)};
}

const Codec* codecOf(std::uint32_t identifier) {
  static std::mutex mutex;
  static std::map<std::uint32_t, std::unique_ptr<Codec>> codecs;
  const std::lock_guard lock(mutex);
  if (const auto known = codecs.find(identifier); known != codecs.end()) return known->second.get();
  const Encoding* encoding = findEncoding(identifier);
  if (!encoding) return nullptr;
  std::unique_ptr<Codec> codec = makeUnicodeCodec(identifier);
  if (!codec) codec = makeSingleByteCodec(encoding->name);
  if (!codec) codec = makeIcuCodec(encoding->name);
  if (!codec) return nullptr;
  return (codecs[identifier] = std::move(codec)).get();
}

bool carriesNotations(const Codec& codec) {
  if (codec.stateful()) return false;
  return std::ranges::all_of(std::string_view("&#;<>\\0123456789abcdefABCDEFuUx\n "), [&codec](char c) {
    const auto byte = static_cast<std::byte>(c);
    char32_t character = 0;
    const Step step = codec.decodeOne({&byte, 1}, character, true);
    return step.produced == 1 && step.consumed == 1 && character == static_cast<unsigned char>(c);
  });
}

}  // namespace rq::host
