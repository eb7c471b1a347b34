/* Registration: rqextver, rqextent and the one global. */
#include <gtest/gtest.h>

#include "tests/model/session.h"

namespace rq::test {
namespace {

RQKernel* const someKernels[] = {nullptr, reinterpret_cast<RQKernel*>(0x1000),
                                 reinterpret_cast<RQKernel*>(0xFEDCBA9876543210)};

TEST(Registration, RqextverTellsInterface9Point1AndStoresAnyKernel) {
  const auto rqextver = Library::get().symbol<RQStatus (*)(RQKernel*, std::uint64_t*, std::uint64_t*)>("rqextver");
  for (RQKernel* kernel : someKernels) {
    std::uint64_t versions[4] = {~0ULL, ~0ULL, ~0ULL, ~0ULL};
    EXPECT_EQ(rqextver(kernel, &versions[1], &versions[2]), 0U);
    EXPECT_EQ(versions[1], 9U);
    EXPECT_EQ(versions[2], 1U);
    EXPECT_EQ(versions[0], ~0ULL);
    EXPECT_EQ(versions[3], ~0ULL);
    EXPECT_EQ(*Library::get().exportedHandle, kernel);
  }
}

TEST(Registration, RqextentStoresAnyKernelAndASecondCallReplacesIt) {
  const Library& library = Library::get();
  for (RQKernel* kernel : someKernels) {
    EXPECT_EQ(library.rqextent(kernel), 0U);
    EXPECT_EQ(*library.exportedHandle, kernel);
  }
}

TEST(Registration, ASecondKernelServesTheNextObject) {
  const Library& library = Library::get();
  MockHost first, second;
  library.rqextent(first.kernel());
  library.rqextent(second.kernel());
  RQInterface* object = library.rquni(first.context(), nullptr);
  ASSERT_NE(object, nullptr);
  EXPECT_EQ(first.count(Service::createPool), 0U);
  EXPECT_EQ(second.count(Service::createPool), 1U);
  object->destroy(object);
}

}  // namespace
}  // namespace rq::test
