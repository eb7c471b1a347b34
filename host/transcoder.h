// Transcoders between any two encodings of the host.
#ifndef RQUNI_HOST_TRANSCODER_H
#define RQUNI_HOST_TRANSCODER_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "frame/host_tables.h"
#include "host/codec.h"
#include "host/guarded.h"

namespace rq::host {

/// The statuses of this host's transcoders, one for each outcome.
inline constexpr RQStatus outputFullStatus = 0x80410001;
inline constexpr RQStatus truncatedStatus = 0x80410002;
inline constexpr RQStatus malformedStatus = 0x80410003;
inline constexpr RQStatus unmappableStatus = 0x80410004;
inline constexpr RQStatus unavailableStatus = 0x80410005;
RQStatus statusOf(Outcome outcome);
/// The status in words; an empty string for other statuses.
std::string_view describe(RQStatus status);
/// "0x80410001", for instance.
std::string hexadecimal(RQStatus status);

struct Conversion {
  std::size_t produced;
  Outcome outcome;
};

/// Converts the valid beginning of `input` as far as it fits. Writes whole characters only; the text of a stateful
/// target is always complete. Any number of threads may convert at once.
Conversion convert(const Codec& source, const Codec& target, Bytes input, MutableBytes output);

/// Tells how one text converted to characters inside an operation of the library, which ignores the status. Watches
/// the transcoders of this thread while it lives; one watch at a time.
class ConversionWatch {
 public:
  explicit ConversionWatch(Bytes text);
  ~ConversionWatch();
  ConversionWatch(const ConversionWatch&) = delete;
  ConversionWatch& operator=(const ConversionWatch&) = delete;

  /// Nothing when the text was not converted.
  std::optional<Outcome> outcome() const { return outcome_; }

 private:
  friend class Transcoder;
  const Bytes text_;
  std::optional<Outcome> outcome_;
};

/// The NLS services make it with new; its destroy slot deletes it. Holds no state: several threads may convert with
/// it at once.
class Transcoder final : public Guarded<RQTranscoder, "transcoder"> {
 public:
  Transcoder(const Codec& source, const Codec& target);

 private:
  static RQStatus destroySlot(RQTranscoder* transcoder) noexcept;
  static RQStatus convertSlot(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes, void* output,
                              std::uint64_t capacityBytes, std::uint64_t* producedBytes,
                              std::uint64_t flags) noexcept;

  const Codec& source_;
  const Codec& target_;
};

}  // namespace rq::host

#endif
