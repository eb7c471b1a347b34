/* Loading and unloading, in a process that holds no other copy of the library. */
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "frame/rquni.h"
#include "support/resident.h"

namespace rq::test {
namespace {

TEST(Loading, TheHandleIsNullBeforeRegistration) {
  void* library = dlopen(RQ_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  EXPECT_EQ(*static_cast<RQKernel**>(dlsym(library, "Exported_RQHandle")), nullptr);
  dlclose(library);
}

TEST(Loading, TwoThousandTimesLeavesNothingBehind) {
  long before = 0;
  for (int i = 0; i < 2000; ++i) {
    if (i == 200) before = residentPages();
    void* handle = dlopen(RQ_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    auto** kernel = static_cast<RQKernel**>(dlsym(handle, "Exported_RQHandle"));
    ASSERT_NE(kernel, nullptr);
    ASSERT_EQ(*kernel, nullptr) << "a fresh copy each time";
    *kernel = reinterpret_cast<RQKernel*>(1);
    ASSERT_EQ(dlclose(handle), 0);
  }
  if (!sanitized) {
    EXPECT_LE(residentPages() - before, 128) << "pages of 4096 bytes; the kernel counts them in batches";
  }
}

}  // namespace
}  // namespace rq::test
