/* A registered host with one interface object, and single calls of operations with everything watched. */
#ifndef RQUNI_TESTS_MODEL_SESSION_H
#define RQUNI_TESTS_MODEL_SESSION_H

#include <cstdint>
#include <vector>

#include "frame/rquni.h"
#include "tests/model/library.h"
#include "tests/model/mock_host.h"
#include "tests/model/texts.h"

namespace rq::test {

/// Registers a mock host with the library and holds one object of it. Ends the object; `host.balanced()` then tells
/// whether everything was given back.
class Session {
 public:
  explicit Session(std::uint32_t encoding);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  MockHost host;
  RQInterface* object;
  std::uint32_t encoding;
};

/// What one call of a codec did.
struct Outcome {
  RQStatus status;
  bool stored;                      // whether the output length was stored
  std::uint64_t length;             // the stored length
  std::vector<std::uint8_t> bytes;  // of that many units, as far as they lie within capacity and slack
  std::uint64_t reach;              // bytes from the output's beginning up to the last one that changed
};

/// Calls a codec with a canary-filled output of `capacity` units and 64 bytes behind it. `units` holds whole units.
Outcome call(RQCodec codec, RQInterface* object, Flavour flavour, const std::vector<std::uint8_t>& units,
             std::uint64_t capacity);

}  // namespace rq::test

#endif
