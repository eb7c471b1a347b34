// The encodings of this host: ICU's, under identifiers of the host's own.
#ifndef RQUNI_HOST_ENCODINGS_H
#define RQUNI_HOST_ENCODINGS_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "frame/interface.h"
#include "host/codec.h"
#include "host/result.h"

namespace rq::host {

/// Identifiers: the five Unicode forms have those that the interface fixes (20, 24 to 27); every other encoding has a
/// hash of its name, so it keeps its identifier whatever ICU's version offers beside it.
struct Encoding {
  std::uint32_t identifier;
  std::string name;                  // ICU's own
  std::vector<std::string> aliases;  // other names, the one that mail and web prefer first where there is one
};

/// The identifiers of the forms, in the order of RQForm.
inline constexpr std::array<std::uint32_t, RQ_FORMS> formEncodings = {
    RQ_ENCODING_UTF8,         RQ_ENCODING_UTF16_LITTLE, RQ_ENCODING_UTF16_BIG,   RQ_ENCODING_UTF16_LITTLE,
    RQ_ENCODING_UTF32_LITTLE, RQ_ENCODING_UTF32_BIG,    RQ_ENCODING_UTF32_LITTLE};

/// All encodings, by name. Made at first use and kept. ICU's converters that add or remove byte-order marks (such as
/// "UTF-16") are not offered: their names mean the form without a mark, big-endian unless they say otherwise.
const std::vector<Encoding>& encodings();
/// Null when there is none.
const Encoding* findEncoding(std::uint32_t identifier);
/// Compares as ICU does: case, blanks, dashes and underscores do not count. The error names similar encodings.
Result<const Encoding*> findEncoding(std::string_view name);

/// The codec of an encoding, made at first use and kept; null when the identifier is unknown or ICU refuses.
const Codec* codecOf(std::uint32_t identifier);

/// True when the notations' characters (ASCII letters, digits and punctuation) stand for themselves as single bytes.
bool carriesNotations(const Codec& codec);

}  // namespace rq::host

#endif
