// Files edited in place. The new text goes to a temporary file beside the old one and takes its name when it is
// complete. So the name always leads to the whole old text or to the whole new one.
#ifndef RQUNI_CLI_REPLACEMENT_H
#define RQUNI_CLI_REPLACEMENT_H

#include <sys/stat.h>

#include <memory>
#include <string>

#include "cli/files.h"

namespace rq::cli {

/// The replacement of one file. Without commit(), the destructor and the signals of endingSignals remove the
/// temporary file. One at a time, on the main thread.
class Replacement {
 public:
  /// Follows symbolic links, so that these stay. Fails unless `file` is a regular file that may be written.
  /// With a suffix the old text stays under the name with this suffix.
  static Result<std::unique_ptr<Replacement>> begin(const std::string& file, const std::string& backupSuffix,
                                                    Progress& progress);
  ~Replacement();
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  /// Takes the new text.
  Output& output() { return *output_; }
  /// Gives the new text the old one's owner, permissions, extended attributes and name, and syncs it to the disk.
  /// After an error the old text is in place.
  Done commit();

 private:
  Replacement(std::string name, std::string path, std::string backupSuffix, int old, const struct stat& status)
      : name_(std::move(name)),
        path_(std::move(path)),
        backupSuffix_(std::move(backupSuffix)),
        old_(old),
        status_(status) {}
  Done keepBackup() const;
  Done create(Progress& progress);
  Done keepAttributes(int fresh) const;
  bool oldChanged() const;
  Error failure(const std::string& what, int number) const;

  const std::string name_;  // as the user gave it
  const std::string path_;  // without symbolic links
  const std::string backupSuffix_;
  const Descriptor old_;
  const struct stat status_;  // of the old file when it was opened
  std::optional<Output> output_;
};

}  // namespace rq::cli

#endif
