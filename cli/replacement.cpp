#include "cli/replacement.h"

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "cli/signals.h"

namespace rq::cli {
namespace {

/// The temporary file to remove when a signal ends the tool. Written with the signals blocked.
std::array<char, PATH_MAX> unfinishedPath;
volatile std::sig_atomic_t unfinished = 0;

void removeAndEnd(int signal) {
  if (unfinished != 0) ::unlink(unfinishedPath.data());
  ::raise(signal);  // the handler is gone and the signal waits until this returns
}

void catchEndingSignals() {
  struct sigaction action {};
  action.sa_handler = removeAndEnd;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : endingSignals) {
    struct sigaction before {};
    ::sigaction(signal, nullptr, &before);
    // A signal that the caller ignores stays ignored, as under nohup.
    if (before.sa_handler != SIG_IGN) ::sigaction(signal, &action, nullptr);
  }
}

std::string folderOf(const std::string& path) {
  return path.substr(0, path.rfind('/') + 1);
}

/// Syncs the folder, so that the new name survives a loss of power.
bool syncFolder(const std::string& path) {
  const Descriptor folder(::open(folderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  // EINVAL: a file system that does not sync folders.
  return folder.number() >= 0 && (::fsync(folder.number()) == 0 || errno == EINVAL);
}

std::vector<char> attributeNames(int file) {
  std::vector<char> names(4096);
  ssize_t length = 0;
  while ((length = ::flistxattr(file, names.data(), names.size())) < 0 && errno == ERANGE) {
    names.resize(names.size() * 2);
  }
  names.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
  return names;
}

/// Copies the extended attributes, access lists among them, but not those that security modules set themselves.
bool copyAttributes(int from, int to) {
  std::vector<char> value(64 << 10);  // no attribute is larger
  const std::vector<char> names = attributeNames(from);
  for (std::size_t at = 0; at < names.size(); at += std::strlen(&names[at]) + 1) {
    const char* name = &names[at];
    if (std::string_view(name).starts_with("security.")) continue;
    const ssize_t length = ::fgetxattr(from, name, value.data(), value.size());
    if (length < 0 || ::fsetxattr(to, name, value.data(), static_cast<std::size_t>(length), 0) != 0) return false;
  }
  return true;
}

}  // namespace

Error Replacement::failure(const std::string& what, int number) const {
  return {Error::Kind::system, "cannot " + what + " " + shownName(name_) + ": " + std::strerror(number)};
}

Result<std::unique_ptr<Replacement>> Replacement::begin(const std::string& file, const std::string& backupSuffix,
                                                        Progress& progress) {
  const auto failed = [&file](const char* reason) {
    return Error{Error::Kind::system, "cannot edit " + shownName(file) + ": " + reason};
  };
  const std::unique_ptr<char, decltype(&std::free)> path(::realpath(file.c_str(), nullptr), &std::free);
  if (!path) return failed(std::strerror(errno));
  struct stat status {};
  if (::stat(path.get(), &status) != 0) return failed(std::strerror(errno));
  if (!S_ISREG(status.st_mode)) return failed("not a regular file");
  if (::faccessat(AT_FDCWD, path.get(), W_OK, AT_EACCESS) != 0) return failed(std::strerror(errno));
  Descriptor old(::open(path.get(), O_RDONLY | O_CLOEXEC));
  if (old.number() < 0 || ::fstat(old.number(), &status) != 0) return failed(std::strerror(errno));
  std::unique_ptr<Replacement> replacement(new Replacement(file, path.get(), backupSuffix, old.release(), status));
  if (Done created = replacement->create(progress); !created) return created.error();
  return replacement;
}

Done Replacement::create(Progress& progress) {
  const std::string pattern = folderOf(path_) + ".rqtext-XXXXXX";
  if (pattern.size() >= unfinishedPath.size()) return failure("edit", ENAMETOOLONG);
  const SignalsBlocked blocked;
  static const bool caught = (catchEndingSignals(), true);
  static_cast<void>(caught);
  pattern.copy(unfinishedPath.data(), pattern.size());
  unfinishedPath[pattern.size()] = '\0';
  const int fresh = ::mkostemp(unfinishedPath.data(), O_CLOEXEC);
  if (fresh < 0) return failure("make a temporary file beside", errno);
  unfinished = 1;
  output_.emplace(Descriptor(fresh), name_, progress);
  return host::done();
}

Replacement::~Replacement() {
  const SignalsBlocked blocked;
  if (unfinished != 0) ::unlink(unfinishedPath.data());
  unfinished = 0;
}

Done Replacement::keepAttributes(int fresh) const {
  struct stat now {};
  if (::fstat(fresh, &now) != 0) return failure("write", errno);
  const bool sameOwner = now.st_uid == status_.st_uid && now.st_gid == status_.st_gid;
  if (!sameOwner && ::fchown(fresh, status_.st_uid, status_.st_gid) != 0) return failure("keep the owner of", errno);
  if (!copyAttributes(old_.number(), fresh)) return failure("keep the attributes of", errno);
  if (::fchmod(fresh, status_.st_mode & 07777) != 0) return failure("keep the permissions of", errno);
  return host::done();
}

bool Replacement::oldChanged() const {
  struct stat now {};
  return ::stat(path_.c_str(), &now) != 0 || now.st_dev != status_.st_dev || now.st_ino != status_.st_ino ||
         now.st_size != status_.st_size || now.st_mtim.tv_sec != status_.st_mtim.tv_sec ||
         now.st_mtim.tv_nsec != status_.st_mtim.tv_nsec;
}

/// A second name for the old file, so that it is there under one of its names at any moment.
Done Replacement::keepBackup() const {
  if (backupSuffix_.empty()) return host::done();
  const std::string backup = path_ + backupSuffix_;
  if (::unlink(backup.c_str()) != 0 && errno != ENOENT) return failure("keep a backup of", errno);
  if (::link(path_.c_str(), backup.c_str()) != 0) return failure("keep a backup of", errno);
  return host::done();
}

Done Replacement::commit() {
  const Result<int> fresh = output_->flushed();
  if (!fresh) return fresh.error();
  if (Done kept = keepAttributes(*fresh); !kept) return kept;
  if (::fsync(*fresh) != 0) return failure("write", errno);
  if (Done finished = output_->finish(); !finished) return finished;
  if (oldChanged())
    return Error{Error::Kind::system, "cannot edit " + shownName(name_) + ": it was changed meanwhile"};
  if (Done kept = keepBackup(); !kept) return kept;
  const SignalsBlocked blocked;
  if (::rename(unfinishedPath.data(), path_.c_str()) != 0) return failure("replace", errno);
  unfinished = 0;
  if (!syncFolder(path_)) return failure("bring to the disk the folder of", errno);
  return host::done();
}

}  // namespace rq::cli
