#include "cli/replacement.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

#include "cli/signals.h"

namespace rq::cli {
namespace {

constexpr std::string_view temporaryPrefix = ".rqtext-";
constexpr std::size_t temporaryRandom = 6;  // characters behind the prefix

}  // namespace

/// A temporary file to remove when a signal ends the tool. Written with the signals blocked.
struct Unfinished {
  volatile std::sig_atomic_t folder = -1;  // a descriptor; -1: there is no such file
  std::array<char, temporaryPrefix.size() + temporaryRandom + 1> name;

  void remove() {
    if (folder >= 0) ::unlinkat(folder, name.data(), 0);
    folder = -1;
  }
};

namespace {

std::array<Unfinished, Replacement::most> allUnfinished;

void removeAndEnd(int signal) {
  for (Unfinished& unfinished : allUnfinished) unfinished.remove();
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

Folder openFolder(const std::string& path) {
  const int readable = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (readable >= 0) return {Descriptor(readable), true};
  return {Descriptor(::open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)), false};
}

/// A new name in the folder is safe from a loss of power once it has gone to the disk.
bool syncFolder(const Folder& folder, int file) {
  if (!folder.readable) return ::syncfs(file) == 0;  // all of the file system, for want of the right to ask for less
  // Some file systems cannot do this with folders, and need not.
  return ::fsync(folder.descriptor.number()) == 0 || errno == EINVAL;
}

/// A file that did not exist before, readable by its owner alone, or -1.
int makeTemporary(int folder, Unfinished& unfinished) {
  constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyz0123456789";
  for (;;) {
    std::array<unsigned char, temporaryRandom> random;
    if (::getrandom(random.data(), random.size(), 0) != static_cast<ssize_t>(random.size())) return -1;
    char* end = std::copy(temporaryPrefix.begin(), temporaryPrefix.end(), unfinished.name.data());
    for (const unsigned char number : random) *end++ = letters[number % letters.size()];
    *end = '\0';
    const int file = ::openat(folder, unfinished.name.data(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file >= 0 || errno != EEXIST) return file;
  }
}

/// The names of the extended attributes, or nothing when they cannot be listed.
std::optional<std::vector<std::string>> attributeNames(int file) {
  std::vector<char> list(4096);
  ssize_t length = 0;
  while ((length = ::flistxattr(file, list.data(), list.size())) < 0 && errno == ERANGE) list.resize(list.size() * 2);
  if (length < 0 && errno != ENOTSUP) return std::nullopt;
  const std::size_t end = length > 0 ? static_cast<std::size_t>(length) : 0;
  std::vector<std::string> names;
  for (std::size_t at = 0; at < end; at += names.back().size() + 1) names.emplace_back(&list[at]);
  // Those of security modules are theirs to set.
  std::erase_if(names, [](const std::string& name) { return name.starts_with("security."); });
  return names;
}

/// Gives `to` the extended attributes of `from`, access lists among them, and no others: a new file takes an access
/// list over from its folder.
bool copyAttributes(int from, int to) {
  const auto wanted = attributeNames(from);
  const auto present = attributeNames(to);
  if (!wanted || !present) return false;
  for (const std::string& name : *present) {
    if (std::find(wanted->begin(), wanted->end(), name) != wanted->end()) continue;
    if (::fremovexattr(to, name.c_str()) != 0) return false;
  }
  std::vector<char> value(64 << 10);  // no attribute is larger
  for (const std::string& name : *wanted) {
    const ssize_t length = ::fgetxattr(from, name.c_str(), value.data(), value.size());
    if (length < 0 || ::fsetxattr(to, name.c_str(), value.data(), static_cast<std::size_t>(length), 0) != 0)
      return false;
  }
  return true;
}

bool sameTime(const struct timespec& a, const struct timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

}  // namespace

Error Replacement::failure(const std::string& what, int number) const {
  return {Error::Kind::system, "cannot " + what + " " + shownName(input_.name()) + ": " + std::strerror(number)};
}

Result<std::unique_ptr<Replacement>> Replacement::begin(const std::string& file, const std::string& backupSuffix,
                                                        Progress& progress) {
  const auto failed = [&file](const char* reason) {
    return Error{Error::Kind::system, "cannot edit " + shownName(file) + ": " + reason};
  };
  const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(file.c_str(), nullptr), &std::free);
  if (!resolved) return failed(std::strerror(errno));
  const std::string path = resolved.get();
  const std::string base = path.substr(path.rfind('/') + 1);
  if (base.empty()) return failed("not a regular file");
  Folder folder = openFolder(path.substr(0, path.size() - base.size()));
  const int at = folder.descriptor.number();
  if (at < 0) return failed(std::strerror(errno));

  struct stat status {};
  if (::fstatat(at, base.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return failed(std::strerror(errno));
  if (!S_ISREG(status.st_mode)) return failed("not a regular file");
  if (::faccessat(at, base.c_str(), W_OK, AT_EACCESS) != 0) return failed(std::strerror(errno));
  Descriptor old(::openat(at, base.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (old.number() < 0 || ::fstat(old.number(), &status) != 0) return failed(std::strerror(errno));
  if (!S_ISREG(status.st_mode)) return failed("not a regular file");
  std::unique_ptr<Replacement> replacement(
      new Replacement(std::move(folder), base, backupSuffix, Input(file, std::move(old), progress), status));
  if (Done created = replacement->create(progress); !created) return created.error();
  return replacement;
}

Done Replacement::create(Progress& progress) {
  const SignalsBlocked blocked;
  static const bool caught = (catchEndingSignals(), true);
  static_cast<void>(caught);
  const int folder = folder_.descriptor.number();
  const auto free = std::ranges::find(allUnfinished, -1, [](const Unfinished& each) { return int{each.folder}; });
  const int fresh = free == allUnfinished.end() ? (errno = EMFILE, -1) : makeTemporary(folder, *free);
  if (fresh < 0) return failure("make a temporary file beside", errno);
  free->folder = folder;
  unfinished_ = &*free;
  output_.emplace(Descriptor(fresh), input_.name(), progress);
  return host::done();
}

Replacement::~Replacement() {
  const SignalsBlocked blocked;
  if (unfinished_ != nullptr) unfinished_->remove();
}

Done Replacement::keepAttributes(int fresh) const {
  struct stat now {};
  if (::fstat(fresh, &now) != 0) return failure("write", errno);
  const bool sameOwner = now.st_uid == status_.st_uid && now.st_gid == status_.st_gid;
  if (!sameOwner && ::fchown(fresh, status_.st_uid, status_.st_gid) != 0) return failure("keep the owner of", errno);
  if (!copyAttributes(input_.descriptor(), fresh)) return failure("keep the attributes of", errno);
  if (::fchmod(fresh, status_.st_mode & 07777) != 0) return failure("keep the permissions of", errno);
  return host::done();
}

/// The time of a file's last change can be set back; the time of its last change of status cannot.
bool Replacement::oldChanged() const {
  struct stat now {};
  return ::fstatat(folder_.descriptor.number(), base_.c_str(), &now, AT_SYMLINK_NOFOLLOW) != 0 ||
         now.st_dev != status_.st_dev || now.st_ino != status_.st_ino || now.st_size != status_.st_size ||
         !sameTime(now.st_mtim, status_.st_mtim) || !sameTime(now.st_ctim, status_.st_ctim);
}

/// A second name for the old file, so that it is there under one of its names at any moment.
Done Replacement::keepBackup() const {
  if (backupSuffix_.empty()) return host::done();
  const int folder = folder_.descriptor.number();
  const std::string backup = base_ + backupSuffix_;
  if (::unlinkat(folder, backup.c_str(), 0) != 0 && errno != ENOENT) return failure("keep a backup of", errno);
  if (::linkat(folder, base_.c_str(), folder, backup.c_str(), 0) != 0) return failure("keep a backup of", errno);
  return host::done();
}

Done Replacement::complete() {
  const Result<int> fresh = output_->flushed();
  return fresh ? keepAttributes(*fresh) : fresh.error();
}

Done Replacement::sync() {
  const Result<int> fresh = output_->flushed();
  if (!fresh) return fresh.error();
  return ::fsync(*fresh) == 0 ? host::done() : failure("write", errno);
}

Done Replacement::replace() {
  if (Done finished = output_->finish(); !finished) return finished;
  if (oldChanged())
    return Error{Error::Kind::system, "cannot edit " + shownName(input_.name()) + ": it was changed meanwhile"};
  if (Done kept = keepBackup(); !kept) return kept;
  const SignalsBlocked blocked;
  const int folder = folder_.descriptor.number();
  if (::renameat(folder, unfinished_->name.data(), folder, base_.c_str()) != 0) return failure("replace", errno);
  std::exchange(unfinished_, nullptr)->folder = -1;
  return host::done();
}

Done Replacement::syncFolder() const {
  if (cli::syncFolder(folder_, input_.descriptor())) return host::done();
  return failure("save the folder of", errno);
}

/// One call for each file system, which waits once for all texts. False if there is anything to be said of one of
/// them.
bool ReplacementGroup::syncTogether(const Members& members) {
  std::set<dev_t> synced;
  return members.size() > 1 && std::ranges::all_of(members, [&synced](const auto& member) {
           return !synced.insert(member->status_.st_dev).second || ::syncfs(member->input_.descriptor()) == 0;
         });
}

Done ReplacementGroup::syncFolders(const Members& members, const OnProblem& onProblem) {
  std::set<std::pair<dev_t, ino_t>> synced;
  for (const auto& member : members) {
    struct stat folder {};
    const bool known = ::fstat(member->folder_.descriptor.number(), &folder) == 0;
    if (known && !synced.insert({folder.st_dev, folder.st_ino}).second) continue;
    if (const Done done = member->syncFolder(); !done) {
      if (Done goesOn = onProblem(done.error()); !goesOn) return goesOn;
    }
  }
  return host::done();
}

Done ReplacementGroup::commit(const OnProblem& onProblem) {
  const Members members = std::exchange(members_, {});
  bytes_ = 0;
  std::vector<Done> steps;
  for (const auto& member : members) steps.push_back(member->complete());
  const bool synced = syncTogether(members);
  Members replaced;
  Done goesOn = host::done();
  for (std::size_t i = 0; i < members.size() && goesOn; ++i) {
    if (steps[i] && !synced) steps[i] = members[i]->sync();
    if (steps[i]) steps[i] = members[i]->replace();
    if (steps[i]) {
      replaced.push_back(members[i]);
    } else {
      goesOn = onProblem(steps[i].error());
    }
  }
  const Done folders = syncFolders(replaced, onProblem);
  return goesOn ? folders : goesOn;
}

}  // namespace rq::cli
