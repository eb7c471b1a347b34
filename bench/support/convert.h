// Conversions between the Unicode encoding forms without tables, fast on ASCII; what the cheap host's transcoders do.
#pragma once

#include <cstdint>

#include "frame/types.h"

namespace rq::bench {

/// Converts as far as whole characters fit and always stores the bytes written; nonzero status otherwise. A byte that
/// is not UTF-8, a surrogate or a value above U+10FFFF ends the conversion.
using Convert = RQStatus(const void* input, std::uint64_t inputBytes, void* output, std::uint64_t capacity,
                         std::uint64_t* produced);

/// The conversion between two host encoding identifiers.
Convert* converter(std::uint32_t source, std::uint32_t target);

}  // namespace rq::bench
