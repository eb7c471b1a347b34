#include "engines/single_byte.h"

namespace rq::engines {

void SingleByte::add(std::uint8_t byte, RQChar character) {
  characters_[byte - 0x80] = character;
  int at = count_++;
  for (; at > 0 && entries_[at - 1].character > character; --at) entries_[at] = entries_[at - 1];
  entries_[at] = {character, byte};
}

std::uint64_t SingleByte::write(RQChar character, std::uint8_t* out) const {
  if (character < 0x80) {
    out[0] = static_cast<std::uint8_t>(character);
    return 1;
  }
  int low = 0, high = count_;
  while (low < high) {
    const int middle = (low + high) / 2;
    if (entries_[middle].character < character)
      low = middle + 1;
    else
      high = middle;
  }
  if (low == count_ || entries_[low].character != character) return 0;
  out[0] = entries_[low].byte;
  return 1;
}

}  // namespace rq::engines
