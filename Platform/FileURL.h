// An absolute file URL, as a value.
//
// Folder URLs end in "/". Whether a path names a folder is decided where the URL is made: by the trailing slash, by the
// caller, or by FileManager::fileURLWithPath(), which looks at the disk.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// The grant that a URL resolved from bookmark data carries. Opaque to everyone but the platform's
/// SecurityScopedResources, which subclasses it.
class SecurityScope {
 public:
  virtual ~SecurityScope() = default;
};

class FileURL {
 public:
  /// Trailing slashes are removed from the path and make the URL a folder's. A relative path counts from "/".
  explicit FileURL(std::string_view path, bool isDirectory = false);

  /// Reads the text form ("file:///…" or "file://localhost/…", percent-encoded). Absent for anything else, for a broken
  /// percent sign and for an encoded NUL, which no path can hold.
  static std::optional<FileURL> fromString(std::string_view text);

  /// The path, without a trailing slash except for "/" itself.
  const std::string& path() const { return path_; }

  bool hasDirectoryPath() const { return isDirectory_; }

  /// The text form: "file://" and the path, with every byte percent-encoded that is not allowed in a URL's path (RFC
  /// 3986, section 3.3, less ";"), and a trailing "/" for a folder.
  std::string absoluteString() const;

  std::vector<std::string> pathComponents() const;

  /// The folder that holds the item; a folder URL.
  FileURL deletingLastPathComponent() const;

  FileURL appendingPathComponent(std::string_view component, bool isDirectory = false) const;

  /// The grant that the URL carries; null for a URL that was not resolved from bookmark data.
  const std::shared_ptr<const SecurityScope>& securityScope() const { return scope_; }
  void setSecurityScope(std::shared_ptr<const SecurityScope> scope) { scope_ = std::move(scope); }

  /// URL equality: that of the text forms. A carried grant is ignored.
  friend bool operator==(const FileURL& a, const FileURL& b) {
    return a.path_ == b.path_ && a.isDirectory_ == b.isDirectory_;
  }

 private:
  std::string path_;
  bool isDirectory_;
  std::shared_ptr<const SecurityScope> scope_;
};

}  // namespace platform
