/* The memory of this process, for tests that it does not grow. */
#ifndef RQUNI_TESTS_MODEL_RESIDENT_H
#define RQUNI_TESTS_MODEL_RESIDENT_H

#include <cstdio>

namespace rq::test {

/// Sanitizers keep freed memory, so growth means nothing under them.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitized = true;
#elif defined(__has_feature)
inline constexpr bool sanitized =
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) || __has_feature(memory_sanitizer);
#else
inline constexpr bool sanitized = false;
#endif

/// Resident pages of this process.
inline long residentPages() {
  long size = 0, resident = 0;
  if (std::FILE* file = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(file, "%ld %ld", &size, &resident) != 2) resident = 0;
    std::fclose(file);
  }
  return resident;
}

/// Mappings of this process's address space.
inline long mappings() {
  long lines = 0;
  if (std::FILE* file = std::fopen("/proc/self/maps", "r")) {
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) lines += c == '\n';
    std::fclose(file);
  }
  return lines;
}

}  // namespace rq::test

#endif
