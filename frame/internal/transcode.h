// One call of a transcoder.
#ifndef RQUNI_FRAME_INTERNAL_TRANSCODE_H
#define RQUNI_FRAME_INTERNAL_TRANSCODE_H

#include <cstdint>

#include "frame/host_tables.h"

namespace rq {

/// Converts `inputBytes` bytes at `input` into at most `capacityBytes` bytes at `output`. Returns the transcoder's
/// status. The host stores *produced; the value stays when it stores nothing.
inline RQStatus transcode(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes, void* output,
                          std::uint64_t capacityBytes, std::uint64_t* produced) {
  return transcoder->convert(transcoder, input, inputBytes, output, capacityBytes, produced, 0);
}

}  // namespace rq

#endif
