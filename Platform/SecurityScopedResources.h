// Grants: what the person allowed, as bytes that outlive the process, and as scopes that are open now.
//
// A scope covers a folder and everything below it, or one file. A folder chosen in a panel is open for the life of the
// process; a scope of a resolved bookmark is open between startAccessing() and stopAccessing(), counted. Accesses are
// process-wide: what one thread opened, all may use.
#pragma once

#include <optional>

#include "Platform/FileURL.h"
#include "Platform/Value.h"

namespace platform {

/// What bookmark data resolves to.
struct ResolvedBookmark {
  std::optional<FileURL> url;  // absent when the item is missing, when its path leads over a symbolic link, or when the
                               // data is damaged; a URL that is present carries its grant
  bool isStale = false;        // the path has another file than the one that was granted
};

/// All operations may be called from any thread.
class SecurityScopedResources {
 public:
  virtual ~SecurityScopedResources() = default;

  /// Opaque bytes that hold the grant of `url`. Absent unless the item exists, and the URL lies inside an open scope or
  /// carries a grant itself: nothing that was not granted can be recorded as granted.
  virtual std::optional<Data> bookmarkData(const FileURL& url) = 0;

  virtual ResolvedBookmark resolveBookmarkData(const Data& data) = 0;

  /// Opens the scope that the URL carries. False, and nothing opened, for a URL that carries none or whose item is
  /// gone.
  virtual bool startAccessing(const FileURL& url) = 0;

  /// Closes one startAccessing() of that URL; does nothing for a URL that carries no grant.
  virtual void stopAccessing(const FileURL& url) = 0;
};

}  // namespace platform
