// Which kernels the library chooses on this machine. The host's own vector code keeps to the same choice.
#ifndef RQUNI_HOST_KERNELS_H
#define RQUNI_HOST_KERNELS_H

#include <string>
#include <string_view>

namespace rq::host {

/// Sets of kernels by the instructions that they need, each with those of the set before it.
enum class KernelSet { sse2, avx2, avx512 };

/// As RQUNI_KERNELS spells it.
std::string_view nameOf(KernelSet set);

/// The features that the sets need. The system must save the registers too.
struct ProcessorOffers {
  bool avx2, avx512;
};

struct KernelChoice {
  KernelSet inUse;     // the widest that processor and system offer, or a lesser one that RQUNI_KERNELS names
  std::string wanted;  // RQUNI_KERNELS, empty where it is not set or not obeyed
};

/// The choice for a processor and a wish.
KernelChoice chooseKernels(const ProcessorOffers& processor, std::string_view wanted);
/// The choice in this process. One with raised privileges does not obey its caller's environment.
const KernelChoice& kernelChoice();

}  // namespace rq::host

#endif
