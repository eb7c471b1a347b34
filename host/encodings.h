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

/// The interface fixes the identifiers of the five Unicode forms (20, 24 to 27). Every other identifier is a hash of
/// the name, so it stays the same whatever else ICU's version offers.
struct Encoding {
  std::uint32_t identifier;
  std::string name;                  // ICU's own
  std::vector<std::string> aliases;  // other names; first the one that mail and web prefer, if there is one
};

/// The identifiers of the forms, in the order of RQForm.
inline constexpr std::array<std::uint32_t, RQ_FORMS> formEncodings = {
    RQ_ENCODING_UTF8,         RQ_ENCODING_UTF16_LITTLE, RQ_ENCODING_UTF16_BIG,   RQ_ENCODING_UTF16_LITTLE,
    RQ_ENCODING_UTF32_LITTLE, RQ_ENCODING_UTF32_BIG,    RQ_ENCODING_UTF32_LITTLE};

/// All encodings, sorted by name. ICU's converters that add or remove byte-order marks (such as "UTF-16") are not
/// among them: their names mean the form without a mark, big-endian unless they say otherwise. Nor is
/// "x11-compound-text", which loses characters in silence.
const std::vector<Encoding>& encodings();
/// The encoding of the identifier, or null.
const Encoding* findEncoding(std::uint32_t identifier);
/// Ignores case, blanks, dashes and underscores, as ICU does. The error names similar encodings.
Result<const Encoding*> findEncoding(std::string_view name);

/// The codec of an encoding; null when the identifier is unknown or ICU refuses. It lives as long as the process.
const Codec* codecOf(std::uint32_t identifier);

/// True when ASCII letters, digits and punctuation, of which the notations consist, are single bytes of their own.
bool carriesNotations(const Codec& codec);

}  // namespace rq::host

#endif
