// StringZilla's kernels, compiled for the machine at hand. Its headers come with the npm package; without them
// `installed` is false and nothing here may be called.
#pragma once

#include <cstddef>
#include <cstdint>

namespace rq::bench::stringzilla {

extern const bool installed;

/// Index of the hit, -1 when there is none.
std::int64_t find(const char* p, std::size_t n, char c);
std::int64_t findNot(const char* p, std::size_t n, char c);
int compare(const char* a, const char* b, std::size_t n);
void fill(char* p, char value, std::size_t n);
void copy(char* to, const char* from, std::size_t n);
void move(char* to, const char* from, std::size_t n);
void upper(char* p, std::size_t n);  // by a table of 256 bytes
void lower(char* p, std::size_t n);

}  // namespace rq::bench::stringzilla
