/* Loads the library and calls it: load_library FILE. For C libraries other than the system's. */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>

typedef int64_t Scan(const void*, uint64_t, uint32_t);
typedef uint64_t Length(const char*);

int main(int count, char** arguments) {
  void* const library = count == 2 ? dlopen(arguments[1], RTLD_NOW) : NULL;
  if (!library) {
    fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  Scan* const skMemScan = __extension__(Scan*) dlsym(library, "skMemScan");
  Length* const skStrLen = __extension__(Length*) dlsym(library, "skStrLen");
  const char text[] = "The quick brown fox jumps over the lazy dog; the end of a text that is longer than a vector.";
  if (!skMemScan || !skStrLen || skMemScan(text, sizeof text, ';') != 43 || skStrLen(text) != sizeof text - 1) {
    fputs("wrong results\n", stderr);
    return 1;
  }
  puts("loaded");
  return 0;
}
