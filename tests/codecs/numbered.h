/* One question to the library and to its naive twin, and what may differ between the answers: nothing. */
#ifndef RQUNI_TESTS_CODECS_COMPARISON_H
#define RQUNI_TESTS_CODECS_COMPARISON_H

#include <memory>
#include <vector>

#include "support/session.h"

namespace rq::test {

/// The operations by number: seven codecs, then the two measures.
inline constexpr unsigned codecCount = 7, operationCount = 9;
const char* nameOfOperation(unsigned operation);
RQCodec codecOf(const RQOperations& operations, unsigned operation);
RQMeasure measureOf(const RQOperations& operations, unsigned operation);

/// The surroundings of a call.
struct Setting {
  std::uint32_t encoding = latin1;
  Flavour flavour = Flavour::plain;
  MockHost::Services services{};
  bool refuseMemory = false;
  bool refuseConversions = false;
};

class Comparison {
 public:
  /// Compares one call; writes a report to standard error and returns false when the answers differ.
  ///
  /// The same must be: status, whether a length is stored, the length, the bytes up to it, the pool's balance. The
  /// library may write past the capacity no further than the twin does, and may ask the transcoders nothing that the
  /// twin does not ask.
  bool operator()(const Setting& setting, unsigned operation, const std::vector<std::uint8_t>& units,
                  std::uint64_t capacity);
  std::uint64_t cases = 0;

 private:
  Session& sessionOf(std::uint32_t encoding);
  std::vector<std::unique_ptr<Session>> sessions_;
  Session* current_ = nullptr;
};

}  // namespace rq::test

#endif
