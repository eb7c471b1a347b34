/* A registered mock host with one interface object. */
#ifndef RQUNI_TESTS_MODEL_SESSION_H
#define RQUNI_TESTS_MODEL_SESSION_H

#include "tests/model/library.h"
#include "tests/model/mock_host.h"
#include "tests/model/texts.h"

namespace rq::test {

/// Registers its host with the library and makes an object; destroys the object at the end. `host.balanced()` then
/// says whether the library gave everything back.
class Session {
 public:
  explicit Session(std::uint32_t encoding);
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Whether the object's pool, block and transcoders are all that the library holds of the host.
  bool holdsOneObject() const;

  MockHost host;
  RQInterface* object;
  std::uint32_t encoding;
};

/// A session encoding that holds every character.
std::uint32_t usualEncoding(Flavour flavour);

}  // namespace rq::test

#endif
