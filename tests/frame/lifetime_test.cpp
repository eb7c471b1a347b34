/* Many lives of objects. */
#include <gtest/gtest.h>

#include "tests/model/resident.h"
#include "tests/model/session.h"

namespace rq::test {
namespace {

TEST(Lifetime, AHundredThousandObjectsLeaveNothingBehind) {
  const Library& library = Library::get();
  MockHost host;
  host.recording = false;
  library.rqextent(host.kernel());
  long before = 0;
  for (int i = 0; i < 101000; ++i) {
    if (i == 1000) before = residentPages();
    RQInterface* object = library.rquni(host.context(), nullptr);
    ASSERT_NE(object, nullptr);
    ASSERT_EQ(object->destroy(object), 0U);
    ASSERT_TRUE(host.balanced());
  }
  EXPECT_GT(before, 0);
  if (!sanitized) {
    EXPECT_LE(residentPages() - before, 128) << "pages of 4096 bytes; the kernel counts them in batches";
  }
}

}  // namespace
}  // namespace rq::test
