/* Preloaded into the tool: calls that bring files to the disk are written down, and one of them fails.
 *
 * RQ_TRACE names a file that gets a line for each call, RQ_FAIL the call that fails with "Input/output error". A
 * close counts only when something was written to the descriptor before. With RQ_INTERRUPT every second read and
 * write is interrupted before it begins, and the others do only a part; such a close is interrupted as well. With
 * RQ_TURN the first file becomes a link to the file of that name once its rights are known. */
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

enum { descriptors = 1024 };
static char written[descriptors];

static void* next(const char* name) {
  void* address = dlsym(RTLD_NEXT, name);
  if (!address) abort();
  return address;
}

/* Writes the call down; whether it fails. */
static int fails(const char* name, int descriptor) {
  const char* trace = strcmp(name, "write") != 0 ? getenv("RQ_TRACE") : NULL;
  const char* fail = getenv("RQ_FAIL");
  struct stat status;
  const char* kind = fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode) ? "folder" : "file";
  if (trace) {
    FILE* file = fopen(trace, "a");
    if (!file) abort();
    fprintf(file, "%s %s\n", name, kind);
    fclose(file);
  }
  if (!fail || strcmp(fail, name) != 0) return 0;
  errno = EIO;
  return 1;
}

/* Whether this call is interrupted; else how much of `count` it may do. */
static int interrupted(size_t* count) {
  enum { part = 777 };
  static _Atomic unsigned calls;
  if (!getenv("RQ_INTERRUPT")) return 0;
  if (*count > part) *count = part;
  if (calls++ % 2 == 1) return 0;
  errno = EINTR;
  return 1;
}

ssize_t write(int descriptor, const void* bytes, size_t count) {
  ssize_t (*real)(int, const void*, size_t) = (ssize_t(*)(int, const void*, size_t))next("write");
  if (interrupted(&count)) return -1;
  if (descriptor > STDERR_FILENO && descriptor < descriptors) written[descriptor] = 1;
  if (fails("write", descriptor)) return -1;
  return real(descriptor, bytes, count);
}

ssize_t read(int descriptor, void* bytes, size_t count) {
  ssize_t (*real)(int, void*, size_t) = (ssize_t(*)(int, void*, size_t))next("read");
  return interrupted(&count) ? -1 : real(descriptor, bytes, count);
}

int close(int descriptor) {
  int (*real)(int) = (int (*)(int))next("close");
  const int counts = descriptor > STDERR_FILENO && descriptor < descriptors && written[descriptor];
  int failed;
  if (!counts) return real(descriptor);
  written[descriptor] = 0;
  failed = fails("close", descriptor);
  real(descriptor);
  if (getenv("RQ_INTERRUPT")) return errno = EINTR, -1; /* the descriptor is closed all the same */
  return failed ? (errno = EIO, -1) : 0;
}

int fsync(int descriptor) {
  int (*real)(int) = (int (*)(int))next("fsync");
  return fails("fsync", descriptor) ? -1 : real(descriptor);
}

int syncfs(int descriptor) {
  int (*real)(int) = (int (*)(int))next("syncfs");
  return fails("syncfs", descriptor) ? -1 : real(descriptor);
}

int fchmod(int descriptor, mode_t mode) {
  int (*real)(int, mode_t) = (int (*)(int, mode_t))next("fchmod");
  return fails("fchmod", descriptor) ? -1 : real(descriptor, mode);
}

int renameat(int from, const char* old, int to, const char* fresh) {
  int (*real)(int, const char*, int, const char*) = (int (*)(int, const char*, int, const char*))next("renameat");
  return fails("renameat", from) ? -1 : real(from, old, to, fresh);
}

int faccessat(int folder, const char* name, int mode, int flags) {
  int (*real)(int, const char*, int, int) = (int (*)(int, const char*, int, int))next("faccessat");
  const int result = real(folder, name, mode, flags);
  const char* target = getenv("RQ_TURN");
  static int turned;
  if (target && !turned++ && (unlinkat(folder, name, 0) != 0 || symlinkat(target, folder, name) != 0)) abort();
  return result;
}

ssize_t flistxattr(int descriptor, char* list, size_t size) {
  ssize_t (*real)(int, char*, size_t) = (ssize_t(*)(int, char*, size_t))next("flistxattr");
  return fails("flistxattr", descriptor) ? -1 : real(descriptor, list, size);
}

int fsetxattr(int descriptor, const char* name, const void* value, size_t size, int flags) {
  int (*real)(int, const char*, const void*, size_t, int) =
      (int (*)(int, const char*, const void*, size_t, int))next("fsetxattr");
  return fails("fsetxattr", descriptor) ? -1 : real(descriptor, name, value, size, flags);
}

int fremovexattr(int descriptor, const char* name) {
  int (*real)(int, const char*) = (int (*)(int, const char*))next("fremovexattr");
  return fails("fremovexattr", descriptor) ? -1 : real(descriptor, name);
}
