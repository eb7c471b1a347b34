// The families of rows, one file each.
#pragma once

namespace rq::bench {

void registerLimits();
void registerKit();
void registerWide();
void registerCodecs();
void registerMetrics();
void registerFrame();
void registerThreads();

}  // namespace rq::bench
