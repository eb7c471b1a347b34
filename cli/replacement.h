// Files edited in place. The new text goes to a temporary file beside the old one and takes its name when it is
// complete. So the name always leads to the whole old text or to the whole new one.
#ifndef RQUNI_CLI_REPLACEMENT_H
#define RQUNI_CLI_REPLACEMENT_H

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/files.h"

namespace rq::cli {

/// An open folder, for calls that name files in it.
struct Folder {
  Descriptor descriptor;
  bool readable;  // only then can it be brought to the disk by itself
};

struct Unfinished;

/// One file's replacement. Ended before its commit, by the destructor or a signal of endingSignals, it takes its
/// temporary file with it. Some at a time, on the main thread.
///
/// The folder and the old text are opened once and never looked up by name again: a link that is turned meanwhile
/// cannot bring one file's text into another.
class Replacement {
 public:
  /// There cannot be more at a time.
  static constexpr std::size_t most = 256;

  /// Follows symbolic links, so that these stay. Fails unless `file` is a regular file that may be written.
  /// With a suffix the old text stays under the name with this suffix.
  static Result<std::unique_ptr<Replacement>> begin(const std::string& file, const std::string& backupSuffix,
                                                    Progress& progress);
  ~Replacement();
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  /// The old text.
  Input& input() { return input_; }
  /// Where the new text goes.
  Output& output() { return *output_; }
  /// The length of the old text.
  std::uint64_t size() const { return static_cast<std::uint64_t>(status_.st_size); }

 private:
  Replacement(Folder folder, std::string base, std::string backupSuffix, Input input, const struct stat& status)
      : folder_(std::move(folder)),
        base_(std::move(base)),
        backupSuffix_(std::move(backupSuffix)),
        input_(std::move(input)),
        status_(status) {}
  friend class ReplacementGroup;
  /// The steps of a commit. Gives the new text the old one's owner, permissions and extended attributes.
  Done complete();
  Done sync();
  /// Gives the new text the old one's name.
  Done replace();
  Done syncFolder() const;

  Done keepBackup() const;
  Done create(Progress& progress);
  Done keepAttributes(int fresh) const;
  bool oldChanged() const;
  Error failure(const std::string& what, int number) const;

  const Folder folder_;
  const std::string base_;  // the file's name in its folder
  const std::string backupSuffix_;
  Input input_;
  const struct stat status_;          // of the old file when it was opened
  Unfinished* unfinished_ = nullptr;  // the temporary file
  std::optional<Output> output_;
};

/// Finished replacements that go to the disk together: for many small files this costs little more than for one.
class ReplacementGroup {
 public:
  /// Gets the problem of a file. Its own error ends the commit: the files behind stay as they are.
  using OnProblem = std::function<Done(const Error&)>;

  void add(std::shared_ptr<Replacement> finished) {
    bytes_ += finished->size();
    members_.push_back(std::move(finished));
  }
  /// True when waiting for more would risk more than it saves.
  bool full() const { return members_.size() >= mostMembers || bytes_ >= mostBytes; }
  /// Syncs all new texts to the disk, gives them the old ones' names in order, and syncs these. After an error in one
  /// its old text is in place.
  Done commit(const OnProblem& onProblem);

 private:
  static constexpr std::size_t mostMembers = 128;
  static constexpr std::uint64_t mostBytes = std::uint64_t{16} << 20;

  using Members = std::vector<std::shared_ptr<Replacement>>;
  static bool syncTogether(const Members& members);
  static Done syncFolders(const Members& members, const OnProblem& onProblem);

  Members members_;
  std::uint64_t bytes_ = 0;
};

}  // namespace rq::cli

#endif
