// One call of a transcoder.
#ifndef RQUNI_FRAME_INTERNAL_TRANSCODE_H
#define RQUNI_FRAME_INTERNAL_TRANSCODE_H

#include <cstdint>

#include "frame/host_tables.h"

namespace rq {

/// Converts `inputBytes` bytes at `input` into at most `capacityBytes` at `output` and returns the transcoder's
/// status. *produced is what the host stores there; it keeps its value when the host stores nothing.
inline RQStatus transcode(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes, void* output,
                          std::uint64_t capacityBytes, std::uint64_t* produced) {
  return transcoder->convert(transcoder, input, inputBytes, output, capacityBytes, produced, 0);
}

}  // namespace rq

#endif
