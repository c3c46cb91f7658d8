// Databases without names: SQLite opens them by paths that lead nowhere. Their contents lie on the disk as long as the
// process lives, where no other program finds them, and go with it, however it ends.
//
// Any thread, but a file must not be open twice at a time: there are no locks.
#pragma once

#include <string>
#include <string_view>

namespace tidewell {

class AnonymousFiles {
 public:
  /// From then on SQLite knows such paths, in the whole process.
  AnonymousFiles();
  /// The files of the object go with it; none may be open.
  ~AnonymousFiles();
  AnonymousFiles(const AnonymousFiles&) = delete;
  AnonymousFiles& operator=(const AnonymousFiles&) = delete;

  /// The path of such a file; it is there when it has been filled. Companions have it as their beginning.
  std::string path(const std::string& name) const { return folder_ + name; }

  /// Fills it with the contents of a regular file. False when that fails; then it is not there.
  static bool copy(const std::string& from, const std::string& path);

  /// Fills it with these bytes.
  static bool write(const std::string& path, std::string_view contents);

  static void remove(const std::string& path);

 private:
  std::string folder_;
};

}  // namespace tidewell
