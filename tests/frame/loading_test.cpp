/* Loading and unloading, in a process that holds no other copy of the library. */
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "frame/rquni.h"
#include "tests/model/mock_host.h"
#include "tests/model/resident.h"

namespace rq::test {
namespace {

TEST(Loading, TheHandleIsNullBeforeRegistration) {
  void* library = dlopen(RQ_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  EXPECT_EQ(*static_cast<RQKernel**>(dlsym(library, "Exported_RQHandle")), nullptr);
  dlclose(library);
}

// The loader then has no environment to hand to the library's constructor.
TEST(Loading, WorksWithoutAnEnvironment) {
  char** const environment = environ;
  environ = nullptr;
  void* library = dlopen(RQ_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  environ = environment;
  ASSERT_NE(library, nullptr) << dlerror();
  EXPECT_NE(dlsym(library, "rquni"), nullptr);
  dlclose(library);
}

// Without a registered kernel there is no pool. Hosts must register first: rquni does not check it.
TEST(LoadingDeathTest, AnObjectBeforeRegistrationFaults) {
  void* library = dlopen(RQ_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  MockHost host;
  const auto rquni = reinterpret_cast<RQInterface* (*)(RQContext*, RQJournal*)>(dlsym(library, "rquni"));
  EXPECT_DEATH(rquni(host.context(), host.journal()), "");
  dlclose(library);
}

TEST(Loading, TenThousandTimesLeavesNothingBehind) {
  long pages = 0, maps = 0;
  for (int i = 0; i < 10000; ++i) {
    if (i == 1000) pages = residentPages(), maps = mappings();
    void* handle = dlopen(RQ_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(handle, nullptr) << dlerror();
    auto** kernel = static_cast<RQKernel**>(dlsym(handle, "Exported_RQHandle"));
    ASSERT_NE(kernel, nullptr);
    ASSERT_EQ(*kernel, nullptr) << "a fresh copy each time";
    *kernel = reinterpret_cast<RQKernel*>(1);
    ASSERT_EQ(dlclose(handle), 0);
  }
  EXPECT_GT(maps, 0);
  if (!sanitized) {
    EXPECT_EQ(mappings(), maps);
    EXPECT_LE(residentPages() - pages, 128) << "pages of 4096 bytes; the kernel counts them in batches";
  }
}

}  // namespace
}  // namespace rq::test
