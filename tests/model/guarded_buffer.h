/* Memory between two guard pages: one unit read or written beyond it stops the process. */
#ifndef RQUNI_TESTS_MODEL_GUARDED_BUFFER_H
#define RQUNI_TESTS_MODEL_GUARDED_BUFFER_H

#include <cstddef>
#include <cstdint>

namespace rq::test {

inline constexpr std::size_t pageBytes = 4096;

/// Which guard page a placed buffer touches.
enum class Flush { atEnd, atBeginning };

/// Whether each byte of the range is `byte`.
bool isFilledWith(std::uint8_t byte, const std::uint8_t* begin, const std::uint8_t* end);

class GuardedBuffer {
 public:
  static constexpr std::size_t wholeRoom = SIZE_MAX;

  /// Room for at least `bytes` bytes, in whole pages. Around each placed buffer, `canaryBytes` bytes of the room on
  /// either side become a canary.
  explicit GuardedBuffer(std::size_t bytes, std::size_t canaryBytes = wholeRoom);
  ~GuardedBuffer();
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  /// The room between the guard pages.
  std::uint8_t* begin() const { return begin_; }
  std::uint8_t* end() const { return begin_ + size_; }
  std::size_t size() const { return size_; }

  /// A buffer of `bytes` bytes, `gap` bytes away from the guard page of that side. Its bytes keep their values.
  std::uint8_t* place(std::size_t bytes, Flush flush = Flush::atEnd, std::size_t gap = 0);
  /// The same, with a copy of `data`.
  std::uint8_t* place(const void* data, std::size_t bytes, Flush flush = Flush::atEnd, std::size_t gap = 0);
  /// Whether the canary around the placed buffer is whole.
  bool isIntact() const;

  /// Compares, or copies, whole rooms.
  bool operator==(const GuardedBuffer& other) const;
  void copyFrom(const GuardedBuffer& other);

 private:
  std::uint8_t* begin_;
  std::size_t size_;
  std::size_t canaryBytes_;
  std::uint8_t* canaryBegin_ = nullptr;
  std::uint8_t* placed_ = nullptr;
  std::uint8_t* placedEnd_ = nullptr;
  std::uint8_t* canaryEnd_ = nullptr;
};

}  // namespace rq::test

#endif
