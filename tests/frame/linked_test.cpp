/* A program that is linked to the library instead of loading it: the linker then moves the exported variables into
 * the program (copy relocations), and both sides must mean the same one. */
#include <gtest/gtest.h>

#include "frame/rquni.h"

namespace rq::test {
namespace {

TEST(Linked, ProgramAndLibraryShareTheHandle) {
  EXPECT_EQ(Exported_RQHandle, nullptr);
  auto* const kernel = reinterpret_cast<RQKernel*>(0x1000);
  EXPECT_EQ(rqextent(kernel), RQ_SUCCESS);
  EXPECT_EQ(Exported_RQHandle, kernel);
}

TEST(Linked, TheLibraryReadsWhatTheProgramStores) {
  RQCaseService cases = {};
  cases.upper = [](RQCaseService*, RQChar character, uint64_t) { return character + 1; };
  RQKernel kernel = {};
  kernel.caseService = &cases;
  Exported_RQHandle = &kernel;
  RQChar text[] = {'a', 0xE9};
  rqzstup(text, 2);
  EXPECT_EQ(text[0], RQChar{'A'});
  EXPECT_EQ(text[1], RQChar{0xEA}) << "mapped by the program's service";
  Exported_RQHandle = nullptr;
}

}  // namespace
}  // namespace rq::test
