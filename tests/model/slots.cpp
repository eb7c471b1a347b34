#include "tests/model/slots.h"

#include <string_view>

#include "tests/model/guarded_buffer.h"

namespace rq::test {
namespace {

constexpr Shape shapeCodec = Shape::codec, shapeTransform = Shape::transform,
                shapePaddedTransform = Shape::paddedTransform, shapeMeasure = Shape::measure;

constexpr Slots makeSlots() {
  Slots slots{};
  std::size_t i = 0;
  for (const Flavour flavour : allFlavours) {
#define OPERATION(position, slot, function, kind) slots[i++] = {flavour, position, #slot, shape##kind};
#include "frame/operations.def"
#undef OPERATION
  }
  return slots;
}

/// Every write beyond a capacity that there is, as operations.h documents it.
struct Overshoot {
  std::string_view operation;  // the beginning of its name
  unsigned units;              // at any capacity
  unsigned narrowBytes;        // at any capacity, in the plain and served flavours
  unsigned blank;              // pads in whole blanks of so many bytes, in the plain and served flavours
};
constexpr Overshoot overshoots[] = {
    {"getUEsc", 1, 0, 0}, {"putUEsc", 2, 0, 0}, {"putUParen", 0, 4, 0}, {"putUTF16", 0, 0, 2}, {"putUTF32", 0, 0, 4}};

/// The slot's function: the operations of a flavour are pointers at consecutive words.
template <class Function>
Function functionOf(const RQOperations& operations, unsigned position) {
  static_assert(sizeof operations == operationsPerFlavour * sizeof(Function));
  return reinterpret_cast<const Function*>(&operations)[position - 1];
}

bool isAllowed(const Slot& slot, RQStatus status) {
  const std::string_view name = slot.name;
  if (status == RQ_SUCCESS) return true;
  if (name == "getNCR") return status == RQ_OUTPUT_TOO_SMALL;
  if (name.starts_with("get")) return status == RQ_REPLACEMENT_DOES_NOT_FIT;
  if (name == "putNCR") return status == RQ_NO_MEMORY;
  return status == RQ_OUTPUT_TOO_SMALL || status == RQ_NO_MEMORY;
}

bool mayLeaveLength(const Slot& slot, RQStatus status) {
  return status == RQ_NO_MEMORY ||
         (status == RQ_REPLACEMENT_DOES_NOT_FIT && std::string_view(slot.name).starts_with("getUParen"));
}

}  // namespace

const Slots& allSlots() {
  static constexpr Slots slots = makeSlots();
  return slots;
}

std::uint64_t Slot::inputUnit() const {
  if (!isWide()) return 1;
  return takesUnicodeForm() ? 1 : 4;
}

std::uint64_t Slot::overshoot(std::uint64_t capacity, bool pad) const {
  for (const Overshoot& row : overshoots) {
    if (!std::string_view(name).starts_with(row.operation)) continue;
    const std::uint64_t blanks = pad && row.blank != 0 ? (row.blank - capacity % row.blank) % row.blank : 0;
    return row.units * outputUnit() + (isWide() ? 0 : row.narrowBytes + blanks);
  }
  return 0;
}

std::string Slot::fullName() const {
  return std::string(nameOf(flavour)) + "." + name;
}

Answer callSlot(const Slot& slot, const RQOperations& operations, RQInterface* object, const void* input,
                std::uint64_t length, void* output, std::uint64_t capacity, bool pad) {
  Answer answer;
  switch (slot.shape) {
    case Shape::codec:
    case Shape::transform:
      answer.status =
          functionOf<RQCodec>(operations, slot.position)(object, input, length, output, capacity, &answer.written);
      break;
    case Shape::paddedTransform:
      answer.status = functionOf<RQPaddedTransform>(operations, slot.position)(
          object, input, length, output, capacity, &answer.written, pad ? 1 : 0);
      break;
    case Shape::measure:
      answer.count = functionOf<RQMeasure>(operations, slot.position)(object, input, length);
      break;
  }
  return answer;
}

const char* mistakeOf(const Slot& slot, const Answer& answer, const std::uint8_t* output, std::uint64_t room,
                      std::uint8_t untouched) {
  if (slot.shape == Shape::measure) return answer.count >= -1 ? nullptr : "a negative count";
  if (slot.shape != Shape::codec) return answer.written != notStored ? nullptr : "no length stored";
  if (!isAllowed(slot, answer.status)) return "a status that is not documented";
  if (answer.written == notStored) return mayLeaveLength(slot, answer.status) ? nullptr : "no length stored";
  if (answer.written > room / slot.outputUnit()) return "a length beyond the documented overshoot";
  if (std::string_view(slot.name) == "putUParen") return nullptr;
  const std::uint64_t end = answer.written * slot.outputUnit();
  return isFilledWith(untouched, output + end, output + room) ? nullptr : "bytes behind the written units";
}

}  // namespace rq::test
