/* Fuzzing of slots: the recipe chooses slot, session, buffers and host behaviour, the rest of it is the text. */
#ifndef RQUNI_FUZZ_OPERATIONS_H
#define RQUNI_FUZZ_OPERATIONS_H

#include "target.h"
#include "trust/slots.h"

namespace rq::fuzz {

/// Those of the 69 slots whose operation is one of `names`.
std::vector<test::Slot> slotsNamed(const std::vector<std::string>& names);
/// The slots and the functions behind them, as the test of completeness counts them.
std::vector<std::string> namesOf(const std::vector<test::Slot>& slots);

/// One call of one of the slots. Invariants, whatever the host does:
///
///  - nothing outside the buffers is touched, the output by no more than its documented overshoot;
///  - nothing behind *written units is changed (putUParen may clobber its room, the pad fills it);
///  - *written is stored but for the two documented exceptions, and is at most capacity and overshoot;
///  - the status is one that operations.h names, from the transforms the transcoder's;
///  - every block is given back.
///
/// With a host that keeps to its rules, codecs and measures answer as their naive twins do, and transforms as the
/// transcoder alone does.
void exercise(Recipe& recipe, const std::vector<test::Slot>& slots);

}  // namespace rq::fuzz

#endif
