// PrivateFolder - a folder for the temporary files of one job: nobody else's name collides there,
// and nobody else may look into it.
#pragma once

#include <optional>
#include <string>

#include "Leftovers.h"

namespace command {

class PrivateFolder {
 public:
  /// Makes it below TMPDIR, or /tmp, with mode 0700.
  /// @return the folder, ending with "/". When it cannot be made, the name of one that is not
  ///         there, so that opening a file in it fails and says why.
  const char* make();

 private:
  std::string path_;
  std::optional<leftovers::Leftover> folder_;
  std::optional<leftovers::Leftover> file_;  // the library's temporary file in it; removed first
};

}  // namespace command
