// A hook for tests: builds with RQ_TEST_CALLBACKS count the library's calls of its host and let one of them fail.
#ifndef RQUNI_ENGINES_CALLBACKS_H
#define RQUNI_ENGINES_CALLBACKS_H

namespace rq::engines {

#ifdef RQ_TEST_CALLBACKS
/// Counts a callback; whether this one is to answer that it failed. Defined by the tests.
bool callbackFails();
/// The same where a server's procedure is called: it raises an error instead. Defined by the tests.
void callbackRaises();
#else
constexpr bool callbackFails() {
  return false;
}
constexpr void callbackRaises() {}
#endif

}  // namespace rq::engines

#endif
