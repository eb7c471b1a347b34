// The version and build record. The build fills in the stamps.
#include <cstring>

#include "frame/registration.h"
#include "stamps.h"

namespace {

// The blanks are room for values that others write into the built file: never change the size of text or area.
constexpr char hotFix[96] = "QRB_VERSION_HOTFIX_NUMBER=                                       ";
constexpr char imageDescription[96] = "VERCON_IMAGE_DESCRIPTION=                                        ";
static_assert(hotFix[64] == ' ' && hotFix[65] == '\0');
static_assert(imageDescription[64] == ' ' && imageDescription[65] == '\0');

constexpr RQVersionRecord record = {
    .version = RQ_STAMP_VERSION,
    .stream = RQ_STAMP_STREAM,
    .empty2 = "",
    .buildTime = RQ_STAMP_BUILD_TIME,
    .prefix = "rq",
    .component = "RqUni",
    .group = "rqfnc",
    .buildId = RQ_STAMP_BUILD_ID,
    .empty8 = "",
    .versionLabel = "version",
    .separator = "::",
    .empty11 = "",
    .hotFix = hotFix,
    .secondBuildId = RQ_STAMP_SECOND_BUILD_ID,
    .imageDescription = imageDescription,
    .machine = "build",  // a constant: a build must not depend on its machine
    .buildDate = RQ_STAMP_BUILD_DATE,
    .zero = {},
};
static_assert(sizeof(RQ_STAMP_VERSION) == 18 + 1);
static_assert(sizeof(RQ_STAMP_STREAM) == 15 + 1);
static_assert(sizeof(RQ_STAMP_BUILD_ID) == 20 + 1);
static_assert(sizeof(RQ_STAMP_SECOND_BUILD_ID) == 15 + 1);
static_assert(sizeof(RQ_STAMP_BUILD_DATE) == 28 + 1);

}  // namespace

void rqvercn1(RQVersionRecord* destination) {
  std::memcpy(destination, &record, sizeof record);
}
